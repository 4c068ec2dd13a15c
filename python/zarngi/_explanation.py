"""Which shift and which dose factor explain the voxels that fail."""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass, field
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._criteria import Criteria
from ._given import Given, error_of, options_of, request_of
from ._grid import DoseGrid
from ._interruption import Progress
from ._points import DosePoints
from ._structures import Chosen, Structure
from .io._comparison import Refused


@dataclass(frozen=True)
class Change:
    """What is done to the evaluation, and what that gives.

    Attributes
    ----------
    shift : tuple of float
        mm, (x, y, z), added to the positions of the evaluation.
    direction : str
        The same in terms of the patient, "2.9 mm left, 0.3 mm anterior", or "2.9 mm along +x" of
        grids without a place in space; empty for no shift.
    factor : float
        Of the evaluation's doses.
    pass_rate : float
        %, of all tested voxels.
    failed : int
        Voxels.
    """

    shift: tuple[float, float, float]
    direction: str
    factor: float
    pass_rate: float
    failed: int

    @property
    def length(self) -> float:
        """Length of the shift in mm."""
        return float(np.sqrt(sum(value * value for value in self.shift)))


@dataclass(frozen=True, eq=False)
class Explanation:
    """Which shift and dose factor of the evaluation explain what fails.

    Attributes
    ----------
    conclusion : str
        "shift", "factor", "both", "neither" or "nothing failed".
    sentence : str
        What it means.
    notes : tuple of str
        What a person should know of it, such as "not determined along z".
    best, shift_alone, factor_alone : Change
        The best shift and factor together, and each alone.
    pass_rate_before : float
        %, as it is.
    failed_before, tested : int
        Voxels.
    shift_within : tuple
        For x, y and z the range of shifts (mm) that keep the rate within 0.1 percentage points of
        the best; None where the axis was not searched.
    factor_within : tuple of float
        The factors that keep the rate within 0.1 percentage points of the best.
    axes : tuple of str
        For x, y and z "searched", "not determined", "one voxel" or "no room".
    gamma : numpy.ndarray of float32
        Gamma of every tested voxel after the best change, NaN where not tested.
    computations : int
        How many were made; most of them in some of the voxels.
    record : mapping
        All of it, as ``zarngi compare --explain --json`` writes it.
    """

    conclusion: str
    sentence: str
    notes: tuple[str, ...]
    best: Change
    shift_alone: Change
    factor_alone: Change
    pass_rate_before: float
    failed_before: int
    tested: int
    shift_within: tuple[tuple[float, float] | None, ...]
    factor_within: tuple[float, float]
    axes: tuple[str, ...]
    computations: int
    gamma: npt.NDArray[np.float32] = field(repr=False)
    record: Mapping[str, Any] = field(repr=False)

    def __str__(self) -> str:
        return self.sentence


def _change(record: Mapping[str, Any]) -> Change:
    x, y, z = record["shift"]
    rate, failed = record["passRate"], record["failed"]
    return Change((x, y, z), record["direction"], record["factor"], rate, failed)


def _explanation(record: Mapping[str, Any], gamma: npt.NDArray[np.float32]) -> Explanation:
    within = record["within"]
    return Explanation(
        conclusion=record["conclusion"],
        sentence=record["sentence"],
        notes=tuple(record["notes"]),
        best=_change(record["best"]),
        shift_alone=_change(record["shiftAlone"]),
        factor_alone=_change(record["factorAlone"]),
        pass_rate_before=record["before"]["passRate"],
        failed_before=record["before"]["failed"],
        tested=record["tested"],
        shift_within=tuple(None if one is None else tuple(one) for one in within["shift"]),
        factor_within=tuple(within["factor"]),
        axes=tuple(record["axes"]),
        computations=record["computations"],
        gamma=gamma,
        record=record,
    )


def _mask(
    structure: Structure | npt.ArrayLike, reference: DoseGrid
) -> tuple[npt.NDArray[np.uint8], str]:
    """The voxels of what alone is explained, and its name."""
    if isinstance(structure, Structure):
        return np.ascontiguousarray(structure.mask(reference), np.uint8), structure.name
    mask = np.asarray(structure)
    if mask.dtype != np.bool_:
        raise TypeError(f"structure is of type {mask.dtype}; accepted: bool arrays")
    if mask.shape != reference.shape:
        raise ValueError(f"structure has shape {mask.shape}; accepted: {reference.shape}")
    return np.ascontiguousarray(mask, np.uint8), "the part"


def explain(
    doses: tuple[DoseGrid | DosePoints, DoseGrid],
    criteria: Criteria,
    chosen: Chosen | None,
    range: float | None,
    structure: Structure | npt.ArrayLike | None,
    threads: int | None,
    progress: Progress | None,
) -> Explanation:
    """See `GammaResult.explain`."""
    reference, evaluation = doses
    reach = _checks.positive_or_none("range", range, "mm")
    given = Given(request_of(criteria) | {"explain": {"range": reach, "structure": None}})
    given.take_dose("reference", reference, "reference")
    given.take_dose("evaluation", evaluation, "evaluation")
    explained = None
    if structure is not None and isinstance(reference, DoseGrid):
        explained = _mask(structure, reference)
    elif chosen is not None:
        given.take_structures(chosen, "structures[{}]")
        given.section("structures")["ignoreFrame"] = True  # as it was when they were compared
    options = options_of(
        is_unbounded=criteria.max_gamma is None, has_only_findings=True, explained=explained
    )
    try:
        made = given.compared(threads, progress, options, never_direct=True)
    except Refused as refused:
        named = {"reference": reference, "evaluation": evaluation}
        raise error_of(refused, named, _MEANT) from None
    if progress is not None:
        progress(1.0)
    gamma = made.explained_gamma()
    gamma[gamma < 0] = np.nan
    return _explanation(made.record()["explanation"], gamma.reshape(reference.shape))


_MEANT = {
    ("request", "rotate"): (
        "random_rotation=True turns the lattice anew in each computation; accepted: results "
        "without it"
    ),
    ("request", "explain"): "reference holds single points; accepted: results of grids",
}
