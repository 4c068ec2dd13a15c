"""`read` and `read_bytes`: doses from files and from memory."""

from __future__ import annotations

import os
from collections.abc import Mapping
from pathlib import Path
from typing import Literal, Union

from . import _checks
from ._grid import DoseGrid, doses_of
from ._points import DosePoints
from .io import _host, _measurements

#: What a bytes-like object is called here; the typing module of Python has no name for it.
BytesLike = Union[bytes, bytearray, memoryview]

DoseUnit = Literal["Gy", "cGy"]
LengthUnit = Literal["mm", "cm"]


def read(
    path: str | os.PathLike[str],
    *,
    allow_relative: bool = False,
    allow_error_doses: bool = False,
    dose_unit: DoseUnit | None = None,
    length_unit: LengthUnit | None = None,
    pixel_size: float | None = None,
) -> DoseGrid | DosePoints:
    """Read doses from a file.

    The contents, not the name, tell the format: DICOM RT Dose, NIfTI (.nii, .nii.gz, .hdr with
    .img), MetaImage (.mha, .mhd) or NRRD (.nrrd, .nhdr); simulated doses: EGSnrc's .3ddose, packed
    by gzip or not, and scorers of TOPAS (text, or the .binheader of binary values); measured planes
    and points: texts of detector arrays (PTW, Sun Nuclear), IBA planes, planes of XiO and Monaco,
    extracted planes, tables, TIFFs of one channel of doses, DICOM RT Image.

    Parameters
    ----------
    path : str or os.PathLike
        The file.
    allow_relative : bool
        Whether to read DICOM doses in relative units, as if they were Gy.
    allow_error_doses : bool
        Whether to read RT Doses of the Dose Type ERROR, differences between doses, as if they were
        doses.
    dose_unit : {"Gy", "cGy"}, optional
        Of tables, TIFFs and RT Doses that do not tell theirs, which are refused otherwise.
    length_unit : {"mm", "cm"}, optional
        Of tables that do not tell theirs; by default mm, with a warning.
    pixel_size : float, optional
        mm, of TIFFs and of matrices without coordinates, which are refused otherwise. Their first
        row is the upper edge, their middle lies at 0, 0, with warnings.

    Returns
    -------
    DoseGrid or DosePoints
        float32, in the patient's axes whatever the orientation in the file: x to the left, y to the
        back, z to the head (mm). Doses are scaled to Gy, but for those of
        simulations, whose `unit` and `uncertainty` say more. A measured plane has two dimensions, x to
        the right and y up; its `measured` tells where there are detectors. Points on no raster are
        `DosePoints`.

    Raises
    ------
    FormatError
        When the file is damaged or not a dose grid, or the grid is oblique or unevenly spaced. A
        kind of ValueError; the message begins with the path.
    OSError
        When the file cannot be opened.

    Warns
    -----
    FormatWarning
        When something was taken for granted that the file does not tell, such as the orientation
        or the unit, or speaks against the values being doses.
    """
    name = str(Path(path))
    dose = _host.read_file(name, told_of(dose_unit, length_unit, pixel_size))
    return dose_grid(name, dose, allow_relative, allow_error_doses)


def read_bytes(
    data: BytesLike,
    *,
    files: Mapping[str, BytesLike] | None = None,
    allow_relative: bool = False,
    allow_error_doses: bool = False,
    dose_unit: DoseUnit | None = None,
    length_unit: LengthUnit | None = None,
    pixel_size: float | None = None,
) -> DoseGrid | DosePoints:
    """Read doses from the contents of a file in memory.

    Parameters
    ----------
    data : bytes-like
        The contents, of any format that `read` takes.
    files : mapping of str to bytes-like, optional
        The contents of the data files that a header names, by the name that stands there; that of
        the data file of a NIfTI pair, which its header does not name, is ``""``.
    allow_relative, allow_error_doses : bool
        As of `read`.
    dose_unit, length_unit : str, optional
        As of `read`.
    pixel_size : float, optional
        As of `read`.

    Returns
    -------
    DoseGrid or DosePoints
        As of `read`.

    Raises
    ------
    FormatError
        As of `read`; the message begins with ``<bytes>``.

    Warns
    -----
    FormatWarning
        As of `read`.
    """
    name = "<bytes>"
    told = told_of(dose_unit, length_unit, pixel_size)
    dose = _host.read_memory(name, data, files or {}, told)
    return dose_grid(name, dose, allow_relative, allow_error_doses)


def told_of(dose_unit: str | None, length_unit: str | None, pixel_size: float | None) -> _host.Told:
    """What is told of a file as the library takes it."""
    gray = {"Gy": 1.0, "cGy": 1 / 100}
    millimetres = {"mm": 1.0, "cm": 10.0}
    units = _host.TableUnits(
        0 if dose_unit is None else gray[_checks.choice("dose_unit", dose_unit, tuple(gray))],
        0
        if length_unit is None
        else millimetres[_checks.choice("length_unit", length_unit, tuple(millimetres))],
    )
    return _host.Told(units, _checks.positive_or_none("pixel_size", pixel_size, "mm") or 0)


def dose_grid(
    name: str, dose: _host.Dose, allow_relative: bool, allow_error_doses: bool
) -> DoseGrid | DosePoints:
    """What was read; it looks at the library's memory.

    The warnings point at the caller of the function that calls this one.
    """
    told = _measurements.accepted(name, dose, allow_relative, allow_error_doses, stacklevel=4)
    return doses_of(told)
