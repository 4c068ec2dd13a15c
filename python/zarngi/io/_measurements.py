"""The binding to libZarnGIHost's planes and points."""

from __future__ import annotations

import ctypes
from collections.abc import Sequence
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from .._grid import DoseGrid
from .._points import DosePoints
from . import _host

# enum zarnGIHost_Kind
_PLANE = 1
_POINTS = 2

_AXES: tuple[Literal["x"], Literal["y"], Literal["z"]] = ("x", "y", "z")


class Places(ctypes.Structure):
    """Mirror of `zarnGIHost_Places`."""

    _fields_ = [
        ("kind", ctypes.c_int),
        ("isInSpace", ctypes.c_int),
        ("normal", ctypes.c_int),
        ("gaps", ctypes.c_size_t),
        ("isMeasured", ctypes.c_void_p),
        ("points", ctypes.c_void_p),
    ]


class _Plane(ctypes.Structure):
    """Mirror of `zarnGIHost_Plane`."""

    _fields_ = [
        ("size", ctypes.c_int * 2),
        ("spacing", ctypes.c_double * 2),
        ("origin", ctypes.c_double * 2),
        ("doses", ctypes.c_void_p),
        ("isMeasured", ctypes.c_void_p),
        ("points", ctypes.c_void_p),
    ]


_DOSE_P = ctypes.POINTER(ctypes.c_void_p)
_ERROR_P = ctypes.POINTER(_host.Error)

_functions = _host.declare(
    {
        "getPlaces": (ctypes.c_int, [ctypes.c_void_p, ctypes.POINTER(Places)]),
        "placePlane": (
            ctypes.c_int,
            [
                ctypes.POINTER(_Plane),
                ctypes.c_char_p,
                ctypes.POINTER(ctypes.c_double),
                _DOSE_P,
                _ERROR_P,
            ],
        ),
    }
)


def distribution(dose: _host.Dose) -> DoseGrid | DosePoints:
    """What was read, as the grid or the points that it is."""
    places = Places()
    _functions.getPlaces(dose.handle, places)
    values = np.asarray(dose)
    if places.kind == _POINTS:
        count = values.size
        raw = (ctypes.c_double * (3 * count)).from_address(places.points)
        positions = np.array(raw, np.float64).reshape(count, 3)
        axes = 3 if places.isInSpace else 2
        return DosePoints(positions[:, :axes], values.reshape(count), dose.frame_of_reference)
    measured = None
    if places.isMeasured:
        raw_mask = (ctypes.c_ubyte * values.size).from_address(places.isMeasured)
        measured = np.array(raw_mask, np.uint8).reshape(values.shape).astype(bool)
    axes = 3
    normal: Literal["x", "y", "z"] | None = None
    if places.kind == _PLANE and places.isInSpace:
        normal = _AXES[places.normal]
    elif places.kind == _PLANE:
        axes, values = 2, values[0]
        measured = None if measured is None else measured[0]
    return DoseGrid(
        values,
        dose.spacing[:axes],
        dose.origin[:axes],
        dose.frame_of_reference,
        measured,
        normal,
        dose.unit,
        dose.uncertainty,
    )


def placed_plane(grid: DoseGrid, name: str, at: Sequence[float]) -> DoseGrid | DosePoints:
    """A plane at its place in the patient."""
    dose = np.ascontiguousarray(grid.dose, np.float32)
    measured = None if grid.measured is None else np.ascontiguousarray(grid.measured, np.uint8)
    plane = _Plane(
        (ctypes.c_int * 2)(*dose.shape[::-1]),
        (ctypes.c_double * 2)(*grid.spacing),
        (ctypes.c_double * 2)(*grid.origin),
        dose.ctypes.data,
        None if measured is None else measured.ctypes.data,
        None,
    )
    return _placed(plane, name, at)


def placed_points(
    positions: npt.NDArray[np.float64],
    dose: npt.NDArray[np.float32],
    name: str,
    at: Sequence[float],
) -> DoseGrid | DosePoints:
    """Points of a plane, shape (n, 2), at their places in the patient; contiguous arrays."""
    plane = _Plane(
        (ctypes.c_int * 2)(dose.size, 1),
        (ctypes.c_double * 2)(1, 1),
        (ctypes.c_double * 2)(0, 0),
        dose.ctypes.data,
        None,
        positions.ctypes.data,
    )
    return _placed(plane, name, at)


def _placed(plane: _Plane, name: str, at: Sequence[float]) -> DoseGrid | DosePoints:
    handle: Any = ctypes.c_void_p()
    error = _host.Error()
    status = _functions.placePlane(
        plane, name.encode(), (ctypes.c_double * 3)(*at), handle, error
    )
    _host.check(status, error, f"plane={name!r}", refusal=ValueError)
    return distribution(_host.Dose(handle))
