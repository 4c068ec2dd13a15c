"""The binding to libZarnGIHost's C interface, which reads and writes the files.

The library keeps no state but for each thread, so several may be inside at once; but for comparisons,
which use the one environment of libZarnGI.
"""

from __future__ import annotations

import ctypes
import errno
import json
import os
import weakref
from collections.abc import Iterator, Mapping, Sequence
from contextlib import contextmanager
from types import SimpleNamespace
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from .. import _library
from ._errors import FormatError

#: That of the soname, which changes with the layout and the meaning of what is declared here.
_VERSION = 1

# enum zarnGIHost_Status
_OK = 0
_REFUSED = -1
_SYSTEM = -2
_NO_MEMORY = -3

# enum zarnGIHost_Fact
_IS_RELATIVE = 0
_IS_ERROR = 5

#: What doses are in; relative ones count as Gy.
DoseUnit = Literal["Gy", "Gy/history", "Gy/run", "CU"]
#: enum zarnGIHost_Unit, by its numbers.
_UNITS: tuple[DoseUnit, ...] = ("Gy", "Gy", "Gy/history", "Gy/run", "CU")

# enum zarnGIHost_Text
_DATA_PATH = 1
_FRAME_OF_REFERENCE = 9

#: enum zarnGIHost_Type, by numpy's code of the number type.
_TYPES = {
    code: number
    for number, code in enumerate(("u1", "i1", "u2", "i2", "u4", "i4", "u8", "i8", "f4", "f8"))
}

SENTENCE_SIZE = 1024


class Error(ctypes.Structure):
    """Mirror of `zarnGIHost_Error`."""

    _fields_ = [("systemError", ctypes.c_int), ("sentence", ctypes.c_char * SENTENCE_SIZE)]


class Volume(ctypes.Structure):
    """Mirror of `zarnGIHost_Volume`."""

    _fields_ = [
        ("size", ctypes.c_int * 3),
        ("spacing", ctypes.c_double * 3),
        ("origin", ctypes.c_double * 3),
        ("type", ctypes.c_int),
        ("values", ctypes.c_void_p),
    ]


class Bytes(ctypes.Structure):
    """Mirror of `zarnGIHost_Bytes`."""

    _fields_ = [("data", ctypes.c_void_p), ("size", ctypes.c_size_t)]


class TableUnits(ctypes.Structure):
    """Mirror of `zarnGIHost_TableUnits`."""

    _fields_ = [("gray", ctypes.c_double), ("millimetres", ctypes.c_double)]


class Told(ctypes.Structure):
    """Mirror of `zarnGIHost_Told`."""

    _fields_ = [("units", TableUnits), ("pixelSize", ctypes.c_double)]


#: Of files that do not tell their units, where nothing is told either.
NOTHING_TOLD = Told(TableUnits(0, 0), 0)

FindFile = ctypes.CFUNCTYPE(
    ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p, ctypes.POINTER(ctypes.c_size_t)
)

_DOSE = ctypes.c_void_p
_DOSE_P = ctypes.POINTER(ctypes.c_void_p)
_ERROR_P = ctypes.POINTER(Error)
_TRIPLE_P = ctypes.POINTER(ctypes.c_double)

_PROTOTYPES: dict[str, tuple[Any, list[Any]]] = {
    "readToldDose": (
        ctypes.c_int,
        [ctypes.c_char_p, ctypes.POINTER(Told), _DOSE_P, _ERROR_P],
    ),
    "readToldDoseFromMemory": (
        ctypes.c_int,
        [
            ctypes.c_void_p,
            ctypes.c_size_t,
            FindFile,
            ctypes.c_void_p,
            ctypes.POINTER(Told),
            _DOSE_P,
            _ERROR_P,
        ],
    ),
    "setExcerpts": (ctypes.c_int, [ctypes.c_int]),
    "freeDose": (None, [_DOSE]),
    "getGrid": (ctypes.c_int, [_DOSE, ctypes.POINTER(ctypes.c_int), _TRIPLE_P, _TRIPLE_P]),
    "getDoses": (ctypes.c_void_p, [_DOSE]),
    "getUnit": (ctypes.c_int, [_DOSE]),
    "getUncertainties": (ctypes.c_void_p, [_DOSE]),
    "getFact": (ctypes.c_int, [_DOSE, ctypes.c_int]),
    "getText": (ctypes.c_char_p, [_DOSE, ctypes.c_int]),
    "getWarning": (ctypes.c_char_p, [_DOSE, ctypes.c_size_t]),
    "writeVolume": (ctypes.c_int, [ctypes.c_char_p, ctypes.POINTER(Volume), _ERROR_P]),
    "freeBytes": (None, [ctypes.POINTER(Bytes)]),
}


