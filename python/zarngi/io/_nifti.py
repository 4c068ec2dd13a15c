"""NIfTI files (.nii, .nii.gz), by means of nibabel."""

from __future__ import annotations

import gzip
import math
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from ._volume import FormatError, Volume, check_sizes, need, one_line, spacing_and_axes

_MM_PER_UNIT = {"unknown": 1.0, "mm": 1.0, "meter": 1000.0, "micron": 0.001}

#: NIfTI's axes point to the right, to the front and to the head.
_TO_PATIENT = np.diag([-1.0, -1.0, 1.0])

_POSITION_TOLERANCE = 0.01  # mm

#: DEFLATE makes at best one byte of so many.
_BEST_COMPRESSION = 1032


def read(path: Path) -> Volume:
    """Read a NIfTI file."""
    nibabel = need("nibabel", "nibabel", "reading NIfTI")
    try:
        image = nibabel.load(path)
        sizes = [int(size) for size in image.shape]
        check_sizes(sizes)
        _check_length(path, image, math.prod(sizes))
        _check_position(nibabel, path, image)
        values = np.asanyarray(image.dataobj)
        affine = np.asarray(image.affine, dtype=np.float64)
        unit = image.header.get_xyzt_units()[0]
    except (FormatError, MemoryError):
        raise
    # A damaged header surfaces as one of many kinds of exception, whatever field it hits.
    except Exception as error:
        raise FormatError(f"it is damaged or cut short ({one_line(error)})") from error
    scale = _MM_PER_UNIT.get(unit)
    if scale is None:
        raise FormatError(f"its lengths are in {unit}")
    if values.dtype.kind not in "iuf":
        raise FormatError(f"it has values of the type {values.dtype}")
    steps = _TO_PATIENT @ affine[:3, :3] * scale
    origin = _TO_PATIENT @ affine[:3, 3] * scale
    spacing, axes = spacing_and_axes(steps.T.tolist())
    return Volume(values.reshape(sizes[:3]).T, spacing, origin.tolist(), axes)


def _check_length(path: Path, image: Any, count: int) -> None:
    needed = count * image.get_data_dtype().itemsize
    if path.stat().st_size * _BEST_COMPRESSION < needed:
        raise FormatError(f"it is cut short, or its header lies: {needed} bytes of values")


def _check_position(nibabel: Any, path: Path, image: Any) -> None:
    """Refuse a header from which the place of the grid has to be guessed."""
    # nibabel mends a loaded header, so that voxel sizes of 0 or below look right in it.
    with nibabel.openers.ImageOpener(path) as file:
        sizes = image.header_class.from_fileobj(file, check=False)["pixdim"][1:4]
    if not ((sizes > 0) & np.isfinite(sizes)).all():
        raise FormatError(f"its header gives voxel sizes of {' x '.join(f'{s:g}' for s in sizes)}")
    forms = [image.get_sform(coded=True)[0], image.get_qform(coded=True)[0]]
    positions = [form for form in forms if form is not None]
    if not positions:
        raise FormatError("its header gives no position (neither sform nor qform)")
    if np.abs(positions[0] - positions[-1]).max() > _POSITION_TOLERANCE:
        raise FormatError("its header gives two different positions (sform and qform)")


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
