"""The binding to libZarnGIHost's comparisons."""

from __future__ import annotations

import ctypes
import errno
import json
import os
import weakref
from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass, field
from functools import partial
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _host, _measurements, _structures
from ._errors import FormatError, RequestError

#: The gamma of a voxel for which no search point lay in the evaluation grid.
UNREACHED = np.float32(1e10)

_MEMBER_SIZE = 256
_PATH_SIZE = 4096

#: enum zarnGIHost_RefusalKind.
_KINDS = (
    "", "request", "pair", "foreign", "file", "system", "memory", "interrupted", "argument",
    "unsupported",
)  # fmt: skip


@dataclass(frozen=True)
class Refusal:
    """Why there is no comparison.

    Attributes
    ----------
    kind : str
        "request", "pair", "foreign", "file", "unsupported", "system", "memory", "interrupted" or
        "argument".
    system_error : int
        The number of the system's error; 0: none.
    member : str
        What is to be mended, or would mend it, as it stands in the request; empty: nothing of it.
    file : str
        The file that is to blame; empty: none.
    sentence : str
        One line; of a file what continues "FILE: ".
    """

    kind: str
    system_error: int
    member: str
    file: str
    sentence: str

    def __str__(self) -> str:
        return f"{self.file}: {self.sentence}" if self.file else self.sentence

    @property
    def is_of_request(self) -> bool:
        """Whether the request makes no sense, by itself or for these doses."""
        return self.kind == "request"

    def error(self) -> Exception:
        """What to raise."""
        if self.kind in ("foreign", "file", "unsupported"):
            return FormatError(str(self))
        if self.kind == "system":
            # With a number OSError becomes FileNotFoundError and its like.
            return OSError(self.system_error or errno.EIO, self.sentence, self.file)
        if self.kind == "memory":
            return MemoryError(str(self))
        if self.kind == "argument":
            return ValueError(str(self))
        return RequestError(str(self), self.member or None, self.kind)


class Refused(Exception):
    """Carries why there is no comparison."""

    def __init__(self, refusal: Refusal) -> None:
        super().__init__(str(refusal))
        self.refusal = refusal


class RefusalRecord(ctypes.Structure):
    """Mirror of `zarnGIHost_Refusal`."""

    _fields_ = [
        ("kind", ctypes.c_int),
        ("systemError", ctypes.c_int),
        ("member", ctypes.c_char * _MEMBER_SIZE),
        ("file", ctypes.c_char * _PATH_SIZE),
        ("sentence", ctypes.c_char * _host.SENTENCE_SIZE),
    ]

    def told(self) -> Refusal:
        """What it says."""
        return Refusal(
            _KINDS[self.kind],
            self.systemError,
            self.member.decode(),
            os.fsdecode(self.file),
            self.sentence.decode("utf-8", "replace"),
        )


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


class _Options(ctypes.Structure):
    """Mirror of `zarnGIHost_Options`."""

    _fields_ = [
        ("areLent", ctypes.c_int),
        ("verbose", ctypes.c_int),
        ("isUnbounded", ctypes.c_int),
        ("mayTestNothing", ctypes.c_int),
        ("hasOnlyFindings", ctypes.c_int),
        ("explained", ctypes.c_void_p),
        ("explainedName", ctypes.c_char_p),
        ("words", ctypes.c_char_p),
    ]


_BYTES_P = ctypes.POINTER(_host.Bytes)
_ERROR_P = ctypes.POINTER(_host.Error)
_MAP = [ctypes.c_void_p, ctypes.c_size_t, ctypes.POINTER(_host.Volume)]

_functions = _host.declare(
    {
        "compareWith": (
            ctypes.c_int,
            [
                ctypes.c_char_p,
                ctypes.c_size_t,
                ctypes.POINTER(_Source),
                ctypes.POINTER(_Watcher),
                ctypes.POINTER(_Options),
                ctypes.POINTER(ctypes.c_void_p),
                ctypes.POINTER(RefusalRecord),
            ],
        ),
        "defaultRequest": (ctypes.c_int, [_BYTES_P, _ERROR_P]),
        "listProtocols": (ctypes.c_int, [_BYTES_P, _ERROR_P]),
        "readProtocol": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_size_t, _BYTES_P, _ERROR_P]),
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
        "getExplainedGamma": (ctypes.c_int, [ctypes.c_void_p, ctypes.POINTER(_host.Volume)]),
        "takeGamma": (
            ctypes.c_int,
            [
                ctypes.c_void_p,
                ctypes.c_size_t,
                ctypes.POINTER(ctypes.c_void_p),
                ctypes.POINTER(_host.Volume),
            ],
        ),
        "freeMap": (None, [ctypes.c_void_p]),
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
    unit: _host.DoseUnit = "Gy"

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
        unit = _host.unit_number(self.unit)
        return _NamedDose(name, _host.volume(*self.grid), places, unit, frame)


