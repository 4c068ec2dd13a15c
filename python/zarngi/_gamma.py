"""The gamma-index comparison of two grids."""

from __future__ import annotations

import sys
import warnings
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from typing import Any, Literal

from . import _checks
from ._criteria import Criteria
from ._given import Given, error_of, options_of, request_of
from ._grid import DoseGrid
from ._interruption import Progress
from ._points import DosePoints
from ._result import Counts, GammaResult
from ._structure_result import StructureResults
from ._structures import Chosen, StructuresLike, require_volume
from .io import _comparison
from .io._comparison import Refused
from .io._errors import FormatWarning


class NothingTestedError(ValueError):
    """No reference voxel lies above the dose cut-off, so there is no pass rate."""


def gamma_index(
    reference: DoseGrid | DosePoints,
    evaluation: DoseGrid,
    *,
    dd: float = 3,
    dta: float = 2,
    dose_cutoff: float = 10,
    local: bool = False,
    normalisation: float | None = None,
    max_gamma: float | None = 3,
    step: float | None = None,
    interpolate: bool = True,
    mode: Literal["map", "pass_rate"] = "map",
    slices: bool = False,
    random_rotation: bool = False,
    threads: int | None = None,
    verbose: int = 0,
    on_empty: Literal["raise", "flag"] = "raise",
    structures: StructuresLike | None = None,
    dvh_metrics: Sequence[str] | str = (),
    prescription: float | None = None,
    ignore_frame: bool = False,
) -> GammaResult:
    """Compare two dose distributions with the gamma-index test.

    For every reference voxel above the dose cut-off the evaluation dose around the voxel's centre
    is searched, on a cubic lattice, for the smallest

        gamma**2 = (dose difference / dd)**2 + (distance / dta)**2

    A voxel passes when gamma**2 is at most 1.

    Parameters
    ----------
    reference, evaluation : DoseGrid
        The two distributions. They may differ in size, spacing and position, not in the number of
        dimensions. The reference may be `DosePoints`, each of which is searched for itself; then
        `gamma` has the shape (n,). Places that are not measured are not tested.
    dd : float
        Dose difference in % of the normalisation dose or, with `local`, of the voxel's reference
        dose; greater than 0.
    dta : float
        Distance to agreement in mm; greater than 0.
    dose_cutoff : float
        Dose in % of the normalisation dose; greater than 0. Voxels strictly above it are tested.
    local : bool
        Whether `dd` refers to each reference voxel's own dose.
    normalisation : float, optional
        Normalisation dose in Gy; greater than 0. By default the largest reference dose.
    max_gamma : float, optional
        Largest gamma searched for; greater than 0. The search goes out to this many times `dta`
        (rounded to a whole number, at least 1). None: until every gamma is final.
    step : float, optional
        Spacing of the search lattice in mm; greater than 0. By default ``dta / 10``.
    interpolate : bool
        Whether doses are interpolated between voxel centres; if not, a point has the dose of the
        voxel that contains it.
    mode : {"map", "pass_rate"}
        "pass_rate" decides only which voxels pass, which is faster: the result's `gamma` then
        holds 1 for passed and 0 for failed voxels instead of gamma values, and has no mean,
        maximum, percentiles or histogram.
    slices : bool
        Whether doses are interpolated within slices of constant z only. The search still goes
        through all three dimensions.
    random_rotation : bool
        Whether the search lattice is turned by a rotation drawn at random. Results then vary from
        second to second. Needs grids of three dimensions.
    threads : int, optional
        Number of worker threads, 1 to 1024; by default one for each CPU the process may use. The
        result does not depend on it.
    verbose : int
        Amount of the library's reports on the process's standard output, 0 (none) to 5.
    on_empty : {"raise", "flag"}
        What to do when no voxel lies above the cut-off: raise `NothingTestedError`, or return a
        result whose `empty` is true and whose pass rate is not a number.
    structures : StructureSet, Structure, or mapping of names to structures or boolean arrays
        Parts of the reference for which the result tells rates and doses as well; boolean arrays
        have the shape of the reference dose. Needs grids of three dimensions.
    dvh_metrics : str or sequence of str
        Figures of the dose-volume histograms beside the usual ones, like "D99", "D2cc", "V20Gy" and
        "V95%".
    prescription : float, optional
        Gy, what the percentages of "V95%" refer to; by default the normalisation dose.
    ignore_frame : bool
        Whether structures of another frame of reference are taken at their positions, with a
        warning, instead of being refused.

    Returns
    -------
    GammaResult

    Raises
    ------
    ValueError
        When a parameter is out of range (the message gives its name, value and accepted range), a
        dose is not finite, or nothing is tested.
    TypeError
        When a parameter has the wrong type.
    MemoryError
        When memory runs out.

    Notes
    -----
    Calls from several threads are served one after the other; other Python threads go on running
    during a computation. A fork waits for the end of a computation that another thread is in.
    Ctrl-C ends a computation of the main thread.

    Examples
    --------
    >>> import zarngi
    >>> reference, evaluation = zarngi.demo_pair()
    >>> result = zarngi.gamma_index(reference, evaluation, dd=3, dta=3)
    >>> result.pass_rate == 100 * result.passed / result.tested
    True
    """
    asked = Asked.of(
        reference,
        evaluation,
        dd=dd,
        dta=dta,
        dose_cutoff=dose_cutoff,
        local=local,
        normalisation=normalisation,
        max_gamma=max_gamma,
        step=step,
        interpolate=interpolate,
        mode=mode,
        slices=slices,
        random_rotation=random_rotation,
        threads=threads,
        verbose=verbose,
        on_empty=on_empty,
        structures=structures,
        dvh_metrics=dvh_metrics,
        prescription=prescription,
        ignore_frame=ignore_frame,
    )
    made, record = asked.compared(stacklevel=3)
    (found,) = record["criteria"]
    asked.check_tested(found["tested"])
    parts = None
    if asked.chosen is not None:
        document = {"structures": record["structures"], "criterion": found}
        parts = StructureResults(document, asked.chosen)
    return GammaResult.from_library(
        made.take_gamma(0).reshape(reference.shape),
        Counts(found["passed"], found["hot"], found["cold"]),
        found["seconds"],
        asked.criteria,
        reference,
        evaluation,
        parts,
    )


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
