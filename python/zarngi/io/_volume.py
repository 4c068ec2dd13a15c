"""Grids as files store them, and the way from there to the patient's axes."""

from __future__ import annotations

import importlib
import math
from collections.abc import Sequence
from dataclasses import dataclass
from types import ModuleType
from typing import Any

import numpy as np
import numpy.typing as npt

from .._grid import DoseGrid

Vector = tuple[float, float, float]

IDENTITY: tuple[Vector, Vector, Vector] = ((1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0))

_SMALLEST_SPACING = 1e-3  # mm
_LARGEST_SPACING = 1e3  # mm
#: mm. Beyond it single-precision positions are coarser than a hundredth of a millimetre.
_FARTHEST_ORIGIN = 1e5
#: Sine of the largest tilt taken for rounding: 0.05 mm over half a metre.
_TILT_TOLERANCE = 1e-4
_VOXEL_LIMIT = 2**31


class FormatError(ValueError):
    """A file is damaged, or holds something else than a dose grid this package can use."""


@dataclass(frozen=True)
class Volume:
    """A grid as a file describes it; nothing is known to be sensible yet."""

    values: npt.NDArray[Any]  # three dimensions, the file's first axis last (C order)
    spacing: Sequence[float]  # mm, along the file's first, second and third axis
    origin: Sequence[float]  # mm, centre of the first voxel
    axes: Sequence[Sequence[float]] = IDENTITY  # unit vectors: where each index grows
    frame_of_reference: str | None = None


def check_sizes(sizes: Sequence[int]) -> int:
    """Number of voxels of a three-dimensional grid of believable size."""
    if len(sizes) < 3 or any(size != 1 for size in sizes[3:]):
        raise FormatError(f"it has {len(sizes)} dimensions instead of 3")
    if min(sizes) < 1 or math.prod(sizes) >= _VOXEL_LIMIT:
        raise FormatError(f"its grid size of {' x '.join(map(str, sizes))} voxels is not usable")
    return math.prod(sizes)


def dose_grid(volume: Volume) -> DoseGrid:
    """The volume in the patient's axes (x to the left, y to the back, z to the head).

    Axes are permuted and turned round; no value is interpolated.

    Raises
    ------
    FormatError
        When the geometry is not sensible or oblique.
    """
    _check_geometry(volume)
    aligned = [_aligned_axis(axis) for axis in volume.axes]
    if sorted(aligned) != [0, 1, 2]:
        raise FormatError("its grid is rotated against the patient's axes; resample it first")
    # The file's axis i is dimension 2 - i of the array; the patient's axis a becomes 2 - a.
    file_axis = [aligned.index(a) for a in range(3)]
    values = volume.values.transpose([2 - file_axis[2 - d] for d in range(3)])
    origin = [float(v) for v in volume.origin]
    spacing = [float(volume.spacing[i]) for i in file_axis]
    for a in range(3):
        if volume.axes[file_axis[a]][a] < 0:
            origin[a] -= (values.shape[2 - a] - 1) * spacing[a]
            values = np.flip(values, 2 - a)
    with np.errstate(over="ignore"):
        # Always a copy, so that the array can be written to and does not hang on to the file.
        dose = np.array(values, dtype=np.float32, order="C")
    return DoseGrid(dose, tuple(spacing), tuple(origin), volume.frame_of_reference)


def _check_geometry(volume: Volume) -> None:
    check_sizes(volume.values.shape)
    for spacing in volume.spacing:
        if not _SMALLEST_SPACING <= spacing <= _LARGEST_SPACING:
            raise FormatError(
                f"its voxel size of {spacing:g} mm is outside {_SMALLEST_SPACING:g} to "
                f"{_LARGEST_SPACING:g} mm"
            )
    for position in volume.origin:
        if not abs(position) <= _FARTHEST_ORIGIN:
            raise FormatError(f"its origin of {position:g} mm is no sensible position")


def _aligned_axis(direction: Sequence[float]) -> int:
    """The patient's axis along which a unit vector points, or -1 when it is oblique."""
    magnitudes = np.abs(direction)
    a = int(np.argmax(magnitudes))
    others = np.delete(magnitudes, a)
    is_aligned = abs(magnitudes[a] - 1) <= _TILT_TOLERANCE and (others <= _TILT_TOLERANCE).all()
    return a if is_aligned else -1


def spacing_and_axes(
    directions: Sequence[Sequence[float]],
) -> tuple[list[float], list[list[float]]]:
    """Lengths and unit vectors of three step vectors (mm)."""
    spacing = [math.sqrt(sum(float(c) ** 2 for c in step)) for step in directions]
    for length in spacing:
        if not 0 < length < math.inf:
            raise FormatError("its header gives no direction for an axis")
    return spacing, [[c / length for c in step] for step, length in zip(directions, spacing)]


def numbers(text: str, what: str, count: int | None = None) -> list[float]:
    """The finite numbers of a header entry, blanks and commas between them."""
    try:
        values = [float(word) for word in text.replace(",", " ").split()]
    except ValueError:
        values = [math.nan]
    if not all(map(math.isfinite, values)) or (count is not None and len(values) != count):
        raise FormatError(f"its header gives {what} of {text!r}")
    return values


def whole_numbers(text: str, what: str, count: int | None = None) -> list[int]:
    """The whole numbers of a header entry."""
    values = numbers(text, what, count)
    if not all(value.is_integer() for value in values):
        raise FormatError(f"its header gives {what} of {text!r}")
    return [int(value) for value in values]


def one_line(error: Exception) -> str:
    """What an exception says, in one line."""
    return " ".join(str(error).split())


def need(module: str, package: str, what: str) -> ModuleType:
    """Import an optional module.

    Raises
    ------
    ImportError
        That names the package to install and what for.
    """
    try:
        return importlib.import_module(module)
    except ImportError as error:
        raise ImportError(
            f"{what} needs the package {package}, which is not installed "
            f"(pip install {package}, or apt-get install python3-{package})"
        ) from error
