"""The binding to libZarnGI's C interface: prototypes, status codes and exclusive use.

The library holds one environment per process and is meant for one caller at a time. Everything
that touches it runs inside `exclusive_use`, which serialises the callers, hands over a fresh
environment and leaves a reset one.
"""

from __future__ import annotations

import ctypes
import os
import threading
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from pathlib import Path

from ._interruption import Progress, Reins, Result, interruptible

#: The soname, which changes with the layout and the meaning of what is declared here.
_SYSTEM_LIBRARY = "libZarnGI.so.4"

_MEANINGS = {
    -20: "a parameter is out of range",
    -29: "a required pointer is null, or memory ran out",
    -51: "a grid size is not positive, or the grid has 2**31 voxels or more",
    -52: "a voxel size is not positive",
    -100: "the library is busy",
    -101: "memory ran out during the computation",
    -102: "a criterion is not set",
    -103: "there is no reference grid",
    -104: "there is no evaluation grid",
    -105: "no computation has finished",
}
_OUT_OF_MEMORY = (-29, -101)

#: Reference grids with fewer are searched within milliseconds.
_FEW_VOXELS = 10_000


class Environment(ctypes.Structure):
    """Mirror of `calculationEnvironment` (env.h); this package writes only the 2D flags."""

    _fields_ = [
        ("xmin_ref", ctypes.c_float * 3),
        ("xmin_eval", ctypes.c_float * 3),
        ("xmax_ref", ctypes.c_float * 3),
        ("xmax_eval", ctypes.c_float * 3),
        ("nn_ref", ctypes.c_int * 3),
        ("nn_eval", ctypes.c_int * 3),
        ("hs_ref", ctypes.c_float * 3),
        ("hs_eval", ctypes.c_float * 3),
        ("map_ref", ctypes.POINTER(ctypes.c_float)),
        ("map_eval", ctypes.POINTER(ctypes.c_float)),
        ("gamma", ctypes.POINTER(ctypes.c_float)),
        ("N_ref", ctypes.c_size_t),
        ("N_eval", ctypes.c_size_t),
        ("DCO", ctypes.c_float),
        ("DTA", ctypes.c_float),
        ("DD", ctypes.c_float),
        ("passRateMode", ctypes.c_bool),
        ("globalDD", ctypes.c_bool),
        ("global_normalisation", ctypes.c_float),
        ("gammaSearchMax", ctypes.c_float),
        ("verbose", ctypes.c_int),
        ("num_threads", ctypes.c_int),
        ("passrate", ctypes.c_float),
        ("gammaindex2D", ctypes.c_bool),
        ("gammaindex2D_z", ctypes.c_bool),
        ("gammaindex2D_y", ctypes.c_bool),
        ("gammaindex2D_x", ctypes.c_bool),
        ("lNoInterpolation", ctypes.c_bool),
        ("numSamplesEval", ctypes.c_int),
        ("stepSize", ctypes.c_float),
        ("randomRotation", ctypes.c_bool),
    ]


_FLOAT_P = ctypes.POINTER(ctypes.c_float)
_INT_P = ctypes.POINTER(ctypes.c_int)
_Progress = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)

# Every function returns an int status.
_ARGUMENTS: dict[str, list[type]] = {
    "init": [],
    "reset": [],
    "setVerbose": [ctypes.c_int],
    "startComputation": [],
    "setProgress": [_Progress, ctypes.c_void_p],
    "getGammaIndex3DMap": [_FLOAT_P],
    "getPassed3DMap": [ctypes.POINTER(ctypes.c_ubyte)],
    "setRef": [_INT_P, _FLOAT_P, _FLOAT_P, _FLOAT_P],
    "setEval": [_INT_P, _FLOAT_P, _FLOAT_P, _FLOAT_P],
    "setDTA": [ctypes.c_float],
    "setDD": [ctypes.c_float],
    "setDCO": [ctypes.c_float],
    "setGlobalNormalization": [ctypes.c_float],
    "setGammaSearchMax": [ctypes.c_float],
    "setStepSize": [ctypes.c_float],
    "getStepSize": [_FLOAT_P],
    "setDDCriterium": [ctypes.c_int],
    "setComputationMode": [ctypes.c_int],
    "setNumThreads": [ctypes.c_int],
    "setInterpolation": [ctypes.c_bool],
    "setRandomRotation": [ctypes.c_bool],
}


def open_library(name: str, soname: str) -> ctypes.CDLL:
    """A library inside the package, or the system's where the package comes without one.

    Parameters
    ----------
    name : str
        Its file inside the package.
    soname : str
        What the system's is asked for by.
    """
    bundled = Path(__file__).parent / "lib" / name
    if bundled.exists():
        return ctypes.CDLL(str(bundled))
    try:
        return ctypes.CDLL(soname)
    except OSError as error:
        raise ImportError(
            f"neither {bundled} nor an installed {soname} was found: install the package "
            "(pip install ./python) instead of importing it from its source directory"
        ) from error


def _load() -> ctypes.CDLL:
    library = open_library("libZarnGI.so", _SYSTEM_LIBRARY)
    for name, arguments in _ARGUMENTS.items():
        function = getattr(library, f"zarnGI_{name}")
        function.argtypes = arguments
        function.restype = ctypes.c_int
    return library


_library = _load()


def call(name: str, *arguments: object) -> None:
    """Call ``zarnGI_<name>``, without the interpreter's lock, and raise if it reports a failure."""
    status: int = getattr(_library, f"zarnGI_{name}")(*arguments)
    if status == 0:
        return
    message = f"libZarnGI: {name}: {_MEANINGS.get(status, 'unknown failure')} (status {status})"
    raise MemoryError(message) if status in _OUT_OF_MEMORY else RuntimeError(message)


def environment() -> Environment:
    """The library's one environment."""
    contents: Environment = ctypes.POINTER(Environment).in_dll(_library, "Env").contents
    return contents


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
    """What `work` returns, inside `exclusive_use`; see `interruptible`.

    An exception in this thread ends a search within 50 ms.
    """

    def run(reins: Reins) -> Result:
        callback = _Progress(lambda _progress, _context: int(reins.ended))
        _exclusive.worker = threading.get_ident()
        try:
            call("setProgress", callback, None)
            return work(reins)
        finally:
            call("setProgress", _Progress(), None)
            _exclusive.worker = None

    return interruptible(run, progress)


def compute(voxels: int) -> None:
    """Call ``zarnGI_startComputation``; Ctrl-C ends it, unless the reference has few voxels.

    Another thread takes longer to start than those need.
    """
    is_main = threading.current_thread() is threading.main_thread()
    if is_main and voxels >= _FEW_VOXELS:
        interruptibly(lambda _: call("startComputation"))
    else:  # other threads hear no signals
        call("startComputation")


def _before_fork() -> None:
    # A child forked in the middle of another thread's computation would inherit the library half
    # way through it, so the fork waits for that computation to end.
    _exclusive.lock.acquire()


def _after_fork_in_parent() -> None:
    _exclusive.lock.release()


def _after_fork_in_child() -> None:
    # The threads that may be queueing for the inherited lock do not exist here.
    _exclusive.lock = threading.RLock()


os.register_at_fork(
    before=_before_fork,
    after_in_parent=_after_fork_in_parent,
    after_in_child=_after_fork_in_child,
)

call("init")
