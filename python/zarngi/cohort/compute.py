"""What a worker does: one pair from its files to a small record."""

from __future__ import annotations

import fnmatch
import threading
import time
import warnings
from collections.abc import Sequence
from dataclasses import dataclass, field
from typing import Any

import zarngi

from .._grid import DoseGrid
from .._points import DosePoints
from .._result import GammaResult
from .._structure_result import StructureResults
from .._structures import StructureSet
from ..io import _host
from ..io._read import dose_grid
from . import memory
from .files import have_digests, state_of, with_digest
from .manifest import Pair
from .pages import write_page
from .record import COUNTS, FIGURES, Failure, FileState, Outcome, Row, Task
from .sentences import sentence

#: The library holds one environment for each process, and memory is reckoned with for one pair.
_one_at_a_time = threading.Lock()


class _PairFailed(Exception):
    """Carries the failure of a pair."""

    def __init__(self, failure: Failure) -> None:
        super().__init__(failure.sentence)
        self.failure = failure


@dataclass
class _Work:
    """A pair while it is computed."""

    task: Task
    files: list[tuple[FileState, str]] = field(default_factory=list)
    warnings: list[str] = field(default_factory=list)
    reading: float = 0.0
    searching: float = 0.0

    @property
    def pair(self) -> Pair:
        return self.task.pair

    def fail(self, error: BaseException, role: str | None = None) -> _PairFailed:
        is_final = isinstance(error, ValueError)
        return _PairFailed(Failure(sentence(self.pair, error, role), is_final))


def compute(task: Task, threads: int, limit: int | None = None) -> Outcome:
    """Read the files of a pair, compare them by every criterion, and tell what came out.

    Parameters
    ----------
    task : Task
        The pair.
    threads : int
        Threads of the search; no result depends on them.
    limit : int, optional
        Bytes of memory that this process may fill.

    Returns
    -------
    Outcome
        Of whatever happens to the pair: failures are told in it.
    """
    with _one_at_a_time, memory.at_most(limit):
        if task.known and have_digests(task.pair, task.known):
            return Outcome(task, zarngi.__version__, is_unchanged=True)
        try:
            return _compute(task, threads)
        except MemoryError:
            memory.give_back()
        # What the pairs before have left behind must not decide: once more, with all there is.
        return _compute_or_tell(task, threads, limit)


def _compute_or_tell(task: Task, threads: int, limit: int | None) -> Outcome:
    try:
        return _compute(task, threads)
    except MemoryError:
        memory.give_back()
        size = f" of {limit / 1e9:.3g} GB" if limit else ""
        reason = f"does not fit in the memory{size} that there is for a computation"
        return _told(_Work(task), Failure(sentence(task.pair, reason), is_final=False))


def compute_all(tasks: Sequence[Task], threads: int, limit: int | None = None) -> list[Outcome]:
    """As `compute`, for several tasks."""
    return [compute(task, threads, limit) for task in tasks]


def _told(work: _Work, failure: Failure) -> Outcome:
    return Outcome(
        work.task,
        zarngi.__version__,
        files=tuple(state for state, _ in work.files),
        warnings=tuple(work.warnings),
        failure=failure,
        reading=work.reading,
        searching=work.searching,
    )


def _compute(task: Task, threads: int) -> Outcome:
    work = _Work(task)
    try:
        reference, evaluation = _read_both(work)
        rows = _search(work, reference, evaluation, threads)
        page = write_page(task, rows, work.warnings) if task.pages else None
        files = tuple(with_digest(state, path) for state, path in work.files)
    except _PairFailed as failed:
        return _told(work, failed.failure)
    except OSError as error:
        return _told(work, Failure(sentence(task.pair, error), is_final=False))
    return Outcome(
        task,
        zarngi.__version__,
        tuple(rows),
        files,
        tuple(work.warnings),
        page=page,
        reading=work.reading,
        searching=work.searching,
    )


