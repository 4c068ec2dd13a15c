"""The binding to the search for an explanation in libZarnGIHost's C interface."""

from __future__ import annotations

import ctypes
import json
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from typing import Any, Protocol

import numpy as np
import numpy.typing as npt

from . import _host, _structures


class _Trial(ctypes.Structure):
    """Mirror of `zarnGIHost_Trial`."""

    _fields_ = [
        ("doseDifference", ctypes.c_double),
        ("distance", ctypes.c_double),
        ("step", ctypes.c_double),
        ("maxGamma", ctypes.c_double),
    ]


_VOLUME_P = ctypes.POINTER(_host.Volume)
_FLOAT_P = ctypes.POINTER(ctypes.c_float)
_BYTE_P = ctypes.POINTER(ctypes.c_ubyte)
_SetGrid = ctypes.CFUNCTYPE(ctypes.c_int, _VOLUME_P, ctypes.c_void_p)
_Compute = ctypes.CFUNCTYPE(
    ctypes.c_int, ctypes.POINTER(_Trial), _FLOAT_P, _BYTE_P, ctypes.c_void_p
)

_Progress = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_double, ctypes.c_void_p)


class _Input(ctypes.Structure):
    """Mirror of `zarnGIHost_ExplanationInput`."""

    _fields_ = [
        ("reference", _host.Volume),
        ("evaluation", _host.Volume),
        ("within", ctypes.c_void_p),
        ("sets", ctypes.POINTER(ctypes.c_void_p)),
        ("count", ctypes.c_size_t),
    ]


class _Engine(ctypes.Structure):
    """Mirror of `zarnGIHost_GammaEngine`."""

    _fields_ = [
        ("setReference", _SetGrid),
        ("setEvaluation", _SetGrid),
        ("compute", _Compute),
        ("progress", _Progress),
        ("context", ctypes.c_void_p),
    ]


_functions = _host.declare(
    {
        "explain": (
            ctypes.c_int,
            [
                ctypes.POINTER(_Input),
                ctypes.c_char_p,
                ctypes.POINTER(_Engine),
                ctypes.c_void_p,
                ctypes.POINTER(_host.Bytes),
                ctypes.POINTER(_host.Error),
            ],
        ),
    }
)


class Engine(Protocol):
    """What the search needs of a caller; grids are valid during the calls."""

    def set_reference(self, doses: Any) -> None:
        """Take the reference, a `Volume`."""

    def set_evaluation(self, doses: Any) -> None:
        """Take the evaluation, a `Volume`."""

    def compute(self, trial: Any, gamma: Any, passed: Any) -> None:
        """Compute with the criterion of a trial and fill the maps, pointers to their values."""


@dataclass(frozen=True)
class Given:
    """What is explained, as zarnGIHost_ExplanationInput says; contiguous arrays."""

    reference: _host.Grid
    evaluation: _host.Grid
    within: npt.NDArray[np.uint8] | None
    sets: Sequence[_structures.Structures]


def _input(given: Given) -> _Input:
    handles = (ctypes.c_void_p * len(given.sets))(*(one.handle for one in given.sets))
    return _Input(
        _host.volume(*given.reference),
        _host.volume(*given.evaluation),
        None if given.within is None else given.within.ctypes.data,
        ctypes.cast(handles, ctypes.POINTER(ctypes.c_void_p)),
        len(handles),
    )


def explain(
    given: Given, options: dict[str, Any], engine: Engine, progress: Callable[[float], None]
) -> tuple[dict[str, Any], npt.NDArray[np.float32]]:
    """What zarnGIHost_explain() tells, and the map after the change; see there for the options.

    What a method of the engine or `progress` raises ends the search and is raised here.
    """
    raised: list[BaseException] = []

    def guarded(function: Callable[..., None]) -> Callable[..., int]:
        def call(*arguments: Any) -> int:
            try:
                function(*arguments[:-1])
            except BaseException as error:  # noqa: BLE001 - it must not enter the library
                raised.append(error)
                return 1
            return 0

        return call

    functions = _Engine(
        _SetGrid(guarded(lambda doses: engine.set_reference(doses[0]))),
        _SetGrid(guarded(lambda doses: engine.set_evaluation(doses[0]))),
        _Compute(guarded(lambda trial, gamma, passed: engine.compute(trial[0], gamma, passed))),
        _Progress(guarded(progress)),
        None,
    )
    after = np.empty(given.reference[0].shape, np.float32)
    described = _input(given)
    text = json.dumps(options).encode()

    def make(document: Any, error: Any) -> int:
        status: int = _functions.explain(
            described,
            text,
            functions,
            after.ctypes.data,
            document,
            error,
        )
        if raised:
            raise raised[0]
        return status

    return _host.document("explain", make), after
