"""The binding to libZarnGIHost's comparisons."""

from __future__ import annotations

import ctypes
import errno
import os
import weakref
from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _host, _measurements, _structures
from ._errors import FormatError

# enum zarnGIHost_Unit
_GRAY = 0

_MEMBER_SIZE = 256
_PATH_SIZE = 4096

#: enum zarnGIHost_RefusalKind, less what is raised as an exception of Python's own.
_KINDS = {1: "request", 2: "pair", 7: "interrupted"}
#: Foreign, damaged, not supported.
_FILES = (3, 4, 9)
_SYSTEM = 5
_MEMORY = 6


class RequestError(ValueError):
    """A comparison that cannot be made as it is asked for.

    Attributes
    ----------
    member : str or None
        What is to be mended, as it stands in the request: "criteria[1]", "structures.within".
    kind : str
        "request", or "pair" where the doses, or what belongs to them, cannot be compared so.
    """

    def __init__(self, sentence: str, member: str | None, kind: str) -> None:
        super().__init__(sentence)
        self.member = member
        self.kind = kind


@dataclass(frozen=True)
class Refusal:
    """Why there is no comparison.

    Attributes
    ----------
    kind : int
        Of enum zarnGIHost_RefusalKind.
    system_error : int
        The number of the system's error; 0: none.
    member : str
        What is to be mended, as it stands in the request; empty: nothing of it.
    file : str
        The file that is to blame; empty: none.
    sentence : str
        One line; of a file what continues "FILE: ".
    """

    kind: int
    system_error: int
    member: str
    file: str
    sentence: str

    @property
    def is_of_request(self) -> bool:
        """Whether the request makes no sense, by itself or for these doses."""
        return _KINDS.get(self.kind) == "request"

    def error(self) -> Exception:
        """What to raise."""
        whole = f"{self.file}: {self.sentence}" if self.file else self.sentence
        if self.kind in _FILES:
            return FormatError(whole)
        if self.kind == _SYSTEM:
            # With a number OSError becomes FileNotFoundError and its like.
            return OSError(self.system_error or errno.EIO, self.sentence, self.file)
        if self.kind == _MEMORY:
            return MemoryError(whole)
        if self.kind in _KINDS:
            return RequestError(whole, self.member or None, _KINDS[self.kind])
        return ValueError(whole)


class _Refusal(ctypes.Structure):
    """Mirror of `zarnGIHost_Refusal`."""

    _fields_ = [
        ("kind", ctypes.c_int),
        ("systemError", ctypes.c_int),
        ("member", ctypes.c_char * _MEMBER_SIZE),
        ("file", ctypes.c_char * _PATH_SIZE),
        ("sentence", ctypes.c_char * _host.SENTENCE_SIZE),
    ]


class _NamedDose(ctypes.Structure):
    """Mirror of `zarnGIHost_NamedDose`."""

    _fields_ = [
        ("name", ctypes.c_char_p),
        ("volume", _host.Volume),
        ("places", _measurements.Places),
        ("unit", ctypes.c_int),
        ("frameOfReference", ctypes.c_char_p),
    ]


class _NamedStructures(ctypes.Structure):
    """Mirror of `zarnGIHost_NamedStructures`."""

    _fields_ = [("name", ctypes.c_char_p), ("structures", ctypes.c_void_p)]


class _Source(ctypes.Structure):
    """Mirror of `zarnGIHost_Source`."""

    _fields_ = [
        ("doses", ctypes.POINTER(_NamedDose)),
        ("doseCount", ctypes.c_size_t),
        ("structures", ctypes.POINTER(_NamedStructures)),
        ("structureCount", ctypes.c_size_t),
        ("find", _host.FindFile),
        ("unpackPixels", ctypes.c_void_p),
        ("context", ctypes.c_void_p),
        ("threads", ctypes.c_int),
    ]


class _Progress(ctypes.Structure):
    """Mirror of `zarnGIHost_Progress`."""

    _fields_ = [
        ("done", ctypes.c_double),
        ("task", ctypes.c_char_p),
        ("share", ctypes.c_double),
    ]


_Prepared = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)
_Watch = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.POINTER(_Progress), ctypes.c_void_p)


class _Watcher(ctypes.Structure):
    """Mirror of `zarnGIHost_Watcher`."""

    _fields_ = [("prepared", _Prepared), ("progress", _Watch), ("context", ctypes.c_void_p)]


_BYTES_P = ctypes.POINTER(_host.Bytes)
_ERROR_P = ctypes.POINTER(_host.Error)
_MAP = [ctypes.c_void_p, ctypes.c_size_t, ctypes.POINTER(_host.Volume)]

_functions = _host.declare(
    {
        "compare": (
            ctypes.c_int,
            [
                ctypes.c_char_p,
                ctypes.c_size_t,
                ctypes.POINTER(_Source),
                ctypes.POINTER(_Watcher),
                ctypes.POINTER(ctypes.c_void_p),
                ctypes.POINTER(_Refusal),
            ],
        ),
        "defaultRequest": (ctypes.c_int, [_BYTES_P, _ERROR_P]),
        "getRecord": (ctypes.c_int, [ctypes.c_void_p, ctypes.c_char_p, _BYTES_P, _ERROR_P]),
        "getCsv": (ctypes.c_int, [ctypes.c_void_p, ctypes.c_char_p, _BYTES_P, _ERROR_P]),
        "getPage": (
            ctypes.c_int,
            [
                ctypes.c_void_p,
                ctypes.c_char_p,
                ctypes.c_size_t,
                ctypes.c_char_p,
                _BYTES_P,
                _ERROR_P,
            ],
        ),
        "getGamma": (ctypes.c_int, _MAP),
        "getPassed": (ctypes.c_int, _MAP),
        "freeComparison": (None, [ctypes.c_void_p]),
    }
)


