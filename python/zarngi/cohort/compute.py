"""What a worker does: one pair from its files to a small record."""

from __future__ import annotations

import threading
import time
import warnings
from collections.abc import Sequence
from typing import Any

import zarngi

from .._points import DosePoints
from .._result import GammaResult
from .._structure_result import StructureResults
from .._structures import Chosen, require_space
from . import memory
from .files import have_digests, with_digest
from .pages import is_due, write_page
from .reader import NoAnswer, within
from .record import COUNTS, FIGURES, Failure, FileState, Outcome, Row, Task
from .sentences import sentence
from .work import Doses, PairFailed, Structures, Work, read_both, read_structures

#: The library holds one environment for each process, and memory is reckoned with for one pair.
_one_at_a_time = threading.Lock()


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
        if task.known and _are_unchanged(task):
            return Outcome(task, zarngi.__version__, is_unchanged=True)
        try:
            return _compute(task, threads)
        except MemoryError:
            memory.give_back()
        # What the pairs before have left behind must not decide: once more, with all there is.
        return _compute_or_tell(task, threads, limit)


def _are_unchanged(task: Task) -> bool:
    try:
        return within(task.read_timeout, lambda: have_digests(task.pair, task.known))
    except NoAnswer:
        return False


def _compute_or_tell(task: Task, threads: int, limit: int | None) -> Outcome:
    try:
        return _compute(task, threads)
    except MemoryError:
        memory.give_back()
        size = f" of {limit / 1e9:.3g} GB" if limit else ""
        reason = f"does not fit in the memory{size} that there is for a computation"
        return _told(Work(task), Failure(sentence(task.pair, reason), is_final=False))


def compute_all(tasks: Sequence[Task], threads: int, limit: int | None = None) -> list[Outcome]:
    """As `compute`, for several tasks."""
    return [compute(task, threads, limit) for task in tasks]


def _told(work: Work, failure: Failure) -> Outcome:
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
    work = Work(task)
    try:
        doses = read_both(work)
        structures = read_structures(work) if task.settings.structures is not None else None
        rows = _search(work, doses, structures, threads)
        page = _page(work, doses, structures, rows)
        files = work.read(lambda: _digested(work))
    except PairFailed as failed:
        return _told(work, failed.failure)
    except (OSError, NoAnswer) as error:
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


def _digested(work: Work) -> tuple[FileState, ...]:
    return tuple(with_digest(state, path) for state, path in work.files)


def _search(
    work: Work, doses: tuple[Doses, Doses], structures: Structures | None, threads: int
) -> list[Row]:
    rows = []
    settings = work.task.settings
    start = time.perf_counter()
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        for criterion in settings.criteria:
            try:
                result = zarngi.gamma_index(
                    *doses,
                    threads=threads,
                    structures=structures and structures.chosen,
                    **settings.arguments(criterion),
                )
            except MemoryError:
                raise
            except (ValueError, RuntimeError) as error:
                raise work.fail(error) from error
            rows.append(Row(str(criterion), "", _figures(result)))
            rows += _rows_of_structures(work, str(criterion), result.structures)
    work.searching = time.perf_counter() - start
    for warning in caught:
        work.warn(str(warning.message))
    return rows


def _rows_of_structures(
    work: Work, criterion: str, results: StructureResults | None
) -> list[Row]:
    if results is None:
        return []
    notes = [f"{name}: {note}" for name, found in results.items() for note in found.notes]
    notes += [f"{name}: {reason}" for name, reason in results.refused.items()]
    for note in notes:
        work.warn(note, "structures")
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


def _page(
    work: Work, doses: tuple[Doses, Doses], structures: Structures | None, rows: Sequence[Row]
) -> str | None:
    """Writes the page of the pair, where one is due, with its structures."""
    pages = work.task.pages
    if pages is None or not is_due(pages, rows):
        return None
    if any(state.size is None for state, _ in work.files):
        work.warn("its page could not be written (what is no regular file is read once)")
        return None
    if work.task.settings.structures is None:
        structures = _structures_of_page(work, doses[0])
    return write_page(work, pages, None if structures is None else structures.names)


def _structures_of_page(work: Work, reference: Doses) -> Structures | None:
    """Structures that get no rows: where they cannot be shown, there is a page without them."""
    try:
        structures = read_structures(work)
        if structures is not None:
            if isinstance(reference, DosePoints) or reference.measured is not None:
                raise ValueError("are for volumes of doses")
            require_space("reference", reference)
            Chosen(structures.chosen, reference).check_frame(reference, ignore=False)
    except PairFailed as failed:
        work.warnings.append(failed.failure.sentence)
    except ValueError as error:
        work.warn(str(error), "structures")
    else:
        return structures
    return None
