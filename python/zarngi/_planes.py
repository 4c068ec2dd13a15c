"""Planes in space: what they are compared with, and how."""

from __future__ import annotations

import warnings
from collections.abc import Sequence

from ._grid import DoseGrid, LibraryGrid, library_grid


def common_normal(reference: DoseGrid, evaluation: DoseGrid) -> int | None:
    """The axis (0 is x) across two grids that are compared in their plane; None: in space.

    Raises
    ------
    ValueError
        When a plane and the other grid cannot be compared.
    """
    told = (reference.plane_normal, evaluation.plane_normal)
    normals = {normal for normal in told if normal is not None}
    if not normals or (evaluation.plane_normal is None and 1 not in evaluation.shape):
        return None
    if reference.plane_normal is None and 1 not in reference.shape:
        raise ValueError(
            "evaluation is a plane, in which a volume cannot be searched; accepted: as the "
            "reference"
        )
    axis = "xyz".index(normals.pop())
    if normals or not reference.shape[2 - axis] == evaluation.shape[2 - axis] == 1:
        raise ValueError(
            "reference and evaluation do not lie alike; accepted: planes across the same axis, or "
            "a plane as the reference of a volume"
        )
    return axis


def warn_if_apart(reference: DoseGrid, evaluation: DoseGrid, axis: int) -> None:
    """Warn the caller of `gamma_index` that planes lie apart along the axis across them."""
    apart = abs(reference.origin[axis] - evaluation.origin[axis])
    if apart > 0.01:
        warnings.warn(
            f"the planes lie {apart:g} mm apart along {'xyz'[axis]}; they are compared as if they "
            "were one",
            stacklevel=3,
        )


def library_grids(
    reference: DoseGrid, evaluation: DoseGrid, normal: int | None, step: float
) -> tuple[LibraryGrid, LibraryGrid]:
    """Two grids in the library's terms, where they are compared; see `library_grid`.

    Parameters
    ----------
    normal : int or None
        As `common_normal` gives it.
    """
    if normal is not None:
        reference, evaluation = _flat(reference, normal), _flat(evaluation, normal)
    return (
        library_grid("reference", reference, step),
        library_grid("evaluation", evaluation, step),
    )


def _flat(grid: DoseGrid, axis: int) -> DoseGrid:
    """A grid of one layer across an axis as a plane of its own."""

    def others(values: Sequence[float]) -> tuple[float, ...]:
        return tuple(value for i, value in enumerate(values) if i != axis)

    measured = None if grid.measured is None else grid.measured.squeeze(2 - axis)
    dose = grid.dose.squeeze(2 - axis)
    return DoseGrid(dose, others(grid.spacing), others(grid.origin), None, measured)