_host = _library.open_library("ZarnGIHost", _VERSION)


def declare(prototypes: dict[str, tuple[Any, list[Any]]]) -> SimpleNamespace:
    """The library's functions by their names without ``zarnGIHost_``."""
    functions = SimpleNamespace()
    for name, (result, arguments) in prototypes.items():
        function = getattr(_host, f"zarnGIHost_{name}")
        function.restype = result
        function.argtypes = arguments
        setattr(functions, name, function)
    return functions


declare(_PROTOTYPES)


def unit_number(unit: DoseUnit) -> int:
    """The number of enum zarnGIHost_Unit."""
    return _UNITS.index(unit)


class _Uncertainty:
    """Values beside those of a dose, which lives as long as an array looks at them."""

    def __init__(self, dose: Dose, address: int) -> None:
        self._dose = dose
        self.__array_interface__ = {**dose.__array_interface__, "data": (address, False)}


class Dose:
    """A dose in the library's memory, which is freed when nothing looks at it any longer.

    `numpy.asarray` of it is an array, shape (nz, ny, nx), that looks at the same memory and keeps
    this object alive.
    """

    def __init__(self, handle: ctypes.c_void_p) -> None:
        self._handle = handle
        # Not at the interpreter's exit: code that runs later may still look at the array.
        weakref.finalize(self, _host.zarnGIHost_freeDose, handle).atexit = False
        sizes, spacing, origin = (ctypes.c_int * 3)(), _triple(), _triple()
        _host.zarnGIHost_getGrid(handle, sizes, spacing, origin)
        self.shape: tuple[int, ...] = tuple(sizes)[::-1]
        self.spacing: tuple[float, ...] = tuple(spacing)
        self.origin: tuple[float, ...] = tuple(origin)

    @property
    def __array_interface__(self) -> dict[str, Any]:
        return {
            "version": 3,
            "shape": self.shape,
            "typestr": np.dtype(np.float32).str,
            "data": (_host.zarnGIHost_getDoses(self._handle), False),
        }

    @property
    def handle(self) -> ctypes.c_void_p:
        """What the library knows it by."""
        return self._handle

    @property
    def is_relative(self) -> bool:
        """Whether the doses are relative to a value that the file does not tell."""
        return bool(_host.zarnGIHost_getFact(self._handle, _IS_RELATIVE))

    @property
    def unit(self) -> DoseUnit:
        """What the doses are in."""
        return _UNITS[_host.zarnGIHost_getUnit(self._handle)]

    @property
    def uncertainty(self) -> npt.NDArray[np.float32] | None:
        """Standard uncertainties of the doses, in the library's memory, where the file tells any."""
        address = _host.zarnGIHost_getUncertainties(self._handle)
        return None if address is None else np.asarray(_Uncertainty(self, address))

    @property
    def is_error(self) -> bool:
        """Whether it holds differences between doses: DICOM's Dose Type ERROR."""
        return bool(_host.zarnGIHost_getFact(self._handle, _IS_ERROR))

    @property
    def data_path(self) -> str:
        """Path of the file with the values: a header may name another one than itself."""
        return os.fsdecode(_host.zarnGIHost_getText(self._handle, _DATA_PATH))

    @property
    def frame_of_reference(self) -> str | None:
        """DICOM's Frame of Reference UID, where there is one."""
        return _text(_host.zarnGIHost_getText(self._handle, _FRAME_OF_REFERENCE)) or None

    def warnings(self) -> Iterator[str]:
        """What was taken for granted, each a sentence that continues the file's name."""
        index = 0
        while (warning := _host.zarnGIHost_getWarning(self._handle, index)) is not None:
            yield _text(warning)
            index += 1


def read_file(path: str, told: Told = NOTHING_TOLD) -> Dose:
    """Read a dose file: a volume, a plane or points.

    Raises
    ------
    FormatError
        When the contents are refused.
    OSError
        When the file cannot be opened or read.
    """
    handle, error = ctypes.c_void_p(), Error()
    status = _host.zarnGIHost_readToldDose(path_bytes(path), told, handle, error)
    check(status, error, path)
    return Dose(handle)


