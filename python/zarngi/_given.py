"""What a comparison is given: a request of values, and doses and structures in memory."""

from __future__ import annotations

import copy
import json
import os
from collections.abc import Callable, Mapping, Sequence
from contextlib import nullcontext
from dataclasses import replace
from functools import cache
from typing import Any, Protocol

import numpy as np

from . import _checks, _library
from ._cpus import MAX_THREADS, available_cpus
from ._criteria import Criteria
from ._grid import DoseGrid
from ._interruption import Progress, Reins
from ._points import DosePoints
from .io import _comparison, _host, _measurements, _structures
from .io._comparison import Options, Refused

#: Reference doses with fewer are searched before a thread has started.
_FEW_VOXELS = 10_000

#: What sentences call the members of a request: the arguments of functions.
_WORDS = {
    "criteria": "dd and dta",
    "cutOff": "dose_cutoff",
    "evaluation.scale": "a factor of evaluation",
    "explain.range": "range",
    "maxGamma": "max_gamma",
    "nearest": "interpolate",
    "passRateOnly": "mode",
    "reference.scale": "a factor of reference",
    "rotate": "random_rotation",
    "structures.exclude": "structures",
    "structures.files": "structures",
    "structures.ignoreFrame": "ignore_frame=True",
    "structures.metrics": "dvh_metrics",
    "structures.prescription": "prescription",
    "structures.show": "structures",
    "sweeps": "dd and dta",
}


def request_in(document: Any) -> Any:
    """The request of a document, which may be a record that holds one."""
    is_record = isinstance(document, dict) and document.get("format") == "zarngi-report"
    return document.get("request") if is_record else document


def protocol_request(protocol: str | os.PathLike[str] | Mapping[str, Any]) -> dict[str, Any]:
    """The request of a protocol, which names no files: a shipped one, a document or its file.

    Raises
    ------
    ValueError
        When it is none, with the names of those that are shipped where it is no file either.
    OSError
        When the file cannot be read.
    """
    if isinstance(protocol, Mapping):
        return _comparison.protocol(json.dumps(dict(protocol)), "protocol")
    name = os.fspath(protocol)
    is_shipped = any(one["name"] == name for one in _comparison.protocols())
    if is_shipped or not os.path.exists(name):
        return _comparison.protocol(name, "protocol")
    with open(name, encoding="utf-8", errors="replace") as file:
        text = file.read()
    if "{" not in text:
        raise ValueError(f"{name}: this is no JSON document")
    return _comparison.protocol(text, name)


@cache
def _defaults() -> dict[str, Any]:
    return _comparison.default_request()


def default_request() -> dict[str, Any]:
    """A request with all its members."""
    return copy.deepcopy(_defaults())


def request_of(criteria: Criteria) -> dict[str, Any]:
    """The request of a comparison by one criterion; what is not bounded is an option."""
    return default_request() | {
        "criteria": [criteria.notation],
        "cutOff": criteria.dose_cutoff,
        "normalisation": criteria.normalisation,
        "step": criteria.step,
        "passRateOnly": criteria.mode == "pass_rate",
        "nearest": not criteria.interpolate,
        "slices": criteria.slices,
        "rotate": criteria.random_rotation,
    } | ({} if criteria.max_gamma is None else {"maxGamma": criteria.max_gamma})


class Parts(Protocol):
    """Structures as the library takes them, and which are shown."""

    sources: list[_structures.Structures]
    shown: list[str]
    excluded: list[str]


class Given:
    """A document, and what stands for the files that it names."""

    def __init__(self, document: Any) -> None:
        self.document = document
        self._doses: list[_comparison.Dose] = []
        self._sets: dict[str, _structures.Structures] = {}

    def section(self, name: str) -> dict[str, Any]:
        """A part of the request, to be changed."""
        request = request_in(self.document)
        section = request.get(name) if isinstance(request, dict) else None
        return section if isinstance(section, dict) else {}  # the library refuses what it is

    def take_dose(self, role: str, dose: DoseGrid | DosePoints, name: str) -> None:
        """Put a dose where the request names a file."""
        described = _grid(name, dose) if isinstance(dose, DoseGrid) else _points(name, dose)
        self._doses.append(described)
        self.section(role)["file"] = name
        if isinstance(dose, DoseGrid):
            self._take_uncertainty(role, dose, f"{name} (uncertainty)")

    def _take_uncertainty(self, role: str, grid: DoseGrid, name: str) -> None:
        """Those of a grid in memory, where rates without noise are asked for."""
        request, section = request_in(self.document), self.section(role)
        is_asked = isinstance(request, dict) and request.get("noise") is not None
        if not is_asked or grid.uncertainty is None or section.get("uncertainty") is not None:
            return
        told = np.nan_to_num(np.asarray(grid.uncertainty, np.float32), nan=0.0)
        self._doses.append(_grid(name, replace(grid, dose=told, uncertainty=None)))
        section["uncertainty"] = name
        self.section("units")["uncertainty"] = "gray"

    def take_structures(self, chosen: Parts, name: str) -> None:
        """Put structures where the request names files; `name` has a place for a number."""
        section = self.section("structures")
        self._sets = {name.format(i): one for i, one in enumerate(chosen.sources, 1)}
        section["files"] = list(self._sets)
        section["show"] = [*section.get("show", ()), *chosen.shown]
        section["exclude"] = [*section.get("exclude", ()), *chosen.excluded]

    def compared(
        self,
        threads: int | None,
        progress: Progress | None = None,
        options: Options | None = None,
        *,
        never_direct: bool = False,
    ) -> _comparison.Comparison:
        """What comes out.

        Parameters
        ----------
        never_direct : bool
            Whether it is made on a thread of its own even where that takes longer than the search.

        Raises
        ------
        Refused
            When there is no comparison.
        """
        count = available_cpus() if threads is None else threads
        count = _checks.integer("threads", count, 1, MAX_THREADS)
        text = json.dumps(self.document).encode()
        quotes = nullcontext if _host.are_excerpts_shown() else _host.without_excerpts
        wanted = Options() if options is None else options

        def work(reins: Reins | None) -> _comparison.Comparison:
            follow = None if reins is None else _follow(reins)
            with quotes():
                return _comparison.compare(text, self._doses, self._sets, count, follow, wanted)

        is_short = all(dose.grid[0].size < _FEW_VOXELS for dose in self._doses[:1])
        with _library.exclusive_use():
            if is_short and progress is None and not never_direct:
                return work(None)
            return _library.interruptibly(work, progress)


