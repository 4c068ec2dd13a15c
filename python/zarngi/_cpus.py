"""What this process may use of the machine."""

from __future__ import annotations

import os

#: More workers than this never help and may exhaust the machine.
MAX_THREADS = 1024


def available_cpus() -> int:
    """CPUs that this process may use."""
    if hasattr(os, "sched_getaffinity"):
        return min(len(os.sched_getaffinity(0)), MAX_THREADS)
    return min(os.cpu_count() or 1, MAX_THREADS)
