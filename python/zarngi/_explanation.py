"""Which shift and which dose factor explain the voxels that fail."""

from __future__ import annotations

import ctypes
from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _checks, _library
from ._cpus import MAX_THREADS, available_cpus
from ._grid import DoseGrid
from ._planes import common_normal, library_grids
from ._structures import Structure
from .io import _explanation as _binding
from .io import _structures

if TYPE_CHECKING:
    from ._result import Criteria, GammaResult


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


class _Engine:
    """Computes for the search, inside `exclusive_use`."""

    def __init__(self, criteria: Criteria, normalisation: float, threads: int) -> None:
        set_ = _library.call
        set_("setDCO", criteria.dose_cutoff)
        set_("setGlobalNormalization", normalisation)
        set_("setDDCriterium", 2 if criteria.local else 1)
        set_("setComputationMode", 1)
        set_("setInterpolation", criteria.interpolate)
        set_("setNumThreads", threads)
        _library.environment().gammaindex2D = criteria.slices

    def set_reference(self, doses: Any) -> None:
        self._hand_over("setRef", doses)

    def set_evaluation(self, doses: Any) -> None:
        self._hand_over("setEval", doses)

    def compute(self, trial: Any, gamma: Any, passed: Any) -> None:
        set_ = _library.call
        set_("setDD", trial.doseDifference)
        set_("setDTA", trial.distance)
        tenth = np.float32(trial.distance) / np.float32(10)
        set_("setStepSize", trial.step if trial.step > 0 else float(tenth))
        set_("setGammaSearchMax", trial.maxGamma)
        set_("startComputation")
        set_("getGammaIndex3DMap", gamma)
        set_("getPassed3DMap", passed)

    def _hand_over(self, setter: str, doses: Any) -> None:
        spacing = np.array(doses.spacing)
        sizes = spacing.astype(np.float32)
        # As of `library_grid`.
        corner = (np.array(doses.origin) - spacing / 2).astype(np.float32)
        pointer = ctypes.POINTER(ctypes.c_float)
        _library.call(
            setter,
            doses.size,
            sizes.ctypes.data_as(pointer),
            corner.ctypes.data_as(pointer),
            ctypes.cast(doses.values, pointer),
        )


def _within(
    result: GammaResult, structure: Structure | npt.ArrayLike | None
) -> npt.NDArray[np.uint8] | None:
    if structure is None:
        return None
    if isinstance(structure, Structure):
        mask = structure.mask(result.reference)
    else:
        mask = np.asarray(structure)
        if mask.dtype != np.bool_:
            raise TypeError(f"structure is of type {mask.dtype}; accepted: bool arrays")
        if mask.shape != result.reference.shape:
            raise ValueError(
                f"structure has shape {mask.shape}; accepted: {result.reference.shape}"
            )
    return np.ascontiguousarray(mask, np.uint8)


def explain_result(
    result: GammaResult,
    range: float | None,
    structure: Structure | npt.ArrayLike | None,
    threads: int | None,
    progress: Callable[[float], object] | None,
) -> Explanation:
    """See `GammaResult.explain`."""
    criteria = result.criteria
    if not isinstance(result.reference, DoseGrid):
        raise ValueError("reference holds single points; accepted: results of grids")
    if criteria.random_rotation:
        raise ValueError(
            "random_rotation=True turns the lattice anew in each computation; accepted: results "
            "without it"
        )
    reach = _checks.positive_or_none("range", range, "mm")
    if reach is not None and not 1 <= reach <= 100:
        raise _checks.refuse("range", range, "1 to 100 (mm)")
    threads = available_cpus() if threads is None else threads
    threads = _checks.integer("threads", threads, 1, MAX_THREADS)
    lattice = criteria.dta / 10 if criteria.step is None else criteria.step
    normal = common_normal(result.reference, result.evaluation)
    reference, evaluation = library_grids(result.reference, result.evaluation, normal, lattice)
    normalisation = criteria.normalisation or float(reference.dose.max())
    farthest = 10  # gamma of the map afterwards where the search is not bounded
    options = {
        "doseDifference": criteria.dd,
        "distance": criteria.dta,
        "local": criteria.local,
        "step": criteria.step,
        "maxGamma": farthest if criteria.max_gamma is None else criteria.max_gamma,
        "range": reach,
        "inPlane": len(result.reference.spacing) < 3,
    }
    within = _within(result, structure)
    sources: Sequence[_structures.Structures] = ()
    if within is not None:
        options["within"] = structure.name if isinstance(structure, Structure) else "the part"
    elif result.structures is not None and result.structures.chosen is not None:
        chosen = result.structures.chosen
        sources = chosen.sources
        options |= {"shown": chosen.shown, "excluded": chosen.excluded}

    given = _binding.Given(reference.volume, evaluation.volume, within, sources)
    with _library.exclusive_use():
        engine = _Engine(criteria, normalisation, threads)
        record, gamma = _library.interruptibly(
            lambda reins: _binding.explain(given, options, engine, reins.tell), progress
        )
    if progress is not None:
        progress(1.0)
    gamma[gamma < 0] = np.nan
    return _explanation(record, gamma.reshape(result.reference.shape))