def are_excerpts_shown() -> bool:
    """Whether sentences and warnings of this thread quote what stands in a file."""
    shown: int = _host.zarnGIHost_setExcerpts(True)
    _host.zarnGIHost_setExcerpts(shown)
    return bool(shown)


@contextmanager
def without_excerpts() -> Iterator[None]:
    """Sentences and warnings of what this thread reads quote nothing that stands in a file."""
    before = _host.zarnGIHost_setExcerpts(False)
    try:
        yield
    finally:
        _host.zarnGIHost_setExcerpts(before)


def read_memory(
    name: str, data: Any, files: Mapping[str, Any], told: Told = NOTHING_TOLD
) -> Dose:
    """Read a dose from the contents of a file.

    Parameters
    ----------
    name : str
        What the messages call it.
    data : bytes-like
        The contents.
    files : mapping of str to bytes-like
        The files that a header may name.
    told : Told
        Of files that do not tell it.
    """
    contents = np.frombuffer(data, np.uint8)
    handle, error = ctypes.c_void_p(), Error()
    status = _host.zarnGIHost_readToldDoseFromMemory(
        contents.ctypes.data, contents.size, _finder(files), None, told, handle, error
    )
    check(status, error, name)
    return Dose(handle)


def write_volume(
    path: str, values: npt.NDArray[Any], spacing: Sequence[float], origin: Sequence[float]
) -> None:
    """Write a volume file whose format its ending tells; it appears only when it is complete.

    Raises
    ------
    ValueError
        When the format cannot hold the grid.
    OSError
        When the file cannot be written.
    """
    array = np.ascontiguousarray(values)
    described = volume(array, spacing, origin)
    error = Error()
    status = _host.zarnGIHost_writeVolume(path_bytes(path), described, error)
    check(status, error, path, refusal=ValueError)


#: A grid of doses: array of float32, shape (nz, ny, nx); spacing and origin in mm.
Grid = tuple[npt.NDArray[np.float32], Sequence[float], Sequence[float]]


def volume(
    array: npt.NDArray[Any], spacing: Sequence[float], origin: Sequence[float]
) -> Volume:
    """A contiguous array as the library takes it; it has to outlive what is returned."""
    return Volume(
        (ctypes.c_int * 3)(*array.shape[::-1]),
        _triple(*spacing),
        _triple(*origin),
        _TYPES[array.dtype.str[1:]],
        array.ctypes.data,
    )


def _triple(*values: float) -> ctypes.Array[ctypes.c_double]:
    return (ctypes.c_double * 3)(*values)


def _text(encoded: bytes) -> str:
    return encoded.decode("utf-8", "replace")


def path_bytes(path: str) -> bytes:
    """A path as the library takes it."""
    encoded = os.fsencode(path)
    # The library would take what stands before it for the path.
    if b"\0" in encoded:
        raise ValueError(f"path={path!r} holds a null character")
    return encoded


def _finder(files: Mapping[str, Any]) -> Any:
    """The library's way to the contents of files by their names in a header."""
    contents = {os.fsencode(name): np.frombuffer(data, np.uint8) for name, data in files.items()}

    def find(name: bytes, _context: object, size: Any) -> int | None:
        if name not in contents:
            return None
        size[0] = contents[name].size
        return contents[name].ctypes.data

    return FindFile(find)


def check(
    status: int, error: Error, name: str, *, refusal: type[ValueError] = FormatError
) -> None:
    """Raise what a failure of the library means."""
    if status == _OK:
        return
    sentence = _text(error.sentence)
    if status == _SYSTEM:
        # With a number OSError becomes FileNotFoundError and its like.
        raise OSError(error.systemError or errno.EIO, sentence, name)
    if status == _NO_MEMORY:
        raise MemoryError(f"{name}: {sentence}")
    raise (refusal if status == _REFUSED else ValueError)(f"{name}: {sentence}")


def document(name: str, make: Any) -> dict[str, Any]:
    """The JSON document that a function of the library makes."""
    loaded: dict[str, Any] = json.loads(text(name, make))
    return loaded


def text(name: str, make: Any) -> bytes:
    """The text that a function of the library makes, UTF-8."""
    made, error = Bytes(), Error()
    check(make(made, error), error, name, refusal=ValueError)
    return taken(made)


def taken(made: Bytes) -> bytes:
    """What the library handed out, which is freed there."""
    try:
        return ctypes.string_at(made.data, made.size)
    finally:
        _host.zarnGIHost_freeBytes(made)