def _read_both(work: _Work) -> tuple[DoseGrid | DosePoints, DoseGrid | DosePoints]:
    start = time.perf_counter()
    try:
        reference = _read(work, "reference")
        evaluation = _read(work, "evaluation")
    finally:
        work.reading = time.perf_counter() - start
    if reference.is_relative != evaluation.is_relative:
        raise work.fail(ValueError("one file holds relative doses and the other one Gy"))
    return reference.grid, evaluation.grid


@dataclass
class _Read:
    grid: DoseGrid | DosePoints
    is_relative: bool


def _read(work: _Work, role: str) -> _Read:
    path: str = getattr(work.pair, role)
    try:
        # Before the contents are read: a file that changes meanwhile has another time afterwards.
        work.files.append((state_of(role, path), path))
        dose = _host.read_file(path)
        if dose.data_path != path:
            data = dose.data_path
            work.files.append((state_of(f"{role} data", data, data_of=path), data))
        has_unit = work.task.settings.normalisation is not None
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            grid = dose_grid(path, dose, allow_relative=has_unit)
    except MemoryError:
        raise
    except (OSError, ValueError) as error:
        raise work.fail(error, role) from error
    for warning in caught:
        work.warnings.append(sentence(work.pair, str(warning.message), role))
    return _Read(grid, dose.is_relative)


def _read_structures(work: _Work) -> StructureSet | None:
    """The structures that are asked for, as far as the pair has them."""
    path = work.pair.structures
    if not path:
        return None
    start = time.perf_counter()
    try:
        work.files.append((state_of("structures", path), path))
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            found = zarngi.read_structures(path)
    except MemoryError:
        raise
    except (OSError, ValueError) as error:
        raise work.fail(error, "structures") from error
    finally:
        work.reading += time.perf_counter() - start
    work.warnings += [sentence(work.pair, str(w.message), "structures") for w in caught]
    return _chosen(work, found)


def _chosen(work: _Work, found: StructureSet) -> StructureSet | None:
    """Names of a cohort are not in every pair."""
    wanted = work.task.settings.structures or ()
    there = [name for name in wanted if "=" in name or fnmatch.filter(found, name)]
    for name in wanted:
        if name not in there:
            work.warnings.append(sentence(work.pair, f'has no "{name}"', "structures"))
    if wanted and not there:
        return None
    return found.select(*there)


def _search(
    work: _Work,
    reference: DoseGrid | DosePoints,
    evaluation: DoseGrid | DosePoints,
    threads: int,
) -> list[Row]:
    rows = []
    settings = work.task.settings
    structures = _read_structures(work) if settings.structures is not None else None
    start = time.perf_counter()
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        for criterion in settings.criteria:
            try:
                result = zarngi.gamma_index(
                    reference,
                    evaluation,
                    threads=threads,
                    structures=structures,
                    **settings.arguments(criterion),
                )
            except MemoryError:
                raise
            except (ValueError, RuntimeError) as error:
                raise work.fail(error) from error
            rows.append(Row(str(criterion), "", _figures(result)))
            rows += _rows_of_structures(work, str(criterion), result.structures)
    work.searching = time.perf_counter() - start
    told = dict.fromkeys(sentence(work.pair, str(warning.message)) for warning in caught)
    work.warnings += told
    return rows


def _rows_of_structures(
    work: _Work, criterion: str, results: StructureResults | None
) -> list[Row]:
    if results is None:
        return []
    notes = [f"{name}: {note}" for name, found in results.items() for note in found.notes]
    notes += [f"{name}: {reason}" for name, reason in results.refused.items()]
    told = [sentence(work.pair, note, "structures") for note in notes]
    work.warnings += [text for text in told if text not in work.warnings]
    return [
        Row(criterion, name, tuple(getattr(found, figure) for figure in FIGURES))
        for name, found in results.items()
    ]


def _figures(result: GammaResult) -> tuple[Any, ...]:
    """As `record.FIGURES`; None for what there is not."""
    counts = tuple(getattr(result, name) for name in (*COUNTS, "pass_rate"))
    if result.criteria.mode != "map" or result.unreached == result.tested:
        return (*counts, None, None, None, None)
    percentiles = (float(value) for value in result.percentile([95, 99]))
    return (*counts, result.mean, *percentiles, result.maximum)
