"""Reading with a bound on its time.

A pipe that nobody writes and a file server that does not answer let a reader wait without end, and
nothing calls it back. So a thread of its own reads; it is left behind where no answer comes.
"""

from __future__ import annotations

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
    future = _reader.start(read)
    try:
        try:
            wait([future], timeout=min(seconds, threading.TIMEOUT_MAX))
        except KeyboardInterrupt:
            wait([future], timeout=_GRACE)
            raise
        if not future.done():
            _reader.leave()
            raise NoAnswer(f"could not be read within {seconds:g} s")
        return future.result()
    finally:
        # An error holds this frame: the memory of what was read would wait for a collection.
        del future
