"""A pair while it is computed: its files, and what is told of it."""

from __future__ import annotations

import time
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import TypeVar

from ..io import _comparison, _host
from . import memory
from .files import ROLES, state_of
from .manifest import Pair
from .reader import Answer, NoAnswer, within, within_until
from .record import Failure, FileState, Task
from .sentences import reason_of, sentence

_Value = TypeVar("_Value")


class PairFailed(Exception):
    """Carries the failure of a pair."""

    def __init__(self, failure: Failure) -> None:
        super().__init__(failure.sentence)
        self.failure = failure


@dataclass
class Work:
    """A pair while it is computed."""

    task: Task
    files: list[tuple[FileState, str]] = field(default_factory=list)
    warnings: list[str] = field(default_factory=list)
    reading: float = 0.0
    searching: float = 0.0

    @property
    def pair(self) -> Pair:
        """The pair."""
        return self.task.pair

    def fail(self, text: str, role: str | None = None, *, is_final: bool) -> PairFailed:
        """What to raise when something is wrong."""
        return PairFailed(Failure(sentence(self.pair, text, role), is_final))

    def warn(self, text: str, role: str | None = None) -> None:
        """Keep a warning, once."""
        told = sentence(self.pair, text, role)
        if told not in self.warnings:
            self.warnings.append(told)

    def read(self, read: Callable[[], _Value]) -> _Value:
        """What is read, within the time that a file may take."""
        start = time.perf_counter()
        try:
            return within(self.task.read_timeout, read)
        finally:
            self.reading += time.perf_counter() - start


class _Told(Exception):
    """A refusal, out of the thread that reads."""

    def __init__(self, text: str, role: str | None, *, is_final: bool) -> None:
        super().__init__(text)
        self.role = role
        self.is_final = is_final


def compared(work: Work, threads: int, structures: str) -> _comparison.Comparison:
    """The comparison of the pair.

    Parameters
    ----------
    structures : str
        Their path; empty: none.

    Raises
    ------
    PairFailed
        When there is none.
    MemoryError
        When memory runs out.
    """
    pair = work.pair
    paths = dict(zip(ROLES, (pair.reference, pair.evaluation, structures)))
    request = work.task.settings.request(**paths)
    times = [time.perf_counter()]

    def job(answer: Answer) -> _comparison.Comparison:
        for role, path in paths.items():
            if path:
                # Before the contents are read: a file that changes meanwhile has another time then.
                work.files.append((_state(role, path), path))

        def prepared() -> bool:
            times.append(time.perf_counter())
            return answer.has_read() and not memory.is_exceeded()

        def goes_on(_: float) -> bool:
            return answer.is_wanted and not memory.is_exceeded()

        made = _comparison.attempt(
            request, (), {}, threads, goes_on, prepared
        )
        if isinstance(made, _comparison.Refusal):
            # Somebody still waits: it was memory that ended it.
            is_full = made.kind == "interrupted" and answer.is_wanted
            raise MemoryError if is_full else _told(made, paths)
        return made

    work.files.clear()
    try:
        return within_until(work.task.read_timeout, job)
    except _Told as told:
        _add_data_files(work)
        raise work.fail(str(told), told.role, is_final=told.is_final) from None
    except NoAnswer as error:
        raise work.fail(str(error), _waiting(work, paths), is_final=False) from None
    finally:
        end = time.perf_counter()
        work.reading += times[-1] - times[0] if len(times) > 1 else end - times[0]
        work.searching += end - times[-1] if len(times) > 1 else 0.0


def _state(role: str, path: str) -> FileState:
    try:
        return state_of(role, path)
    except OSError as error:
        raise _Told(reason_of(error), role, is_final=False) from None


def _told(refusal: _comparison.Refusal, paths: dict[str, str]) -> Exception:
    error = refusal.error()
    if isinstance(error, MemoryError):
        return error
    role = next((role for role, path in paths.items() if path and path == refusal.file), None)
    text = refusal.sentence if role or not refusal.file else reason_of(error)
    return _Told(text, role, is_final=isinstance(error, ValueError))


def _waiting(work: Work, paths: dict[str, str]) -> str | None:
    """The file that gives no answer, where it can be told: the next one, or the only pipe."""
    asked = [role for role, path in paths.items() if path]
    if len(work.files) < len(asked):
        return asked[len(work.files)]
    pipes = [state.role for state, _ in work.files if state.size is None]
    return pipes[0] if len(pipes) == 1 else None


def _add_data_files(work: Work) -> None:
    """Files that the headers of a failed pair name: another one of them is another pair."""
    for state, path in list(work.files):
        if state.role in ("reference", "evaluation") and state.size is not None:
            try:
                data = work.read(lambda path=path: _host.read_file(path).data_path)
                add_data_file(work, state.role, path, data)
            except (OSError, ValueError, MemoryError, NoAnswer):
                continue


def add_data_file(work: Work, role: str, path: str, data: str) -> None:
    """Keep the file in which a header has its values, behind the header."""
    if data != path:
        place = next(i for i, (state, _) in enumerate(work.files) if state.role == role)
        work.files.insert(place + 1, (state_of(f"{role} data", data, data_of=path), data))
