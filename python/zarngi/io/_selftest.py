"""The binding to libZarnGIHost's acceptance test."""

from __future__ import annotations

import ctypes
import json
from collections.abc import Callable
from typing import Any

from . import _host

_Watch = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_double, ctypes.c_void_p)
_BYTES_P = ctypes.POINTER(_host.Bytes)

_functions = _host.declare(
    {
        "selfTest": (
            ctypes.c_int,
            [
                _Watch,
                ctypes.c_void_p,
                ctypes.POINTER(ctypes.c_int),
                _BYTES_P,
                _BYTES_P,
                ctypes.POINTER(_host.Error),
            ],
        )
    }
)


def run(goes_on: Callable[[float], bool]) -> tuple[bool, dict[str, Any], bytes]:
    """Whether all passed, the record, and the page that tells it; inside `exclusive_use`.

    Parameters
    ----------
    goes_on : callable
        Is told the part that is done and returns whether to go on; must not raise.

    Raises
    ------
    RuntimeError
        When it was ended.
    """
    watch = _Watch(lambda done, _: int(not goes_on(done)))
    passed, record, page, error = ctypes.c_int(), _host.Bytes(), _host.Bytes(), _host.Error()
    status = _functions.selfTest(watch, None, passed, record, page, error)
    if status != 0:
        raise RuntimeError(f"the self-test {error.sentence.decode()}")
    return bool(passed), json.loads(_host.taken(record)), _host.taken(page)
