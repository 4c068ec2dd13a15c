"""`read` and `write`: which format a file has, and files that are never half written."""

from __future__ import annotations

import gzip
import os
import uuid
import zlib
from collections.abc import Callable
from pathlib import Path
from typing import Any, BinaryIO

import numpy as np
import numpy.typing as npt

from .._grid import DoseGrid
from . import _dicom, _metaimage, _nifti, _nrrd
from ._volume import FormatError, Volume, dose_grid

_BEGINNING = 1024  # bytes looked at to tell the format
_NIFTI_MAGIC = 344
_DICOM_PREAMBLE = 128


def read(path: str | os.PathLike[str], *, allow_relative: bool = False) -> DoseGrid:
    """Read a dose grid from a file.

    The contents, not the name, tell the format: DICOM RT Dose (needs pydicom), NIfTI (needs
    nibabel), MetaImage (.mha, .mhd) or NRRD (.nrrd, .nhdr).

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
        back, z to the head (mm). DICOM doses are scaled to Gy.

    Raises
    ------
    FormatError
        When the file is damaged or not a dose grid, or the grid is oblique or unevenly spaced. A
        kind of ValueError; the message begins with the path.
    OSError
        When the file cannot be opened.
    ImportError
        When the package that reads the format is missing; the message names it.
    """
    file = Path(path)
    try:
        return dose_grid(_read_volume(file, allow_relative))
    except FormatError as error:
        raise FormatError(f"{file}: {error}") from error.__cause__


def write(path: str | os.PathLike[str], array: npt.ArrayLike, like: DoseGrid) -> None:
    """Write an array of voxel values to a file.

    The name tells the format: .mha, .nrrd, .nii, .nii.gz (needs nibabel) or .dcm (needs pydicom).
    The file appears under its name only when it is complete.

    Parameters
    ----------
    path : str or os.PathLike
        The file; an existing one is replaced.
    array : array_like, shape of `like`
        Doses in Gy, gamma values or a mask. The number type is kept (float16 becomes float32, bool
        uint8). DICOM holds doses only: finite values from 0 up, stored with 32 bits.
    like : DoseGrid
        The grid that gives spacing, origin and frame of reference. Along axes it does not have the
        file gets one voxel of 1 mm at 0.

    Raises
    ------
    ValueError
        When the array has another shape than the grid or values the format cannot hold, or the
        name has none of the endings.
    OSError
        When the file cannot be written.
    ImportError
        When the package that writes the format is missing; the message names it.
    """
    file = Path(path)
    encode = _encoder(file, like)
    values = _storable(array, like)
    missing = 3 - len(like.spacing)
    spacing = list(like.spacing) + [1.0] * missing
    origin = list(like.origin) + [0.0] * missing
    _replace(file, encode(values.reshape((1,) * missing + values.shape), spacing, origin))


def _read_volume(path: Path, allow_relative: bool) -> Volume:
    beginning = _beginning(path)
    if beginning.startswith(b"NRRD000"):
        return _nrrd.read(path)
    if beginning[_NIFTI_MAGIC : _NIFTI_MAGIC + 3] in (b"n+1", b"ni1", b"n+2", b"ni2"):
        return _nifti.read(path)
    if _is_dicom(beginning):
        return _dicom.read(path, allow_relative=allow_relative)
    if _is_metaimage(beginning):
        return _metaimage.read(path)
    raise FormatError("it is no dose file (DICOM RT Dose, NIfTI, MetaImage or NRRD)")


def _beginning(path: Path) -> bytes:
    """The first bytes of a file, unpacked if it is compressed."""
    with path.open("rb") as file:
        is_gzip = file.read(2) == b"\x1f\x8b"
    try:
        with gzip.open(path) if is_gzip else path.open("rb") as file:
            return bytes(file.read(_BEGINNING))
    except (EOFError, gzip.BadGzipFile, zlib.error) as error:
        raise FormatError(f"its compressed data are damaged ({error})") from error


def _is_dicom(beginning: bytes) -> bool:
    with_preamble = beginning[_DICOM_PREAMBLE : _DICOM_PREAMBLE + 4] == b"DICM"
    return with_preamble or (beginning[:2] == b"\x08\0" and beginning[3:4] == b"\0")


def _is_metaimage(beginning: bytes) -> bool:
    keys = (b"ObjectType", b"NDims", b"Comment", b"FormType")
    return beginning.lstrip().startswith(keys) and b"=" in beginning


Encoder = Callable[[npt.NDArray[Any], list[float], list[float]], bytes]


def _encoder(path: Path, like: DoseGrid) -> Encoder:
    def encode_dicom(values: npt.NDArray[Any], spacing: list[float], origin: list[float]) -> bytes:
        return _dicom.encode(values, spacing, origin, like.frame_of_reference)

    encoders: dict[str, Encoder] = {
        ".mha": _metaimage.encode,
        ".nrrd": _nrrd.encode,
        ".nii": _nifti.encode,
        ".nii.gz": _nifti.encode_compressed,
        ".dcm": encode_dicom,
    }
    for ending, encoder in encoders.items():
        if path.name.lower().endswith(ending):
            return encoder
    raise ValueError(f"path={str(path)!r} has an unknown ending; accepted: {', '.join(encoders)}")


def _storable(array: npt.ArrayLike, like: DoseGrid) -> npt.NDArray[Any]:
    values = np.asarray(array)
    if values.shape != like.shape:
        raise ValueError(f"array has shape {values.shape}; accepted: {like.shape}, as like has")
    if values.dtype.kind not in "iufb":
        raise TypeError(f"array has the data type {values.dtype}; accepted: numbers and bool")
    replacement = {"b1": "u1", "f2": "f4", "f16": "f8"}
    code = values.dtype.str[1:]
    return values.astype("<" + replacement.get(code, code), copy=False)


def _replace(path: Path, data: bytes) -> None:
    temporary = path.with_name(f".{path.name}.{uuid.uuid4().hex}.part")
    try:
        with temporary.open("xb") as file:
            _write_bytes(file, data)
        os.replace(temporary, path)
    finally:
        temporary.unlink(missing_ok=True)


def _write_bytes(file: BinaryIO, data: bytes) -> None:
    file.write(data)