def options_of(**others: Any) -> Options:
    """What functions ask for that take arrays."""
    return Options(are_lent=True, may_test_nothing=True, words=_WORDS, **others)


def error_of(
    refused: Refused,
    doses: Mapping[str, DoseGrid | DosePoints],
    meant: Mapping[tuple[str, str], str] | None = None,
) -> Exception:
    """What functions raise that take arrays.

    Parameters
    ----------
    doses : mapping of str to DoseGrid or DosePoints
        By their names in the request.
    meant : mapping of str and str to str, optional
        Sentences of the caller's own, by the kind of a refusal and the member that mends it.
    """
    refusal = refused.refusal
    if refusal.kind in ("system", "memory", "argument"):
        return refusal.error()
    if own := (meant or {}).get((refusal.kind, refusal.member)):
        return ValueError(own)
    if refusal.file not in doses:
        return ValueError(str(refusal))
    return ValueError(
        _not_finite(refusal.file, doses[refusal.file]) or f"{refusal.file} {refusal.sentence}"
    )


def _not_finite(name: str, doses: DoseGrid | DosePoints) -> str | None:
    """Where doses are not finite."""
    with np.errstate(over="ignore"):
        is_bad = ~np.isfinite(np.asarray(doses.dose, np.float32))
    if isinstance(doses, DoseGrid) and doses.measured is not None:
        is_bad &= doses.measured
    bad = np.argwhere(is_bad)
    if len(bad) == 0:
        return None
    where = ", ".join(str(i) for i in bad[0])
    return (
        f"{name}.dose holds {len(bad)} values that are not finite in single precision, the first "
        f"at [{where}]; accepted: finite doses (Gy)"
    )


def _follow(reins: Reins) -> Callable[[float], bool]:
    last = -1.0

    def told(done: float) -> bool:
        nonlocal last
        if done != last:
            last = done
            reins.tell(done)
        return not reins.ended

    return told


def _single(values: Any) -> Any:
    """In single precision, as it is where it is so already; what is too large becomes infinite."""
    with np.errstate(over="ignore"):
        return np.ascontiguousarray(values, np.float32)


def _grid(name: str, grid: DoseGrid) -> _comparison.Dose:
    """A grid as the library takes it."""
    dose = _single(grid.dose)
    dimensions = len(grid.spacing)
    is_plane = dimensions < 3 or grid.plane_normal is not None
    return _comparison.Dose(
        name,
        (dose.reshape((1,) * (3 - dose.ndim) + dose.shape), *_three(grid)),
        _measurements.PLANE if is_plane else _measurements.VOLUME,
        dimensions == 3,
        "xyz".index(grid.plane_normal) if grid.plane_normal is not None else -1,
        None if grid.measured is None else np.ascontiguousarray(grid.measured, np.uint8),
        None,
        grid.frame_of_reference,
        grid.unit,
    )


def _three(grid: DoseGrid) -> tuple[Sequence[float], Sequence[float]]:
    """Spacing and origin; 0 along axes that a plane or a line does not have."""
    absent = (0.0,) * (3 - len(grid.spacing))
    return (*grid.spacing, *absent), (*grid.origin, *absent)


def _points(name: str, points: DosePoints) -> _comparison.Dose:
    """Points as the library takes them."""
    count = len(points.dose)
    positions = np.zeros((count, 3))
    positions[:, : points.dimensions] = points.positions
    return _comparison.Dose(
        name,
        (_single(points.dose).reshape(1, 1, count), (1.0, 1.0, 1.0), (0.0, 0.0, 0.0)),
        _measurements.POINTS,
        points.dimensions == 3,
        -1,
        None,
        positions,
        points.frame_of_reference,
    )
