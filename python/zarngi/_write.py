"""`write`: volumes and RT Doses that are never half written."""

from __future__ import annotations

import os
import uuid
from pathlib import Path
from typing import Any, BinaryIO

import numpy as np
import numpy.typing as npt

from ._grid import DoseGrid
from .io import _dicom, _host

_DICOM_ENDING = ".dcm"
_ENDINGS = (".mha", ".nrrd", ".nii", ".nii.gz", _DICOM_ENDING)


def write(path: str | os.PathLike[str], array: npt.ArrayLike, like: DoseGrid) -> None:
    """Write an array of voxel values to a file.

    The name tells the format: .mha, .nrrd, .nii, .nii.gz or .dcm (needs pydicom). The file appears
    under its name only when it is complete.

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
        When pydicom is missing for writing DICOM.
    """
    file = Path(path)
    if not file.name.lower().endswith(_ENDINGS):
        raise ValueError(
            f"path={str(path)!r} has an unknown ending; accepted: {', '.join(_ENDINGS)}"
        )
    values = _storable(array, like)
    missing = 3 - len(like.spacing)
    spacing = list(like.spacing) + [1.0] * missing
    origin = list(like.origin) + [0.0] * missing
    volume = values.reshape((1,) * missing + values.shape)
    if file.name.lower().endswith(_DICOM_ENDING):
        _replace(file, _dicom.encode(volume, spacing, origin, like.frame_of_reference))
    else:
        _host.write_volume(str(file), volume, spacing, origin)


def _storable(array: npt.ArrayLike, like: DoseGrid) -> npt.NDArray[Any]:
    values = np.asarray(array)
    if values.shape != like.shape:
        raise ValueError(f"array has shape {values.shape}; accepted: {like.shape}, as like has")
    if values.dtype.kind not in "iufb":
        raise TypeError(f"array has the data type {values.dtype}; accepted: numbers and bool")
    replacement = {"b1": "u1", "f2": "f4", "f16": "f8"}
    code = values.dtype.str[1:]
    return values.astype("=" + replacement.get(code, code), copy=False)


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
