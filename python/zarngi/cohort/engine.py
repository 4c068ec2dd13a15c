"""What computes the pairs of a run: this process, or a Dask cluster."""

from __future__ import annotations

import time
from collections.abc import Iterator
from typing import Protocol

from . import memory
from .compute import compute
from .errors import CohortError
from .record import Outcome, Task

#: Pairs finished within this time (s) are stored together: a disk takes longer to make sure of what
#: is written than a small pair takes.
_TOGETHER = 0.2


class Engine(Protocol):
    """Computes tasks in any order."""

    @property
    def workers(self) -> int:
        """Computations that go on at the same time."""

    def outcomes(self, tasks: Iterator[Task], count: int) -> Iterator[list[Outcome]]:
        """What became of the tasks, as it comes, in small lists.

        Parameters
        ----------
        tasks : iterator of Task
            Read only as far as there is somebody to compute.
        count : int
            How many there are at most.
        """


class ThisProcess:
    """One pair after the other.

    Parameters
    ----------
    threads : int
        Of each search.
    limit : int or None
        Bytes of memory that this process may fill.

    Raises
    ------
    CohortError
        When this process cannot be held to that.
    """

    workers = 1

    def __init__(self, threads: int, limit: int | None = None) -> None:
        if limit and not memory.can_be_bounded():
            raise CohortError("a bound of memory takes psutil on this system (pip install psutil)")
        self._threads = threads
        self._limit = limit

    def outcomes(self, tasks: Iterator[Task], count: int) -> Iterator[list[Outcome]]:
        """As of `Engine`."""
        outcomes: list[Outcome] = []
        last = time.monotonic()
        for task in tasks:
            outcomes.append(compute(task, self._threads, self._limit))
            if time.monotonic() - last >= _TOGETHER:
                yield outcomes
                outcomes, last = [], time.monotonic()
        if outcomes:
            yield outcomes
