"""Computing on a Dask cluster."""

from __future__ import annotations

import itertools
import logging
import os
import queue
import signal
import sys
import tempfile
import threading
import time
import uuid
from collections import deque
from collections.abc import Callable, Iterator, Sequence
from concurrent.futures import CancelledError
from contextlib import contextmanager
from typing import Any

import zarngi

from .._cpus import available_cpus
from .._optional import need
from .errors import ClusterError
from .record import Failure, Outcome, Task
from .sentences import sentence
from .worker import compute_here

_TICK = 1.0  # s between looks at the workers
_TOLD_AFTER = 5.0  # s without a worker until that is told
_PER_BATCH = 0.5  # s that a batch takes: the engine costs about a millisecond for each
_MOST_PER_BATCH = 64
#: Batches for each worker that are left at the end, so that no worker is long the last one.
_LAST_BATCHES = 4

GO_ON = "what is finished is kept, and the same command goes on"


def _tell(text: str) -> None:
    print(f"zarngi-cohort: {text}", file=sys.stderr)


class DaskCluster:
    """Computes on the workers of a client.

    A pair whose worker dies is tried once more when all others are done, alone, so that it is known
    which pair is to blame; when its worker dies again, that is the pair's failure.

    Parameters
    ----------
    client : distributed.Client
        The client.
    patience : float
        Seconds to go on without any worker, once there were some.
    tell : callable
        Takes a line for a person.
    """

    def __init__(
        self, client: Any, patience: float = 600, tell: Callable[[str], None] = _tell
    ) -> None:
        self._distributed = need("distributed", "distributed", "computing on a cluster")
        self._client = client
        self._patience = patience
        self._tell = tell
        self._finished: queue.SimpleQueue[Any] = queue.SimpleQueue()
        self._flights: dict[Any, Sequence[Task]] = {}
        self._suspects: deque[Task] = deque()
        self._names = itertools.count()
        self._run = uuid.uuid4().hex[:12]
        self._seconds: float | None = None  # of a pair
        self._deserted: float | None = None  # since when there is no worker
        self._had_workers = False
        self._told = False
        self._threads: dict[str, int] = {}
        self._last_look = 0.0

    @property
    def workers(self) -> int:
        """Processes that compute, one pair at a time each."""
        return max(len(self._threads), 1)

    def outcomes(self, tasks: Iterator[Task], count: int) -> Iterator[list[Outcome]]:
        """As of `Engine`."""
        try:
            self._look_at_workers()
            yield from self._crowd(tasks, count)
            while self._suspects:
                yield self._alone(self._suspects.popleft())
        finally:
            self._forget_all()

    def _crowd(self, tasks: Iterator[Task], count: int) -> Iterator[list[Outcome]]:
        left = count
        while True:
            while len(self._flights) < self._most_flights():
                batch = tuple(itertools.islice(tasks, self._batch_size(left)))
                if not batch:
                    break
                left -= len(batch)
                self._submit(batch)
            if not self._flights:
                return
            outcomes = [outcome for future in self._landed() for outcome in self._settle(future)]
            if outcomes:
                yield outcomes

    def _most_flights(self) -> int:
        # Each thread of a worker is given a batch, and one more waits there.
        return 2 * max(sum(self._threads.values()), 1) + 2

    def _batch_size(self, left: int) -> int:
        if not self._seconds:
            return 1
        fair = left // (_LAST_BATCHES * self._most_flights())
        return max(1, min(int(_PER_BATCH / self._seconds), fair, _MOST_PER_BATCH))

    def _submit(self, batch: Sequence[Task]) -> None:
        key = f"zarngi-cohort-{self._run}-{next(self._names)}"
        with _lost_is_told(self._distributed):
            future = self._client.submit(compute_here, batch, key=key, pure=False)
        self._flights[future] = batch
        future.add_done_callback(self._finished.put)

    def _landed(self) -> list[Any]:
        """Futures that have ended; waits for the first."""
        while True:
            # Workers come and go while others are busy, too.
            if time.monotonic() - self._last_look >= _TICK:
                self._look_at_workers()
            try:
                landed = [self._finished.get(timeout=_TICK)]
            except queue.Empty:
                continue
            while not self._finished.empty():
                landed.append(self._finished.get())
            return landed

    def _settle(self, future: Any) -> list[Outcome]:
        """What a batch has given; its pairs become suspects when its worker died."""
        batch = self._flights.pop(future)
        outcomes = self._result(future)
        if outcomes is None:
            self._suspects.extend(batch)
            return []
        # There may have been none whenever one looked.
        self._had_workers, self._deserted = True, None
        mean = sum(o.reading + o.searching for o in outcomes) / len(outcomes)
        self._seconds = mean if self._seconds is None else (3 * self._seconds + mean) / 4
        return outcomes

    def _alone(self, task: Task) -> list[Outcome]:
        self._submit([task])
        (future,) = self._landed()
        del self._flights[future]
        outcomes = self._result(future)
        if outcomes is not None:
            return outcomes
        reason = "its worker died while computing it, and the next one, too"
        failure = Failure(sentence(task.pair, reason), is_final=False)
        return [Outcome(task, zarngi.__version__, failure=failure)]

    def _result(self, future: Any) -> list[Outcome] | None:
        """What a future that has ended gives; None when its worker died."""
        while True:
            if future.status == "cancelled":
                raise ClusterError(f"the scheduler is gone; {GO_ON}")
            try:
                with _lost_is_told(self._distributed):
                    return self._checked(future.result(timeout=_TICK))
            except self._distributed.KilledWorker:
                return None
            except _StillWaiting:
                # A worker has taken its results with it: they are computed again.
                self._look_at_workers()
            except ImportError as error:
                version = zarngi.__version__
                raise ClusterError(f"the workers cannot load zarngi {version} ({error})") from error

    @staticmethod
    def _checked(outcomes: list[Outcome]) -> list[Outcome]:
        other = {outcome.version for outcome in outcomes} - {zarngi.__version__}
        if other:
            raise ClusterError(
                f"a worker has zarngi {other.pop()} and this process {zarngi.__version__}"
            )
        return outcomes

    def _look_at_workers(self) -> None:
        with _lost_is_told(self._distributed):
            self._threads = dict(self._client.nthreads())
        self._last_look = time.monotonic()
        if self._threads:
            self._had_workers, self._deserted = True, None
            return
        now = time.monotonic()
        if self._deserted is None:
            self._deserted, self._told = now, False
        if now - self._deserted > _TOLD_AFTER and not self._told:
            self._told = True
            self._tell("there is no worker; waiting for one")
        if self._had_workers and now - self._deserted > self._patience:
            raise ClusterError(f"there has been no worker for {self._patience:g} s; {GO_ON}")

    def _forget_all(self) -> None:
        futures = list(self._flights)
        self._flights.clear()
        if futures and self._client.status == "running":
            try:
                self._client.cancel(futures, force=True)
            except Exception:  # the scheduler is gone: there is nothing to cancel
                return


