"""Memory of a process that computes one pair after the other.

Where the system lets a process bound itself, a request beyond the bound fails; elsewhere what is in
use is looked at between the steps of a pair, which takes psutil.
"""

from __future__ import annotations

import ctypes
import mmap
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path
from types import ModuleType

try:
    import resource
except ImportError:
    resource = None  # type: ignore[assignment]

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

#: Bytes in use beyond which a pair ends, where the system bounds nothing.
_watched: int | None = None


def _allocator() -> ctypes.CDLL | None:
    """The C library, where it lets its allocator be told."""
    try:
        library = ctypes.CDLL(None)
    except (TypeError, OSError):
        return None
    return library if hasattr(library, "malloc_trim") else None


def keep_buffers() -> None:
    """Let the allocator keep the buffers of a pair for the next one.

    Dask's nanny sets MALLOC_TRIM_THRESHOLD_ to 64 KiB, so that every buffer goes back to the system
    and is zeroed again, page by page, for the next pair.
    """
    allocator = _allocator()
    if allocator is not None:
        allocator.mallopt(_M_MMAP_THRESHOLD, _LARGEST_MMAP_THRESHOLD)
        allocator.mallopt(_M_TRIM_THRESHOLD, _NEVER_TRIM)


def give_back() -> None:
    """Return to the system what the allocator keeps."""
    allocator = _allocator()
    if allocator is not None:
        allocator.malloc_trim(0)


def _psutil() -> ModuleType | None:
    try:
        import psutil
    except ImportError:
        return None
    found: ModuleType = psutil
    return found


def can_be_bounded() -> bool:
    """Whether this process can be held to an amount of memory."""
    return resource is not None or _psutil() is not None


def available() -> int | None:
    """Bytes that the system has left; None where that cannot be told."""
    try:
        lines = Path("/proc/meminfo").read_text().splitlines()
    except OSError:
        psutil = _psutil()
        return None if psutil is None else int(psutil.virtual_memory().available)
    for line in lines:
        if line.startswith("MemAvailable:"):
            return int(line.split()[1]) * 1024
    return None


def _in_use() -> int:
    """Bytes of this process in memory; 0 where that cannot be told."""
    try:
        return int(Path("/proc/self/statm").read_text().split()[1]) * mmap.PAGESIZE
    except OSError:
        psutil = _psutil()
        return 0 if psutil is None else int(psutil.Process().memory_info().rss)


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
    bounded = _watching if resource is None else _refusing
    try:
        with bounded(int(_USABLE * limit)):
            yield
    finally:
        if _in_use() > _KEPT * limit:
            give_back()


@contextmanager
def _refusing(usable: int) -> Iterator[None]:
    soft, hard = resource.getrlimit(resource.RLIMIT_DATA)
    bound = _writable() + max(usable - _in_use(), 0)
    resource.setrlimit(resource.RLIMIT_DATA, (bound if soft < 0 else min(bound, soft), hard))
    try:
        yield
    finally:
        resource.setrlimit(resource.RLIMIT_DATA, (soft, hard))


@contextmanager
def _watching(usable: int) -> Iterator[None]:
    global _watched
    _watched = usable
    try:
        yield
    finally:
        _watched = None


def is_exceeded() -> bool:
    """Whether this process fills more than it may, where the system bounds nothing."""
    return _watched is not None and _in_use() > _watched
