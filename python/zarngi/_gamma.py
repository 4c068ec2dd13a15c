"""The gamma-index comparison of two grids."""

from __future__ import annotations

import ctypes
import sys
import time
import warnings
from collections.abc import Sequence
from dataclasses import dataclass, replace
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from . import _checks, _library
from ._cpus import MAX_THREADS, available_cpus
from ._dose_volume import options_of
from ._grid import DoseGrid, LibraryGrid, library_grid
from ._planes import common_normal, library_grids, warn_if_apart
from ._point_search import count_sides, library_points, search
from ._points import DosePoints
from ._result import Counts, Criteria, GammaResult
from ._structure_result import StructureResults
from ._structures import Chosen, StructuresLike, require_volume
from .io import _host, _structures


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
    _check_grids(reference, evaluation)
    _check_units(reference, evaluation, normalisation)
    criteria = Criteria(
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
    if criteria.random_rotation and isinstance(reference, DosePoints):
        raise ValueError(
            "random_rotation=True turns the search of each point differently; accepted: False, or "
            "grids"
        )
    normal = None
    if isinstance(reference, DoseGrid):
        normal = common_normal(reference, evaluation)
    if criteria.random_rotation and (len(evaluation.spacing) < 3 or normal is not None):
        raise ValueError(
            "random_rotation=True turns the search out of the plane of a 2D array or the line of a "
            "1D array; accepted: False, or volumes"
        )
    threads = available_cpus() if threads is None else threads
    threads = _checks.integer("threads", threads, 1, MAX_THREADS)
    verbose = _checks.integer("verbose", verbose, 0, 5)
    _checks.choice("on_empty", on_empty, ("raise", "flag"))

    chosen = _choose(structures, reference, evaluation, ignore_frame)
    full_dose = _checks.positive_or_none("prescription", prescription, "Gy")
    lattice = criteria.dta / 10 if criteria.step is None else criteria.step
    if isinstance(reference, DosePoints):
        output, hot, cold = _search_points(reference, evaluation, criteria, lattice, verbose)
    else:
        if normal is not None:
            warn_if_apart(reference, evaluation, normal)
        grids = library_grids(reference, evaluation, normal, lattice)
        output = _compute(*grids, criteria, threads, verbose)
        hot, cold = _host.count_failed_sides(grids[0].volume, grids[1].volume, output.passed)
    parts = None
    if chosen is not None:
        full_dose = full_dose or criteria.normalisation or float(grids[0].dose.max())
        options = options_of(chosen, dvh_metrics, full_dose, threads)
        parts = _compare_structures(chosen, grids, output, criteria, options)
    result = GammaResult.from_library(
        output.gamma.reshape(reference.shape),
        Counts(int(np.count_nonzero(output.passed == 1)), hot, cold),
        output.seconds,
        criteria,
        reference,
        evaluation,
        parts,
    )
    if result.empty and on_empty == "raise":
        raise NothingTestedError(_nothing_tested(reference, criteria))
    return result


def _check_grids(reference: DoseGrid | DosePoints, evaluation: DoseGrid) -> None:
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
    dimensions = (
        reference.dimensions if isinstance(reference, DosePoints) else len(reference.spacing)
    )
    if dimensions != len(evaluation.spacing):
        raise ValueError(
            f"reference has {dimensions} dimensions and evaluation has "
            f"{len(evaluation.spacing)}; accepted: equal numbers (a slice or line gets a place in "
            "space by three values of spacing and origin)"
        )
    frames = {reference.frame_of_reference, evaluation.frame_of_reference} - {None}
    if len(frames) > 1:
        warnings.warn(
            "reference and evaluation have different frames of reference; their coordinates may "
            "not mean the same places",
            stacklevel=3,
        )


def _check_units(
    reference: DoseGrid | DosePoints, evaluation: DoseGrid, normalisation: float | None
) -> None:
    unit = reference.unit if isinstance(reference, DoseGrid) else "Gy"
    if unit != evaluation.unit and normalisation is None:
        raise ValueError(
            f"reference has the unit {unit} and evaluation {evaluation.unit}; accepted: equal units "
            "(a DoseGrid of grid.dose * factor is in Gy), or normalisation, the dose of 100 %, for "
            "doses as they are"
        )


def _choose(
    structures: StructuresLike | None,
    reference: DoseGrid | DosePoints,
    evaluation: DoseGrid,
    ignore_frame: bool,
) -> Chosen | None:
    _checks.boolean("ignore_frame", ignore_frame)
    if structures is None:
        return None
    if isinstance(reference, DosePoints):
        raise ValueError("structures need grids of three dimensions; accepted: no DosePoints")
    require_volume("reference", reference)
    require_volume("evaluation", evaluation)
    chosen = Chosen(structures, reference)
    chosen.check_frame(reference, ignore_frame)
    return chosen


def _compare_structures(
    chosen: Chosen,
    grids: tuple[LibraryGrid, LibraryGrid],
    output: _Output,
    criteria: Criteria,
    options: dict[str, Any],
) -> StructureResults:
    # Without a bound the histogram ends where single bins tell nothing more.
    options["maxGamma"] = 10 if criteria.max_gamma is None else criteria.max_gamma
    options["passRateOnly"] = criteria.mode == "pass_rate"
    return StructureResults(
        _structures.compare(
            chosen.sources, grids[0].volume, grids[1].volume, options, output.gamma, output.passed
        ),
        chosen,
    )


@dataclass
class _Output:
    gamma: npt.NDArray[np.float32]  # flat, -1 where not tested
    passed: npt.NDArray[np.uint8]  # flat; 1, 0, or 255: not tested
    seconds: float


def _floats(array: npt.NDArray[np.float32]) -> Any:
    return array.ctypes.data_as(ctypes.POINTER(ctypes.c_float))


def _hand_over(setter: str, grid: LibraryGrid) -> None:
    counts = grid.counts.ctypes.data_as(ctypes.POINTER(ctypes.c_int))
    _library.call(setter, counts, _floats(grid.sizes), _floats(grid.corner), _floats(grid.dose))


def _set_options(criteria: Criteria, threads: int, verbose: int) -> None:
    set_ = _library.call
    set_("setDD", criteria.dd)
    set_("setDTA", criteria.dta)
    set_("setDCO", criteria.dose_cutoff)
    if criteria.step is not None:
        set_("setStepSize", criteria.step)
    if criteria.normalisation is not None:
        set_("setGlobalNormalization", criteria.normalisation)
    if criteria.max_gamma is not None:
        set_("setGammaSearchMax", criteria.max_gamma)
    set_("setDDCriterium", 2 if criteria.local else 1)
    set_("setComputationMode", 2 if criteria.mode == "pass_rate" else 1)
    set_("setInterpolation", criteria.interpolate)
    set_("setRandomRotation", criteria.random_rotation)
    set_("setNumThreads", threads)
    set_("setVerbose", verbose)
    if criteria.slices:
        environment = _library.environment()
        environment.gammaindex2D = True
        # This flag only announces the analysis, and does so at every verbosity.
        environment.gammaindex2D_z = verbose > 0


def _compute(
    reference: LibraryGrid, evaluation: LibraryGrid, criteria: Criteria, threads: int, verbose: int
) -> _Output:
    gamma = np.empty(reference.dose.size, np.float32)
    passed = np.empty(reference.dose.size, np.uint8)
    if verbose > 0 and sys.stdout is not None:
        sys.stdout.flush()
    with _library.exclusive_use():
        _hand_over("setRef", reference)
        _hand_over("setEval", evaluation)
        _set_options(criteria, threads, verbose)
        start = time.perf_counter()
        _library.compute(reference.dose.size)
        seconds = time.perf_counter() - start
        _library.call("getGammaIndex3DMap", _floats(gamma))
        _library.call("getPassed3DMap", passed.ctypes.data_as(ctypes.POINTER(ctypes.c_ubyte)))
    return _Output(gamma, passed, seconds)


def _search_points(
    points: DosePoints, evaluation: DoseGrid, criteria: Criteria, lattice: float, verbose: int
) -> tuple[_Output, int, int]:
    """The points one by one; what the percentages refer to is that of all of them."""
    if evaluation.plane_normal is not None:
        raise ValueError(
            "evaluation is a plane in space; accepted: a volume, or a grid of two dimensions for "
            "points of a plane"
        )
    singles = library_points(points)
    grid = library_grid("evaluation", evaluation, lattice)
    if criteria.normalisation is None:
        largest = float(np.asarray(points.dose, np.float32).max())
        criteria = replace(criteria, normalisation=largest)
    if criteria.normalisation is not None and criteria.normalisation <= 0:
        empty = np.full(len(singles), -1, np.float32)
        return _Output(empty, np.full(len(singles), 255, np.uint8), 0.0), 0, 0
    with _library.exclusive_use():
        _hand_over("setEval", grid)
        _set_options(criteria, 1, verbose)
        start = time.perf_counter()

        def search_one(point: LibraryGrid, _index: int) -> tuple[float, int]:
            gamma, passed = np.empty(1, np.float32), np.empty(1, np.uint8)
            _hand_over("setRef", point)
            _library.call("startComputation")
            _library.call("getGammaIndex3DMap", _floats(gamma))
            _library.call("getPassed3DMap", passed.ctypes.data_as(ctypes.POINTER(ctypes.c_ubyte)))
            return gamma[0], passed[0]

        gamma, passed = search(singles, search_one)
        seconds = time.perf_counter() - start
    return _Output(gamma, passed, seconds), *count_sides(singles, grid, passed)


def _nothing_tested(reference: DoseGrid | DosePoints, criteria: Criteria) -> str:
    largest = float(reference.dose.max())
    dose = largest if criteria.normalisation is None else criteria.normalisation
    return (
        f"no reference voxel lies above dose_cutoff={criteria.dose_cutoff:g} (% of the "
        f"normalisation dose {dose:g} Gy: {criteria.dose_cutoff * dose / 100:g} Gy); the largest "
        f"reference dose is {largest:g} Gy"
    )
