"""Reading with a bound on its time.

A pipe that nobody writes and a file server that does not answer let a reader wait without end, and
nothing calls it back. So a thread of its own reads; it is left behind where no answer comes.

Ctrl-C may come between any two steps of this thread: what is waited with are queues that are no code of
Python's, which an interruption cannot leave locked.
"""

from __future__ import annotations

import atexit
import threading
from collections.abc import Callable
from queue import Empty, SimpleQueue
from typing import Generic, TypeVar

from .._forks import at_forks
from ..io import _host

_Value = TypeVar("_Value")

#: Seconds that a reading may go on after Ctrl-C: libraries that still run must not meet the end of
#: the process.
_GRACE = 2.0


class NoAnswer(Exception):
    """A file was not read in time; the message is for a person."""


class Answer(Generic[_Value]):
    """What a job that reads, and then goes on, tells whoever waits."""

    def __init__(self, job: Callable[[Answer[_Value]], _Value]) -> None:
        self._job = job
        self._news: SimpleQueue[None] = SimpleQueue()
        self._value: list[_Value] = []
        self._error: BaseException | None = None
        self._has_read = False
        self._has_ended = False
        self.is_wanted = True  # whether somebody still waits

    def has_read(self) -> bool:
        """Tell that everything has been read; whether to go on."""
        self._has_read = True
        self._news.put(None)
        return self.is_wanted

    def work(self) -> None:
        """Do the job, on the thread that reads."""
        try:
            self._value.append(self._job(self))
        except BaseException as error:  # noqa: BLE001 - it is raised where somebody waits
            self._error = error
        finally:
            self._has_ended = True
            self.has_read()

    def wait(self, seconds: float) -> bool:
        """Whether everything has been read within a time."""
        try:
            self._news.get(timeout=min(seconds, threading.TIMEOUT_MAX))
        except Empty:
            return False
        return True

    def leave(self) -> None:
        """Want nothing any more, and wait for the end: soon after reading, or within some time."""
        self.is_wanted = False
        while not self._has_ended and self.wait(threading.TIMEOUT_MAX if self._has_read else _GRACE):
            pass

    def result(self) -> _Value:
        """What the job returned, or raised; waits for it."""
        while not self._has_ended:
            self._news.get()
        if self._error is not None:
            raise self._error
        return self._value.pop()


class _Thread:
    """Does one job after the other. What it says of files quotes nothing that stands in them."""

    def __init__(self) -> None:
        self._jobs: SimpleQueue[Callable[[], None]] = SimpleQueue()
        threading.Thread(target=self._work, name="zarngi-reader", daemon=True).start()

    def start(self, job: Callable[[], None]) -> None:
        """Have a job done."""
        self._jobs.put(job)

    def _work(self) -> None:
        with _host.without_excerpts():
            while True:
                self._jobs.get()()


class _Reader:
    """The thread that reads, where there is one."""

    def __init__(self) -> None:
        self._thread: _Thread | None = None

    def start(self, job: Callable[[], None]) -> None:
        """Have a job done."""
        self._thread = self._thread or _Thread()
        self._thread.start(job)

    def leave(self) -> None:
        """Never again ask the thread, which waits for a file, or is not there after a fork."""
        self._thread = None


_reader = _Reader()
at_forks(after_in_child=_reader.leave)


def within(seconds: float, read: Callable[[], _Value]) -> _Value:
    """What `read` returns or raises; one call at a time.

    Raises
    ------
    NoAnswer
        When it takes longer.
    """
    return within_until(seconds, lambda _: read())


def within_until(seconds: float, job: Callable[[Answer[_Value]], _Value]) -> _Value:
    """What `job` returns or raises, which is to have read its files in time; one call at a time.

    Raises
    ------
    NoAnswer
        When reading takes longer.
    """
    answer: Answer[_Value] = Answer(job)
    # The interpreter may end in another thread, and must not while a library calls back.
    atexit.register(answer.leave)
    try:
        _reader.start(answer.work)
        if not answer.wait(seconds):
            answer.is_wanted = False
            _reader.leave()
            raise NoAnswer(f"could not be read within {seconds:g} s")
        return answer.result()
    except KeyboardInterrupt:
        answer.leave()
        raise
    finally:
        atexit.unregister(answer.leave)
        # An error holds this frame: the memory of what was read would wait for a collection.
        del answer