@dataclass(frozen=True)
class Options:
    """As zarnGIHost_Options says; `explained` is a contiguous array and its name."""

    are_lent: bool = False
    verbose: int = 0
    is_unbounded: bool = False
    may_test_nothing: bool = False
    has_only_findings: bool = False
    explained: tuple[npt.NDArray[np.uint8], str] | None = None
    words: Mapping[str, str] = field(default_factory=dict)

    def described(self) -> _Options:
        """What the library takes; the array has to outlive it."""
        mask, name = (None, None) if self.explained is None else self.explained
        return _Options(
            self.are_lent,
            self.verbose,
            self.is_unbounded,
            self.may_test_nothing,
            self.has_only_findings,
            None if mask is None else mask.ctypes.data,
            None if name is None else name.encode(),
            json.dumps(self.words).encode(),
        )


class _Map:
    """A map in the library's memory, whose owner it keeps alive."""

    def __init__(self, owner: object, volume: Any, code: str, *, may_change: bool = False) -> None:
        self._owner = owner
        self.__array_interface__ = {
            "version": 3,
            "shape": tuple(volume.size)[::-1],
            "typestr": np.dtype(code).str,
            "data": (volume.values, not may_change),
        }


class _Taken:
    """A map that was taken out of a comparison, freed when nothing looks at it any longer."""

    def __init__(self, handle: ctypes.c_void_p) -> None:
        weakref.finalize(self, _functions.freeMap, handle).atexit = False


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

    def explained_gamma(self) -> npt.NDArray[np.float32]:
        """The map after the change that explains; a copy, -1 where not tested."""
        volume = _host.Volume()
        if _functions.getExplainedGamma(self._handle, volume) != 0:
            raise IndexError("nothing was explained")
        return np.array(_Map(self, volume, "f4"))

    def take_gamma(self, criterion: int) -> npt.NDArray[np.float32]:
        """The library's map, which the comparison has no more; -1 where not tested."""
        handle, volume = ctypes.c_void_p(), _host.Volume()
        if _functions.takeGamma(self._handle, criterion, handle, volume) != 0:
            raise IndexError(f"there is no map of a criterion {criterion}")
        return np.asarray(_Map(_Taken(handle), volume, "f4", may_change=True))

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


def protocols() -> list[dict[str, Any]]:
    """What zarnGIHost_listProtocols() gives."""
    listed: list[dict[str, Any]] = json.loads(_host.text("protocols", _functions.listProtocols))
    return listed


def protocol(text: str, name: str) -> dict[str, Any]:
    """What zarnGIHost_readProtocol() gives.

    Raises
    ------
    ValueError
        When it is none; the sentence begins with the name.
    """
    given = text.encode("utf-8", "surrogateescape")
    read = partial(_functions.readProtocol, given, len(given))
    return _host.document(name, read)


def compare(
    request: bytes,
    doses: Sequence[Dose],
    structures: Mapping[str, _structures.Structures],
    threads: int,
    follow: Callable[[float], bool] | None = None,
    options: Options = Options(),
) -> Comparison:
    """As `attempt`, inside `exclusive_use`.

    Raises
    ------
    Refused
        When there is no comparison.
    """
    made = attempt(request, doses, structures, threads, follow, options=options)
    if isinstance(made, Refusal):
        raise Refused(made)
    return made


def attempt(
    request: bytes,
    doses: Sequence[Dose],
    structures: Mapping[str, _structures.Structures],
    threads: int,
    follow: Callable[[float], bool] | None = None,
    prepared: Callable[[], bool] = lambda: True,
    options: Options = Options(),
) -> Comparison | Refusal:
    """Compare; what the arrays do not name is read from files.

    Parameters
    ----------
    threads : int
        0: one for each processor.
    follow : callable, optional
        Is told the part that is done and returns whether to go on; must not raise.
    prepared : callable
        Is called when everything has been read, and returns whether to go on; must not raise.
    options : Options
        What no document asks for. Arrays that are lent have to outlive what is returned.
    """
    named = (_NamedDose * len(doses))(*(dose.described() for dose in doses))
    sets = (_NamedStructures * len(structures))(
        *(_NamedStructures(_host.path_bytes(name), one.handle) for name, one in structures.items())
    )
    source = _Source(
        named, len(named), sets, len(sets), _host.FindFile(), None, None, threads
    )
    watch = _Watch() if follow is None else _Watch(lambda now, _: int(not follow(now[0].done)))
    watcher = _Watcher(_Prepared(lambda *_: int(not prepared())), watch, None)
    handle, refusal = ctypes.c_void_p(), RefusalRecord()
    status = _functions.compareWith(
        request, len(request), source, watcher, options.described(), handle, refusal
    )
    if status == 0:
        return Comparison(handle)
    return refusal.told()
