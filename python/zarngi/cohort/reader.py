"""Reading with a bound on its time.

A pipe that nobody writes and a file server that does not answer let a reader wait without end, and
nothing calls it back. So a thread of its own reads; it is left behind where no answer comes.
"""

from __future__ import annotations

import atexit
import os
import queue
import threading
from collections.abc import Callable
from concurrent.futures import Future, wait
from typing import Any, TypeVar

from ..io import _host

_Value = TypeVar("_Value")

#: Seconds that a reading may go on after Ctrl-C: libraries that still run must not meet the end of
#: the process.
_GRACE = 2.0


class NoAnswer(Exception):
    """A file was not read in time; the message is for a person."""


class _Thread:
    """Does one job after the other. What it says of files quotes nothing that stands in them."""

    def __init__(self) -> None:
        self._jobs: queue.SimpleQueue[tuple[Callable[[], Any], Future[Any]]] = queue.SimpleQueue()
        threading.Thread(target=self._work, name="zarngi-reader", daemon=True).start()

    def start(self, read: Callable[[], _Value]) -> Future[_Value]:
        """What the job will give."""
        future: Future[_Value] = Future()
        self._jobs.put((read, future))
        return future

    def _work(self) -> None:
        with _host.without_excerpts():
            while True:
                self._do(*self._jobs.get())

    @staticmethod
    def _do(read: Callable[[], Any], future: Future[Any]) -> None:
        try:
            future.set_result(read())
        except BaseException as error:
            future.set_exception(error)


class _Reader:
    """The thread that reads, where there is one."""

    def __init__(self) -> None:
        self._thread: _Thread | None = None

    def start(self, read: Callable[[], _Value]) -> Future[_Value]:
        """Have something read."""
        self._thread = self._thread or _Thread()
        return self._thread.start(read)

    def leave(self) -> None:
        """Never again ask the thread, which waits for a file, or is not there after a fork."""
        self._thread = None


_reader = _Reader()
os.register_at_fork(after_in_child=_reader.leave)


def within(seconds: float, read: Callable[[], _Value]) -> _Value:
    """What `read` returns or raises; one call at a time.

    Raises
    ------
    NoAnswer
        When it takes longer.
    """
    return within_until(seconds, lambda _: read())


class Answer:
    """What a job that reads, and then goes on, tells whoever waits."""

    def __init__(self) -> None:
        self._read = threading.Event()
        self._left = threading.Event()

    def has_read(self) -> bool:
        """Tell that everything has been read; whether to go on."""
        self._read.set()
        return not self._left.is_set()

    @property
    def is_wanted(self) -> bool:
        """Whether somebody still waits."""
        return not self._left.is_set()

    def wait(self, seconds: float) -> bool:
        """Whether everything has been read within a time."""
        return self._read.wait(min(seconds, threading.TIMEOUT_MAX))

    def give_up(self) -> None:
        """Want nothing any more."""
        self._left.set()

    def leave(self, future: Future[Any]) -> None:
        """Give up, and wait for the end: soon after reading, or within some time."""
        self.give_up()
        wait([future], timeout=None if self._read.is_set() else _GRACE)


def within_until(seconds: float, job: Callable[[Answer], _Value]) -> _Value:
    """What `job` returns or raises, which is to have read its files in time; one call at a time.

    Raises
    ------
    NoAnswer
        When reading takes longer.
    """
    answer = Answer()
    future = _reader.start(lambda: job(answer))
    future.add_done_callback(lambda _: answer.has_read())
    # The interpreter may end in another thread, and must not while a library calls back.
    at_exit = atexit.register(lambda: answer.leave(future))
    try:
        try:
            is_read = answer.wait(seconds)
            if is_read:
                wait([future])
        except KeyboardInterrupt:
            answer.leave(future)
            raise
        if not is_read:
            answer.give_up()
            _reader.leave()
            raise NoAnswer(f"could not be read within {seconds:g} s")
        return future.result()
    finally:
        atexit.unregister(at_exit)
        # An error holds this frame: the memory of what was read would wait for a collection.
        del future, at_exit
