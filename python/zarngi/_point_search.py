"""The search of points, one by one."""

from __future__ import annotations

from collections.abc import Callable, Sequence

import numpy as np
import numpy.typing as npt

from ._grid import PLANE_THICKNESS, LibraryGrid
from ._points import DosePoints
from .io import _host


def library_points(points: DosePoints) -> list[LibraryGrid]:
    """Each point as a grid of one voxel, small enough for any plane."""
    with np.errstate(over="ignore"):
        dose = np.ascontiguousarray(points.dose, np.float32)
    if not np.isfinite(dose).all():
        raise ValueError("reference.dose holds values that are not finite; accepted: Gy")
    places = np.zeros((len(dose), 3))
    places[:, : points.dimensions] = points.positions
    spacing = np.full(3, PLANE_THICKNESS)
    sizes = spacing.astype(np.float32)
    counts = np.ones(3, np.intc)
    # As the command-line program forms it.
    corners = (places - spacing / 2).astype(np.float32)
    return [
        LibraryGrid(counts, spacing, place, sizes, corner, dose[i : i + 1])
        for i, (place, corner) in enumerate(zip(places, corners))
    ]


def count_sides(
    points: Sequence[LibraryGrid], evaluation: LibraryGrid, passed: npt.NDArray[np.uint8]
) -> tuple[int, int]:
    """Failed points with more (hot) and with less dose (cold) than the reference."""
    sides = np.zeros(2, np.int64)
    for point, verdict in zip(points, passed):
        if verdict == 0:
            sides += _host.count_failed_sides(
                point.volume, evaluation.volume, np.zeros(1, np.uint8)
            )
    return int(sides[0]), int(sides[1])


def search(
    points: Sequence[LibraryGrid], search_one: Callable[[LibraryGrid, int], tuple[float, int]]
) -> tuple[npt.NDArray[np.float32], npt.NDArray[np.uint8]]:
    """Gamma and verdict of each point, by a function that gives those of one."""
    gamma = np.empty(len(points), np.float32)
    passed = np.empty(len(points), np.uint8)
    for i, point in enumerate(points):
        gamma[i], passed[i] = search_one(point, i)
    return gamma, passed
