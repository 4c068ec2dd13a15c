"""`read` and `read_bytes`: dose grids from files and from memory."""

from __future__ import annotations

import os
import warnings
from collections.abc import Mapping
from pathlib import Path

import numpy as np

from .._grid import DoseGrid
from . import _host
from ._errors import FormatError, FormatWarning

#: What a bytes-like object is called here; the typing module of Python 3.11 has no name for it.
BytesLike = bytes | bytearray | memoryview


def read(path: str | os.PathLike[str], *, allow_relative: bool = False) -> DoseGrid:
    """Read a dose grid from a file.

    The contents, not the name, tell the format: DICOM RT Dose, NIfTI (.nii, .nii.gz, .hdr with
    .img), MetaImage (.mha, .mhd) or NRRD (.nrrd, .nhdr).

    Parameters
    ----------
    path : str or os.PathLike
        The file.
    allow_relative : bool
        Whether to read DICOM doses in relative units, as if they were Gy.

    Returns
    -------
    DoseGrid
        float32, in the patient's axes whatever the orientation in the file: x to the left, y to the
        back, z to the head (mm). Doses are scaled to Gy.

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
        When something was taken for granted that the file does not tell, such as the orientation.
    """
    name = str(Path(path))
    return dose_grid(name, _host.read_file(name), allow_relative)


def read_bytes(
    data: BytesLike,
    *,
    files: Mapping[str, BytesLike] | None = None,
    allow_relative: bool = False,
) -> DoseGrid:
    """Read a dose grid from the contents of a file in memory.

    Parameters
    ----------
    data : bytes-like
        The contents, of any format that `read` takes.
    files : mapping of str to bytes-like, optional
        The contents of the data files that a header names, by the name that stands there; that of
        the data file of a NIfTI pair, which its header does not name, is ``""``.
    allow_relative : bool
        As of `read`.

    Returns
    -------
    DoseGrid
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
    return dose_grid(name, _host.read_memory(name, data, files or {}), allow_relative)


def dose_grid(name: str, dose: _host.Dose, allow_relative: bool) -> DoseGrid:
    """The grid of a dose that was read; it looks at the library's memory.

    The warnings point at the caller of the function that calls this one.
    """
    if dose.is_relative and not allow_relative:
        raise FormatError(
            f"{name}: its doses are relative; pass allow_relative=True to read them as such"
        )
    for warning in dose.warnings():
        warnings.warn(f"{name}: {warning}", FormatWarning, stacklevel=3)
    return DoseGrid(np.asarray(dose), dose.spacing, dose.origin, dose.frame_of_reference)
