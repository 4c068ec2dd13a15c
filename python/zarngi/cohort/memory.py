"""Memory of a process that computes one pair after the other."""

from __future__ import annotations

import ctypes
import os
import resource
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

_PAGE = os.sysconf("SC_PAGE_SIZE")

#: Share of its memory that a worker may fill. Dask's nanny ends a worker that fills 95 %.
_USABLE = 0.9
#: A worker that holds more than this share between two pairs gives back what it can: at 80 % Dask
#: would give it nothing more to do.
_KEPT = 0.5

# <malloc.h>
_M_TRIM_THRESHOLD = -1
_M_MMAP_THRESHOLD = -3
_LARGEST_MMAP_THRESHOLD = 32 << 20
_NEVER_TRIM = 2**31 - 1


def keep_buffers() -> None:
    """Let the allocator keep the buffers of a pair for the next one.

    Dask's nanny sets MALLOC_TRIM_THRESHOLD_ to 64 KiB, so that every buffer goes back to the system
    and is zeroed again, page by page, for the next pair.
    """
    libc = ctypes.CDLL(None)
    libc.mallopt(_M_MMAP_THRESHOLD, _LARGEST_MMAP_THRESHOLD)
    libc.mallopt(_M_TRIM_THRESHOLD, _NEVER_TRIM)


def give_back() -> None:
    """Return to the system what the allocator keeps."""
    ctypes.CDLL(None).malloc_trim(0)


def _in_use() -> int:
    """Bytes of this process in memory."""
    return int(Path("/proc/self/statm").read_text().split()[1]) * _PAGE


def _writable() -> int:
    """Bytes that RLIMIT_DATA counts."""
    status = Path("/proc/self/status").read_text()
    return int(status.partition("VmData:")[2].split()[0]) * 1024


@contextmanager
def at_most(limit: int | None) -> Iterator[None]:
    """Let this process fill no more than most of `limit` bytes: a request beyond is a MemoryError.

    A bound instead of an estimate: what a packed file unpacks to is only known when it is read.
    """
    if not limit:
        yield
        return
    if _in_use() > _KEPT * limit:
        give_back()
    soft, hard = resource.getrlimit(resource.RLIMIT_DATA)
    bound = _writable() + max(int(_USABLE * limit) - _in_use(), 0)
    resource.setrlimit(resource.RLIMIT_DATA, (bound if soft < 0 else min(bound, soft), hard))
    try:
        yield
    finally:
        resource.setrlimit(resource.RLIMIT_DATA, (soft, hard))
        if _in_use() > _KEPT * limit:
            give_back()
