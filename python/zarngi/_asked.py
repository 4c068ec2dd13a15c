"""What `gamma_index` is asked for: its arguments checked, and the request that they make."""

from __future__ import annotations

import sys
import warnings
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from typing import Any

from . import _checks
from ._criteria import Criteria
from ._given import Given, error_of, options_of, request_of
from ._grid import DoseGrid
from ._interruption import Progress
from ._points import DosePoints
from ._structures import Chosen, StructuresLike, require_volume
from .io import _comparison
from .io._comparison import Refused
from .io._errors import FormatWarning


class NothingTestedError(ValueError):
    """No reference voxel lies above the dose cut-off, so there is no pass rate."""

    __module__ = "zarngi"  # where it is told to come from


@dataclass(frozen=True)
class Asked:
    """The arguments of `gamma_index`, checked, and the request that they make."""

    reference: DoseGrid | DosePoints
    evaluation: DoseGrid
    criteria: Criteria
    chosen: Chosen | None
    threads: int | None
    verbose: int
    may_be_empty: bool
    given: Given

    @classmethod
    def of(
        cls,
        reference: DoseGrid | DosePoints,
        evaluation: DoseGrid,
        *,
        threads: Any,
        verbose: Any,
        on_empty: Any,
        structures: StructuresLike | None,
        dvh_metrics: Sequence[str] | str,
        prescription: Any,
        ignore_frame: Any,
        **criteria: Any,
    ) -> Asked:
        """What `gamma_index` is asked for, whose arguments these are."""
        _check_doses(reference, evaluation)
        checked = _criteria(**criteria)
        _checks.integer("verbose", verbose, 0, 5)
        _checks.choice("on_empty", on_empty, ("raise", "flag"))
        _checks.boolean("ignore_frame", ignore_frame)
        full_dose = _checks.positive_or_none("prescription", prescription, "Gy")
        given = Given(request_of(checked))
        given.take_dose("reference", reference, "reference")
        given.take_dose("evaluation", evaluation, "evaluation")
        chosen = None
        if structures is not None:
            chosen = _choose(structures, reference, evaluation)
            given.take_structures(chosen, "structures[{}]")
            metrics = [dvh_metrics] if isinstance(dvh_metrics, str) else list(dvh_metrics)
            given.section("structures").update(
                metrics=metrics, prescription=full_dose, ignoreFrame=ignore_frame
            )
        return cls(
            reference, evaluation, checked, chosen, threads, verbose, on_empty == "flag", given
        )

    def compared(
        self, progress: Progress | None = None, *, stacklevel: int, **options: Any
    ) -> tuple[_comparison.Comparison, Mapping[str, Any]]:
        """What comes out, with its record, whose warnings are told."""
        if self.verbose > 0 and sys.stdout is not None:
            sys.stdout.flush()
        is_unbounded = self.criteria.max_gamma is None
        wanted = options_of(is_unbounded=is_unbounded, verbose=self.verbose, **options)
        try:
            made = self.given.compared(self.threads, progress, wanted)
        except Refused as refused:
            doses = {"reference": self.reference, "evaluation": self.evaluation}
            raise error_of(refused, doses, self._meant()) from None
        record = made.record()
        for sentence in record["warnings"]:
            warnings.warn(sentence, FormatWarning, stacklevel=stacklevel)
        return made, record

    def check_tested(self, tested: int) -> None:
        """Refuse that nothing was tested, unless it is to be flagged."""
        if tested > 0 or self.may_be_empty:
            return
        criteria = self.criteria
        largest = float(self.reference.dose.max())
        dose = largest if criteria.normalisation is None else criteria.normalisation
        raise NothingTestedError(
            f"no reference voxel lies above dose_cutoff={criteria.dose_cutoff:g} (% of the "
            f"normalisation dose {dose:g} Gy: {criteria.dose_cutoff * dose / 100:g} Gy); the "
            f"largest reference dose is {largest:g} Gy"
        )

    def _meant(self) -> dict[tuple[str, str], str]:
        unit = self.reference.unit if isinstance(self.reference, DoseGrid) else "Gy"
        return {
            ("request", "rotate"): (
                "random_rotation=True turns the search out of the plane of a 2D array or the line "
                "of a 1D array, and that of each point differently; accepted: False, or volumes"
            ),
            ("pair", "normalisation"): (
                f"reference has the unit {unit} and evaluation {self.evaluation.unit}; accepted: "
                "equal units (a DoseGrid of grid.dose * factor is in Gy), or normalisation, the "
                "dose of 100 %, for doses as they are"
            ),
            ("pair", "structures.ignoreFrame"): (
                "the structures lie in another frame of reference than the reference dose; "
                "ignore_frame=True takes their positions as they are"
            ),
        }


def _criteria(
    *,
    dd: Any,
    dta: Any,
    dose_cutoff: Any,
    local: Any,
    normalisation: Any,
    max_gamma: Any,
    step: Any,
    interpolate: Any,
    mode: Any,
    slices: Any,
    random_rotation: Any,
) -> Criteria:
    return Criteria(
        dd=_checks.positive("dd", dd, "%"),
        dta=_checks.positive("dta", dta, "mm"),
        dose_cutoff=_checks.positive("dose_cutoff", dose_cutoff, "%"),
        local=_checks.boolean("local", local),
        normalisation=_checks.positive_or_none("normalisation", normalisation, "Gy"),
        max_gamma=_checks.positive_or_none("max_gamma", max_gamma),
        step=_checks.positive_or_none("step", step, "mm"),
        interpolate=_checks.boolean("interpolate", interpolate),
        mode=_checks.choice("mode", mode, ("map", "pass_rate")),
        slices=_checks.boolean("slices", slices),
        random_rotation=_checks.boolean("random_rotation", random_rotation),
    )


def _check_doses(reference: DoseGrid | DosePoints, evaluation: DoseGrid) -> None:
    """That the two are of types and dimensions that go together."""
    if not isinstance(reference, (DoseGrid, DosePoints)):
        raise TypeError(
            f"reference is of type {type(reference).__name__}; accepted: zarngi.DoseGrid, "
            "zarngi.DosePoints"
        )
    if not isinstance(evaluation, DoseGrid):
        points = "; between points there is no dose" if isinstance(evaluation, DosePoints) else ""
        raise TypeError(
            f"evaluation is of type {type(evaluation).__name__}; accepted: zarngi.DoseGrid{points}"
        )
    if evaluation.measured is not None:
        raise ValueError(
            "evaluation has places that are not measured, between which there is no dose; accepted: "
            "as the reference"
        )
    are_points = isinstance(reference, DosePoints)
    dimensions = reference.dimensions if are_points else len(reference.spacing)
    if dimensions != len(evaluation.spacing):
        raise ValueError(
            f"reference has {dimensions} dimensions and evaluation has "
            f"{len(evaluation.spacing)}; accepted: equal numbers (a slice or line gets a place in "
            "space by three values of spacing and origin)"
        )
    if are_points and evaluation.plane_normal is not None:
        raise ValueError(
            "evaluation is a plane in space; accepted: a volume, or a grid of two dimensions for "
            "points of a plane"
        )


def _choose(
    structures: StructuresLike, reference: DoseGrid | DosePoints, evaluation: DoseGrid
) -> Chosen:
    if isinstance(reference, DosePoints):
        raise ValueError("structures need grids of three dimensions; accepted: no DosePoints")
    require_volume("reference", reference)
    require_volume("evaluation", evaluation)
    return Chosen(structures, reference)
