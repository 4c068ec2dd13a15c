"""The library libZarnGI: where it is, and exclusive use of it.

The library holds one environment per process and is meant for one caller at a time. Everything
that touches it runs inside `exclusive_use`, which serialises the callers, hands over a fresh
environment and leaves a reset one.
"""

from __future__ import annotations

import ctypes
import platform
import struct
import sys
import threading
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from pathlib import Path

from ._forks import at_forks
from ._interruption import Progress, Reins, Result, interruptible

#: That of the soname, which changes with the layout and the meaning of what is declared here.
_VERSION = 4

_OUT_OF_MEMORY = -29
_MEANINGS = {_OUT_OF_MEMORY: "memory ran out", -100: "the library is busy"}


#: Where the package has libraries and program, if it came with them.
INSIDE = Path(__file__).parent / "lib"

#: Major and minor number of the first Windows that the libraries are made for.
_FIRST_WINDOWS = (10, 0)


def open_library(name: str, version: int) -> ctypes.CDLL:
    """A library inside the package, or the system's where the package comes without one.

    Parameters
    ----------
    name : str
        Its name without what systems add.
    version : int
        Of the interface.

    Raises
    ------
    ImportError
        When there is none that this Python on this system can load.
    """
    _refuse_old_windows()
    file = f"lib{name}.dll" if sys.platform == "win32" else f"lib{name}.so.{version}"
    bundled = INSIDE / file
    if bundled.exists():
        return _opened(bundled)
    try:
        return ctypes.CDLL(file)
    except OSError as error:
        raise ImportError(
            f"neither {bundled} nor an installed {file} was found: install the wheel for this "
            "system and processor, or the package (pip install ./python), instead of importing it "
            "from its source directory"
        ) from error


def _refuse_old_windows() -> None:
    if sys.platform != "win32":
        return
    major, minor = sys.getwindowsversion()[:2]
    if (major, minor) < _FIRST_WINDOWS:
        raise ImportError(
            f"zarngi needs Windows 10 or 11, and this is Windows {major}.{minor}: use it on a "
            "newer one"
        )


def _opened(path: Path) -> ctypes.CDLL:
    try:
        return ctypes.CDLL(str(path))
    except OSError as error:
        raise ImportError(
            f"{path} cannot be loaded by this Python of {8 * struct.calcsize('P')} bits on a "
            f"processor {platform.machine()} ({error}): install the wheel for this system and "
            "processor, into a Python of 64 bits"
        ) from error


def _load() -> ctypes.CDLL:
    library = open_library("ZarnGI", _VERSION)
    for name in ("init", "reset"):
        function = getattr(library, f"zarnGI_{name}")
        function.argtypes = []
        function.restype = ctypes.c_int
    return library


_library = _load()


def call(name: str) -> None:
    """Call ``zarnGI_<name>`` and raise if it reports a failure."""
    status: int = getattr(_library, f"zarnGI_{name}")()
    if status == 0:
        return
    message = f"libZarnGI: {name}: {_MEANINGS.get(status, 'unknown failure')} (status {status})"
    raise MemoryError(message) if status == _OUT_OF_MEMORY else RuntimeError(message)


class _Exclusive:
    """The lock on the library. Re-entrant only so that a second entry can be refused."""

    def __init__(self) -> None:
        self.lock = threading.RLock()
        self.in_use = False
        self.worker: int | None = None  # the thread that works for the one that holds the lock


_exclusive = _Exclusive()


@contextmanager
def exclusive_use() -> Iterator[None]:
    """Exclusive use of the library, which starts and ends with a reset environment.

    Raises
    ------
    RuntimeError
        When the same thread is already inside, which takes a signal handler or a finaliser that
        runs in the middle of another computation.
    """
    inside = "gamma_index was called from inside another call of the same thread"
    if threading.get_ident() == _exclusive.worker:
        raise RuntimeError(inside)
    with _exclusive.lock:
        if _exclusive.in_use:
            raise RuntimeError(inside)
        try:
            _exclusive.in_use = True
            call("init")
            yield
        finally:
            _exclusive.in_use = False
            _library.zarnGI_reset()


def interruptibly(work: Callable[[Reins], Result], progress: Progress | None = None) -> Result:
    """What `work` returns, inside `exclusive_use`; see `interruptible`."""

    def run(reins: Reins) -> Result:
        _exclusive.worker = threading.get_ident()
        try:
            return work(reins)
        finally:
            _exclusive.worker = None

    return interruptible(run, progress)


def _before_fork() -> None:
    # A child forked in the middle of another thread's computation would inherit the library half
    # way through it, so the fork waits for that computation to end.
    _exclusive.lock.acquire()


def _after_fork_in_parent() -> None:
    _exclusive.lock.release()


def _after_fork_in_child() -> None:
    # The threads that may be queueing for the inherited lock do not exist here.
    _exclusive.lock = threading.RLock()


at_forks(
    before=_before_fork,
    after_in_parent=_after_fork_in_parent,
    after_in_child=_after_fork_in_child,
)

call("init")
