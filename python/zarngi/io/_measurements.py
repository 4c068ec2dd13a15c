"""The binding to libZarnGIHost's planes and points."""

from __future__ import annotations

import ctypes
import warnings
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from . import _host
from ._errors import FormatError, FormatWarning

# enum zarnGIHost_Kind
VOLUME, PLANE, POINTS = range(3)

_AXES: tuple[Literal["x"], Literal["y"], Literal["z"]] = ("x", "y", "z")


@dataclass(frozen=True)
class Distribution:
    """Doses as the library tells them.

    Of points, `points` has their places, shape (n, 3) or (n, 2), and the rest means nothing but the
    frame of reference; of grids, it is None, and spacing and origin have as many values as the grid
    has dimensions.
    """

    values: npt.NDArray[np.float32]
    frame_of_reference: str | None
    points: npt.NDArray[np.float64] | None = None
    spacing: tuple[float, ...] = ()
    origin: tuple[float, ...] = ()
    measured: npt.NDArray[np.bool_] | None = None
    normal: Literal["x", "y", "z"] | None = None
    unit: _host.DoseUnit = "Gy"
    uncertainty: npt.NDArray[np.float32] | None = None


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


def distribution(dose: _host.Dose) -> Distribution:
    """What was read; it looks at the library's memory."""
    places = Places()
    _functions.getPlaces(dose.handle, places)
    values = np.asarray(dose)
    if places.kind == POINTS:
        count = values.size
        raw = (ctypes.c_double * (3 * count)).from_address(places.points)
        positions = np.array(raw, np.float64).reshape(count, 3)
        axes = 3 if places.isInSpace else 2
        return Distribution(values.reshape(count), dose.frame_of_reference, positions[:, :axes])
    measured = None
    if places.isMeasured:
        raw_mask = (ctypes.c_ubyte * values.size).from_address(places.isMeasured)
        measured = np.array(raw_mask, np.uint8).reshape(values.shape).astype(bool)
    axes = 3
    normal: Literal["x", "y", "z"] | None = None
    if places.kind == PLANE and places.isInSpace:
        normal = _AXES[places.normal]
    elif places.kind == PLANE:
        axes, values = 2, values[0]
        measured = None if measured is None else measured[0]
    return Distribution(
        values,
        dose.frame_of_reference,
        None,
        dose.spacing[:axes],
        dose.origin[:axes],
        measured,
        normal,
        dose.unit,
        dose.uncertainty,
    )


def accepted(
    name: str, dose: _host.Dose, allow_relative: bool, allow_error_doses: bool, stacklevel: int
) -> Distribution:
    """What was read, if it is what the caller takes; tells its warnings.

    Parameters
    ----------
    stacklevel : int
        Of the warnings; 1 is the caller of this function.

    Raises
    ------
    FormatError
        When the doses are relative, or differences between doses, and are not allowed to be.
    """
    if dose.is_relative and not allow_relative:
        raise FormatError(
            f"{name}: its doses are relative; pass allow_relative=True to read them as such"
        )
    if dose.is_error and not allow_error_doses:
        raise FormatError(
            f"{name}: holds differences between doses, no doses (Dose Type ERROR); pass "
            "allow_error_doses=True to read them as such"
        )
    for warning in dose.warnings():
        warnings.warn(f"{name}: {warning}", FormatWarning, stacklevel=stacklevel)
    return distribution(dose)


def placed_plane(
    dose: npt.NDArray[np.float32],
    measured: npt.NDArray[np.uint8] | None,
    spacing: Sequence[float],
    origin: Sequence[float],
    name: str,
    at: Sequence[float],
) -> Distribution:
    """A plane, shape (ny, nx), at its place in the patient; contiguous arrays."""
    plane = _Plane(
        (ctypes.c_int * 2)(*dose.shape[::-1]),
        (ctypes.c_double * 2)(*spacing),
        (ctypes.c_double * 2)(*origin),
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
) -> Distribution:
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


def _placed(plane: _Plane, name: str, at: Sequence[float]) -> Distribution:
    handle: Any = ctypes.c_void_p()
    error = _host.Error()
    status = _functions.placePlane(
        plane, name.encode(), (ctypes.c_double * 3)(*at), handle, error
    )
    _host.check(status, error, f"plane={name!r}", refusal=ValueError)
    return distribution(_host.Dose(handle))
