"""The binding to libZarnGIHost's conversions."""

from __future__ import annotations

import ctypes
import json
from collections.abc import Mapping
from dataclasses import dataclass

from . import _host
from ._comparison import RefusalRecord, Refused


@dataclass(frozen=True)
class Conversion:
    """What is asked of a conversion, as zarnGIHost_Conversion says."""

    input: str
    output: str
    like: str | None
    scale: str | None
    allows_error_doses: bool
    told: _host.Told
    words: Mapping[str, str]


class _Conversion(ctypes.Structure):
    """Mirror of `zarnGIHost_Conversion`."""

    _fields_ = [
        ("input", ctypes.c_char_p),
        ("output", ctypes.c_char_p),
        ("like", ctypes.c_char_p),
        ("scale", ctypes.c_char_p),
        ("allowErrorDoses", ctypes.c_int),
        ("told", _host.Told),
        ("words", ctypes.c_char_p),
    ]


_functions = _host.declare(
    {
        "convert": (
            ctypes.c_int,
            [
                ctypes.POINTER(_Conversion),
                ctypes.POINTER(_host.Bytes),
                ctypes.POINTER(RefusalRecord),
            ],
        ),
    }
)


def convert(asked: Conversion) -> list[str]:
    """Write the file; what was told of the one that was read.

    Raises
    ------
    Refused
        When there is no file.
    """
    described = _Conversion(
        _host.path_bytes(asked.input),
        _host.path_bytes(asked.output),
        None if asked.like is None else _host.path_bytes(asked.like),
        None if asked.scale is None else asked.scale.encode(),
        asked.allows_error_doses,
        asked.told,
        json.dumps(asked.words).encode(),
    )
    warnings, refusal = _host.Bytes(), RefusalRecord()
    if _functions.convert(described, warnings, refusal) != 0:
        raise Refused(refusal.told())
    sentences: list[str] = json.loads(_host.taken(warnings))
    return sentences
