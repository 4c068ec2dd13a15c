"""NIfTI files (.nii, .nii.gz), by means of nibabel."""

from __future__ import annotations

import gzip
import math
import zlib
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from ._volume import FormatError, Volume, check_sizes, need, spacing_and_axes

_MM_PER_UNIT = {"unknown": 1.0, "mm": 1.0, "meter": 1000.0, "micron": 0.001}

#: NIfTI's axes point to the right, to the front and to the head.
_TO_PATIENT = np.diag([-1.0, -1.0, 1.0])

#: DEFLATE makes at best one byte of so many.
_BEST_COMPRESSION = 1032


def read(path: Path) -> Volume:
    """Read a NIfTI file."""
    nibabel = need("nibabel", "nibabel", "reading NIfTI")
    try:
        image = nibabel.load(path)
        sizes = [int(size) for size in image.shape]
        check_sizes(sizes)
        _check_header(path, image, math.prod(sizes))
        values = np.asanyarray(image.dataobj)
        affine = np.asarray(image.affine, dtype=np.float64)
        unit = image.header.get_xyzt_units()[0]
    except FormatError:
        raise
    except (
        nibabel.filebasedimages.ImageFileError,
        OSError,
        EOFError,
        ValueError,
        zlib.error,
    ) as error:
        raise FormatError(f"it is damaged or cut short ({error})") from error
    scale = _MM_PER_UNIT.get(unit)
    if scale is None:
        raise FormatError(f"its lengths are in {unit}")
    if values.dtype.kind not in "iuf":
        raise FormatError(f"it has values of the type {values.dtype}")
    steps = _TO_PATIENT @ affine[:3, :3] * scale
    origin = _TO_PATIENT @ affine[:3, 3] * scale
    spacing, axes = spacing_and_axes(steps.T.tolist())
    return Volume(values.reshape(sizes[:3]).T, spacing, origin.tolist(), axes)


def _check_header(path: Path, image: Any, count: int) -> None:
    if image.header["sform_code"] == 0 and image.header["qform_code"] == 0:
        raise FormatError("its header gives no position (neither sform nor qform)")
    needed = count * image.get_data_dtype().itemsize
    if path.stat().st_size * _BEST_COMPRESSION < needed:
        raise FormatError(f"it is cut short, or its header lies: {needed} bytes of values")


def encode(values: npt.NDArray[Any], spacing: list[float], origin: list[float]) -> bytes:
    """The bytes of a .nii file."""
    nibabel = need("nibabel", "nibabel", "writing NIfTI")
    affine = np.eye(4)
    affine[:3, :3] = _TO_PATIENT @ np.diag(spacing)
    affine[:3, 3] = _TO_PATIENT @ np.asarray(origin)
    image = nibabel.Nifti1Image(values.T, affine, dtype=values.dtype)
    image.header.set_xyzt_units("mm")
    data: bytes = image.to_bytes()
    return data


def encode_compressed(values: npt.NDArray[Any], spacing: list[float], origin: list[float]) -> bytes:
    """The bytes of a .nii.gz file."""
    return gzip.compress(encode(values, spacing, origin), mtime=0)
