"""The gamma-index comparison of two grids."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Literal

from ._asked import Asked
from ._grid import DoseGrid
from ._points import DosePoints
from ._result import Counts, GammaResult
from ._structure_result import StructureResults
from ._structures import StructuresLike


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