class _StillWaiting(Exception):
    """Nothing came in time."""


@contextmanager
def _lost_is_told(distributed: Any) -> Iterator[None]:
    """Turns what Dask raises without its scheduler into a sentence."""
    try:
        yield
    except distributed.KilledWorker:
        raise
    except (TimeoutError, distributed.TimeoutError) as error:  # one from Python 3.11 on
        raise _StillWaiting from error
    except (OSError, CancelledError, RuntimeError) as error:
        # A client that has given up on its scheduler is closed, which is a RuntimeError.
        raise ClusterError(f"the scheduler is gone ({type(error).__name__}); {GO_ON}") from error


@contextmanager
def connected(
    *,
    address: str | None = None,
    scheduler_file: str | None = None,
    processes: int | None = None,
    patience: float = 600,
) -> Iterator[Any]:
    """A client of a scheduler, or of a cluster of `processes` workers on this machine.

    A scheduler's file is waited for, `patience` seconds: jobs of a batch system start in any order.

    Raises
    ------
    ClusterError
        When the scheduler does not answer.
    ImportError
        When Dask is not installed.
    """
    distributed = need("distributed", "distributed", "computing on a cluster")
    if processes is not None:
        with _local_cluster(distributed, processes) as cluster, distributed.Client(cluster) as client:
            yield client
        return
    if scheduler_file is not None:
        _wait_for(scheduler_file, patience)
    try:
        client = distributed.Client(address=address, scheduler_file=scheduler_file)
    except (OSError, distributed.TimeoutError, ValueError, KeyError) as error:
        place = address or scheduler_file
        raise ClusterError(f"{place}: the scheduler does not answer ({error})") from error
    try:
        yield client
    finally:
        client.close(timeout=5)


def _wait_for(path: str, patience: float) -> None:
    end = time.monotonic() + patience
    while not os.path.exists(path):
        if time.monotonic() > end:
            raise ClusterError(f"{path}: there has been no such file for {patience:g} s")
        time.sleep(0.1)


@contextmanager
def _local_cluster(distributed: Any, processes: int) -> Iterator[Any]:
    dask = need("dask", "dask", "computing on a cluster")
    threads = max(1, available_cpus() // processes)
    # The first death of a worker makes suspects of its pairs.
    settings = {"distributed.scheduler.allowed-failures": 0}
    # Of the workers, which are processes of their own.
    os.environ.setdefault("DASK_LOGGING__DISTRIBUTED", "critical")
    with tempfile.TemporaryDirectory(prefix="zarngi-cohort-") as scratch:
        with dask.config.set(settings), _unheard_by_children(signal.SIGINT):
            cluster = distributed.LocalCluster(
                n_workers=processes,
                threads_per_worker=threads,
                dashboard_address="127.0.0.1:0",
                silence_logs=logging.CRITICAL,
                local_directory=scratch,
            )
        with cluster:
            yield cluster


@contextmanager
def _unheard_by_children(number: signal.Signals) -> Iterator[None]:
    """Processes started inside ignore a signal: a terminal sends Ctrl-C to them as well."""
    if threading.current_thread() is not threading.main_thread():
        yield
        return
    before = signal.signal(number, signal.SIG_IGN)
    try:
        yield
    finally:
        signal.signal(number, before)
