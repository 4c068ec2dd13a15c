"""What runs inside of Dask's workers."""

from __future__ import annotations

import functools
from collections.abc import Sequence
from typing import Any

from . import memory
from .compute import compute_all
from .record import Outcome, Task


@functools.cache
def _means() -> tuple[int, int | None]:
    """Threads and bytes of memory that this worker has; settles its allocator."""
    from distributed import get_worker

    worker: Any = get_worker()
    memory.keep_buffers()
    return max(worker.state.nthreads, 1), worker.memory_manager.memory_limit or None


def compute_here(tasks: Sequence[Task]) -> list[Outcome]:
    """Compute tasks with what the worker has."""
    threads, limit = _means()
    return compute_all(tasks, threads, limit)
