"""What a worker does: one pair from its files to a small record."""

from __future__ import annotations

import threading
from collections.abc import Iterator, Sequence
from dataclasses import replace
from typing import Any

import zarngi

from ..io import _comparison
from . import memory
from .files import ROLES, have_digests, with_digest
from .pages import is_due, write_page
from .reader import NoAnswer, within
from .record import Failure, FileState, Outcome, Row, Task
from .sentences import reason_of, sentence
from .work import PairFailed, Work, add_data_file, compared

#: The library holds one environment for each process, and memory is reckoned with for one pair.
_one_at_a_time = threading.Lock()

#: Members of a record's criterion, and of its `withoutNoise`, in the order of `record.FIGURES`.
_MEMBERS = (
    "tested", "passed", "failed", "hot", "cold", "unreached", "passRate", "mean", "p95", "p99", "max",
)  # fmt: skip
_WITHOUT_NOISE = ("passRate", "lower", "upper")


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
    has_structures = task.settings.has_structures
    try:
        made = _compared(work, threads, has_structures)
        record = made.record(alias="")
        for text in record["warnings"]:
            work.warn(text)
        for doubt in record["gate"]:
            work.warn(f"({doubt['name']}) {doubt['text']}")
        rows = tuple(_rows(record, has_structures))
        if has_structures:
            _warn_of_structures(work, record)
            _warn_of_goals(work, record)
        files = _digested(work, made, record)
        page = _page(work, made, rows)
    except PairFailed as failed:
        return _told(work, failed.failure)
    except OSError as error:
        return _told(work, Failure(sentence(task.pair, reason_of(error)), is_final=False))
    return Outcome(
        task,
        zarngi.__version__,
        rows,
        files,
        tuple(work.warnings),
        page=page,
        reading=work.reading,
        searching=work.searching,
    )


def _compared(work: Work, threads: int, has_structures: bool) -> _comparison.Comparison:
    """With structures that get rows, or that its page shows: there may be a page without them."""
    structures = work.pair.structures
    if has_structures or work.task.pages is None or not structures:
        return compared(work, threads, structures if has_structures else "")
    try:
        return compared(work, threads, structures)
    except PairFailed as failed:
        unread = [file for file in work.files if file[0].role == ROLES[2]]
        made = compared(work, threads, "")
        work.files += unread
        work.warnings.append(failed.failure.sentence)
        return made


def _rows(record: dict[str, Any], has_structures: bool) -> Iterator[Row]:
    """A structure has the same figures by a criterion for everything and by the same for itself."""
    told = set()
    for criterion in record["criteria"]:
        label = criterion["label"]
        if not criterion.get("for"):
            yield Row(label, "", _figures(criterion))
        for found in criterion.get("structures", ()) if has_structures else ():
            if found is not None and (label, found["name"]) not in told:
                told.add((label, found["name"]))
                yield Row(label, found["name"], _figures(found))


def _figures(found: dict[str, Any]) -> tuple[Any, ...]:
    """As `record.FIGURES`; None for what there is not."""
    estimate = found.get("withoutNoise", {})
    return (
        *(found[member] for member in _MEMBERS),
        *(estimate.get(member) for member in _WITHOUT_NOISE),
    )


def _warn_of_structures(work: Work, record: dict[str, Any]) -> None:
    for structure in record.get("structures", {}).get("list", ()):
        for note in structure["notes"]:
            work.warn(f"{structure['name']}: {note}", "structures")


def _warn_of_goals(work: Work, record: dict[str, Any]) -> None:
    """What is not met, without figures: the same goal of many pairs is counted."""
    for goal in record.get("goals", ()):
        if goal["verdict"] != "pass":
            kind = "not met" if goal["verdict"] == "fail" else "not determined"
            work.warn(f"goal {kind} in {goal['structure']}: {goal['text']}")


def _digested(
    work: Work, made: _comparison.Comparison, record: dict[str, Any]
) -> tuple[FileState, ...]:
    """The files with the digests of what was read, and those in which headers have their values."""
    told = _files(record)
    if any("data" in file for file in told.values()):
        # Their places are no business of an anonymous record.
        for role, file in _files(made.record()).items():
            if "data" in file:
                add_data_file(work, role, getattr(work.pair, role), file["data"]["path"])
    digests = {role: file["sha256"] for role, file in told.items()}
    digests |= {f"{role} data": file["data"]["sha256"] for role, file in told.items() if "data" in file}
    return tuple(
        replace(state, sha256=digests[state.role])
        if state.size is not None and state.role in digests
        else work.read(lambda state=state, path=path: with_digest(state, path))
        for state, path in work.files
    )


def _files(record: dict[str, Any]) -> dict[str, dict[str, Any]]:
    structures = record.get("structures", {}).get("files", ())
    return record["files"] | dict(zip(ROLES[2:], structures))


def _page(work: Work, made: _comparison.Comparison, rows: Sequence[Row]) -> str | None:
    """Writes the page of the pair, where one is due."""
    pages = work.task.pages
    if pages is None or not is_due(pages, rows):
        return None
    return write_page(work, pages, made)