@dataclass(frozen=True)
class Dose:
    """Doses in memory that stand for a file, as zarnGIHost_NamedDose says; contiguous arrays."""

    name: str
    grid: _host.Grid
    kind: int = 0
    is_in_space: bool = True
    normal: int = -1
    measured: npt.NDArray[np.uint8] | None = None
    points: npt.NDArray[np.float64] | None = None
    frame_of_reference: str | None = None

    def described(self) -> _NamedDose:
        """What the library takes; the arrays have to outlive it."""
        places = _measurements.Places(
            self.kind,
            self.is_in_space,
            self.normal,
            0,
            None if self.measured is None else self.measured.ctypes.data,
            None if self.points is None else self.points.ctypes.data,
        )
        frame = None if self.frame_of_reference is None else self.frame_of_reference.encode()
        name = _host.path_bytes(self.name)
        return _NamedDose(name, _host.volume(*self.grid), places, _GRAY, frame)


class _Map:
    """A map in the memory of a comparison, which it keeps alive."""

    def __init__(self, owner: Comparison, volume: Any, code: str) -> None:
        self._owner = owner
        self.__array_interface__ = {
            "version": 3,
            "shape": tuple(volume.size)[::-1],
            "typestr": np.dtype(code).str,
            "data": (volume.values, True),
        }


class Comparison:
    """A comparison in the library's memory, freed when nothing looks at it any longer."""

    def __init__(self, handle: ctypes.c_void_p) -> None:
        self._handle = handle
        weakref.finalize(self, _functions.freeComparison, handle).atexit = False

    def record(self, alias: str | None = None) -> dict[str, Any]:
        """The record; with an alias the anonymous one, as zarnGIHost_getRecord() says."""
        name = _name(alias)
        return _host.document(
            "the record", lambda out, error: _functions.getRecord(self._handle, name, out, error)
        )

    def csv(self) -> str:
        """The table of values."""
        return _host.text(
            "the table", lambda out, error: _functions.getCsv(self._handle, None, out, error)
        ).decode()

    def page(self, template: bytes, alias: str | None = None) -> bytes:
        """The report, from a page without data; with an alias the anonymous one."""
        name = _name(alias)
        return _host.text(
            "the page",
            lambda out, error: _functions.getPage(
                self._handle, template, len(template), name, out, error
            ),
        )

    def gamma(self, criterion: int) -> npt.NDArray[np.float32]:
        """The library's map, read-only; -1 where not tested."""
        return self._map(_functions.getGamma, criterion, "f4")

    def passed(self, criterion: int) -> npt.NDArray[np.uint8]:
        """1, 0, or 255: not tested; read-only."""
        return self._map(_functions.getPassed, criterion, "u1")

    def _map(self, get: Any, criterion: int, code: str) -> npt.NDArray[Any]:
        volume = _host.Volume()
        if criterion < 0 or get(self._handle, criterion, volume) != 0:
            raise IndexError(f"there is no criterion {criterion}")
        return np.asarray(_Map(self, volume, code))


def _name(alias: str | None) -> bytes | None:
    return None if alias is None else alias.encode()


def default_request() -> dict[str, Any]:
    """What zarnGIHost_defaultRequest() gives."""
    return _host.document("the request", _functions.defaultRequest)


def compare(
    request: bytes,
    doses: Sequence[Dose],
    structures: Mapping[str, _structures.Structures],
    threads: int,
    follow: Callable[[float], bool],
) -> Comparison:
    """As `attempt`, inside `exclusive_use`.

    Raises
    ------
    RequestError, FormatError, OSError, MemoryError
        What the refusal means.
    """
    made = attempt(request, doses, structures, threads, follow)
    if isinstance(made, Refusal):
        raise made.error()
    return made


def attempt(
    request: bytes,
    doses: Sequence[Dose],
    structures: Mapping[str, _structures.Structures],
    threads: int,
    follow: Callable[[float], bool],
    prepared: Callable[[], bool] = lambda: True,
) -> Comparison | Refusal:
    """Compare; what the arrays do not name is read from files.

    Parameters
    ----------
    threads : int
        0: one for each processor.
    follow : callable
        Is told the part that is done and returns whether to go on; must not raise.
    prepared : callable
        Is called when everything has been read, and returns whether to go on; must not raise.
    """
    named = (_NamedDose * len(doses))(*(dose.described() for dose in doses))
    sets = (_NamedStructures * len(structures))(
        *(_NamedStructures(_host.path_bytes(name), one.handle) for name, one in structures.items())
    )
    source = _Source(
        named, len(named), sets, len(sets), _host.FindFile(), None, None, threads
    )
    watcher = _Watcher(
        _Prepared(lambda *_: int(not prepared())),
        _Watch(lambda progress, _: int(not follow(progress[0].done))),
        None,
    )
    handle, refusal = ctypes.c_void_p(), _Refusal()
    status = _functions.compare(request, len(request), source, watcher, handle, refusal)
    if status == 0:
        return Comparison(handle)
    return Refusal(
        refusal.kind,
        refusal.systemError,
        refusal.member.decode(),
        os.fsdecode(refusal.file),
        refusal.sentence.decode("utf-8", "replace"),
    )
