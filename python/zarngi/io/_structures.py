"""The binding to libZarnGIHost's structures."""

from __future__ import annotations

import ctypes
import weakref
from collections.abc import Sequence
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _host


_SET = ctypes.c_void_p
_SET_P = ctypes.POINTER(ctypes.c_void_p)
_BYTES_P = ctypes.POINTER(_host.Bytes)
_INT_P = ctypes.POINTER(ctypes.c_int)
_DOUBLE_P = ctypes.POINTER(ctypes.c_double)
_SIZE_P = ctypes.POINTER(ctypes.c_size_t)
_ERROR_P = ctypes.POINTER(_host.Error)

_functions = _host.declare(
    {
        "readStructures": (ctypes.c_int, [ctypes.c_char_p, _SET_P, _ERROR_P]),
        "makeStructure": (
            ctypes.c_int,
            [ctypes.c_char_p, ctypes.POINTER(_host.Volume), _SET_P, _ERROR_P],
        ),
        "freeStructures": (None, [_SET]),
        "describeStructures": (ctypes.c_int, [_SET, _BYTES_P, _ERROR_P]),
        "getContour": (ctypes.c_void_p, [_SET, ctypes.c_size_t, ctypes.c_size_t, _SIZE_P]),
        "findVoxels": (
            ctypes.c_int,
            [_SET, ctypes.c_size_t, _INT_P, _DOUBLE_P, _DOUBLE_P, ctypes.c_void_p, _ERROR_P],
        ),
    }
)


class Structures:
    """Structures in the library's memory, which are freed when nothing looks at them any longer.

    Attributes
    ----------
    description : dict
        What `zarngi info --json` tells of the file.
    """

    def __init__(self, handle: ctypes.c_void_p) -> None:
        self._handle = handle
        weakref.finalize(self, _functions.freeStructures, handle).atexit = False
        self.description: dict[str, Any] = _host.document(
            "the structures",
            lambda json_, error: _functions.describeStructures(handle, json_, error),
        )

    @property
    def handle(self) -> ctypes.c_void_p:
        """What the library knows them by."""
        return self._handle

    def contour(self, structure: int, contour: int) -> npt.NDArray[np.float64]:
        """The vertices of a contour, shape (n, 3); they are a copy."""
        count = ctypes.c_size_t()
        address = _functions.getContour(self._handle, structure, contour, count)
        if not address:
            raise IndexError(f"there is no contour {contour}")
        vertices = (ctypes.c_double * (3 * count.value)).from_address(address)
        return np.array(vertices, np.float64).reshape(-1, 3)

    def mask(
        self, name: str, structure: int, shape: Sequence[int], spacing: Any, origin: Any
    ) -> npt.NDArray[np.bool_]:
        """The voxels of a grid, shape (nz, ny, nx), whose centres belong to a structure."""
        voxels = np.empty(tuple(shape), np.uint8)
        error = _host.Error()
        status = _functions.findVoxels(
            self._handle,
            structure,
            (ctypes.c_int * 3)(*shape[::-1]),
            (ctypes.c_double * 3)(*spacing),
            (ctypes.c_double * 3)(*origin),
            voxels.ctypes.data,
            error,
        )
        _host.check(status, error, name, refusal=ValueError)
        return voxels.view(np.bool_)


def read_file(path: str) -> Structures:
    """Read a file of structures; raises as `_host.read_file` does."""
    handle, error = ctypes.c_void_p(), _host.Error()
    status = _functions.readStructures(_host.path_bytes(path), handle, error)
    _host.check(status, error, path)
    return Structures(handle)


def from_mask(name: str, mask: npt.NDArray[np.bool_], spacing: Any, origin: Any) -> Structures:
    """A structure of the voxels that are true."""
    values = np.ascontiguousarray(mask, np.uint8)
    handle, error = ctypes.c_void_p(), _host.Error()
    volume = _host.volume(values, spacing, origin)
    status = _functions.makeStructure(name.encode(), volume, handle, error)
    _host.check(status, error, name)
    return Structures(handle)
