"""Comparisons as a document asks for them: the same as the command-line program makes."""

from __future__ import annotations

import copy
import json
import os
import warnings
from collections.abc import Callable, Mapping, Sequence
from contextlib import nullcontext
from importlib import resources
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks, _library
from ._cpus import MAX_THREADS, available_cpus
from ._grid import DoseGrid
from ._interruption import EndedError, Progress, Reins
from ._points import DosePoints
from ._structures import Chosen, Structure, StructureSet, StructuresLike
from .io import _comparison, _host, _structures
from .io._errors import FormatWarning

_PathLike = str | os.PathLike[str]

# enum zarnGIHost_Kind
_VOLUME, _PLANE, _POINTS = range(3)

_TEMPLATE = "report.html"


class Comparison:
    """What a comparison found.

    Attributes
    ----------
    record : dict
        What `zarngi compare --json` writes; docs/json.md describes it.
    """

    def __init__(self, comparison: _comparison.Comparison) -> None:
        self._comparison = comparison
        self.record: dict[str, Any] = comparison.record()

    def pass_rate(self, criterion: int = 0) -> float:
        """% of the tested voxels."""
        return float(self.record["criteria"][criterion]["passRate"])

    def gamma(self, criterion: int = 0) -> npt.NDArray[np.float32]:
        """The gamma map on the grid of the reference, shape (nz, ny, nx); NaN where not tested.

        Of points its shape is (1, 1, n).
        """
        values = self._comparison.gamma(criterion).copy()
        values[values < 0] = np.nan
        return values

    def passed(self, criterion: int = 0) -> npt.NDArray[np.uint8]:
        """1 for voxels that passed, 0 for others, 255 for those not tested; read-only."""
        return self._comparison.passed(criterion)

    def csv(self) -> str:
        """The results as a table of comma-separated values, as `zarngi compare --csv` writes it."""
        return self._comparison.csv()

    def page(self, path: _PathLike, template: _PathLike | None = None) -> None:
        """Write the report, one HTML page, as `zarngi compare --report` does.

        Parameters
        ----------
        path : str or os.PathLike
            The page; it appears when it is complete.
        template : str or os.PathLike, optional
            The page without data, which the project's build makes; by default that which is
            installed with this package.
        """
        page = self._comparison.page(_template(template))
        target = Path(path).resolve()
        temporary = target.with_name(f".{target.name}.{os.getpid()}")
        try:
            temporary.write_bytes(page)
            os.replace(temporary, target)
        finally:
            temporary.unlink(missing_ok=True)

    def __repr__(self) -> str:
        rates = (f"{one['label']}: {one['passRate']:.2f} %" for one in self.record["criteria"])
        return f"Comparison({', '.join(rates)})"


def default_request() -> dict[str, Any]:
    """A request with all its members, as `compare` takes it where nothing is asked.

    Examples
    --------
    >>> import zarngi
    >>> request = zarngi.default_request()
    >>> request["criteria"] = ["3%/3mm", "2%/2mm"]
    >>> comparison = zarngi.compare(request, **dict(zip(
    ...     ("reference", "evaluation"), zarngi.demo_pair())))
    >>> [criterion["label"] for criterion in comparison.record["criteria"]]
    ['3%/3mm', '2%/2mm']
    """
    return _comparison.default_request()


def compare(
    request: Mapping[str, Any] | _PathLike,
    *,
    reference: DoseGrid | DosePoints | _PathLike | None = None,
    evaluation: DoseGrid | DosePoints | _PathLike | None = None,
    structures: StructuresLike | _PathLike | Sequence[_PathLike] | None = None,
    threads: int | None = None,
    progress: Progress | None = None,
) -> Comparison:
    """Compare two dose distributions as a document asks, in every way that `zarngi compare` does.

    Parameters
    ----------
    request : mapping, str or os.PathLike
        A request as `default_request` gives it, whose members are all there; the path of a JSON
        document with one, relative to which are the files that it names; or its text. A record of
        `zarngi compare --json` holds one as well.
    reference, evaluation : DoseGrid, DosePoints, str or os.PathLike, optional
        Doses, or files of them, instead of those that the request names.
    structures : path or sequence of paths, StructureSet, Structure, or mapping, optional
        Instead of the files that the request names: files, or what `gamma_index` takes.
    threads : int, optional
        Worker threads, 1 to 1024; by default one for each CPU the process may use. The result does
        not depend on it.
    progress : callable, optional
        Is told the part of the work that is done, 0 to 1; what it raises ends the comparison.

    Returns
    -------
    Comparison

    Raises
    ------
    RequestError
        When the comparison cannot be made so. A kind of ValueError, which tells the member of the
        request that is to be mended.
    FormatError, OSError
        When a file cannot be read, as `read` raises them.
    MemoryError
        When memory runs out.

    Warns
    -----
    FormatWarning
        What the record tells under "warnings".
    """
    document = _document(request)
    given = _Given(document)
    given.take_dose("reference", reference)
    given.take_dose("evaluation", evaluation)
    given.take_structures(structures, reference)
    count = available_cpus() if threads is None else threads
    made = _run(given, _checks.integer("threads", count, 1, MAX_THREADS), progress)
    comparison = Comparison(made)
    for sentence in comparison.record["warnings"]:
        warnings.warn(sentence, FormatWarning, stacklevel=2)
    return comparison


def _run(given: _Given, threads: int, progress: Progress | None) -> _comparison.Comparison:
    quotes = nullcontext if _host.are_excerpts_shown() else _host.without_excerpts
    text = json.dumps(given.document).encode()

    def work(reins: Reins) -> _comparison.Comparison:
        with quotes():
            return _comparison.compare(text, given.doses, given.sets, threads, _follow(reins))

    with _library.exclusive_use():
        return _library.interruptibly(work, progress)


def _follow(reins: Reins) -> Callable[[float], bool]:
    def told(done: float) -> bool:
        try:
            reins.tell(done)
        except EndedError:
            return False
        return True

    return told


class _Given:
    """A document, and what stands for the files that it names."""

    def __init__(self, document: Any) -> None:
        self.document = document
        self.doses: list[_comparison.Dose] = []
        self.sets: dict[str, _structures.Structures] = {}

    def take_dose(self, role: str, dose: DoseGrid | DosePoints | _PathLike | None) -> None:
        """Put a dose, or its file, where the request names one."""
        if dose is None:
            return
        name = f"<{role}>"
        if isinstance(dose, DoseGrid):
            self.doses.append(_grid(name, dose))
        elif isinstance(dose, DosePoints):
            self.doses.append(_points(name, dose))
        else:
            name = os.fspath(dose)
        self._section(role)["file"] = name

    def take_structures(
        self,
        structures: StructuresLike | _PathLike | Sequence[_PathLike] | None,
        reference: object,
    ) -> None:
        """Put structures, or their files, where the request names some."""
        if structures is None:
            return
        section = self._section("structures")
        if isinstance(structures, (StructureSet, Structure, Mapping)):
            chosen = _chosen(structures, reference)
            self.sets = {f"<structures {i}>": one for i, one in enumerate(chosen.sources, 1)}
            section["files"] = list(self.sets)
            section["show"] = [*section.get("show", ()), *chosen.shown]
            section["exclude"] = [*section.get("exclude", ()), *chosen.excluded]
        elif isinstance(structures, (str, os.PathLike)):
            section["files"] = [os.fspath(structures)]
        else:
            section["files"] = [os.fspath(path) for path in structures]

    def _section(self, name: str) -> dict[str, Any]:
        request = _request_of(self.document)
        section = request.get(name) if isinstance(request, dict) else None
        return section if isinstance(section, dict) else {}  # the library refuses what it is


def _chosen(structures: StructuresLike, reference: object) -> Chosen:
    if not isinstance(reference, DoseGrid) and isinstance(structures, Mapping):
        raise TypeError(
            "structures is a mapping, whose masks lie on the grid of the reference; accepted with "
            "a reference that is a zarngi.DoseGrid"
        )
    return Chosen(structures, reference)  # type: ignore[arg-type]


def _document(request: Mapping[str, Any] | _PathLike) -> Any:
    """The document as values; a text that is none as it is, which the library refuses."""
    if isinstance(request, Mapping):
        return copy.deepcopy(dict(request))
    if isinstance(request, str) and request.lstrip().startswith("{"):
        return _values(request)
    path = Path(request)
    document = _values(path.read_text(encoding="utf-8"))
    _relocate(_request_of(document), path.parent)
    return document


def _values(text: str) -> Any:
    try:
        return json.loads(text)
    except ValueError:
        return text


def _request_of(document: Any) -> Any:
    """The request, which may be that of a record."""
    is_record = isinstance(document, dict) and document.get("format") == "zarngi-report"
    return document.get("request") if is_record else document


def _relocate(request: Any, folder: Path) -> None:
    """Make files relative to a folder what they are to the process."""
    sections = request if isinstance(request, dict) else {}
    for name in ("reference", "evaluation", "structures"):
        section = sections.get(name)
        for member in ("file", "add", "files"):
            files = section.get(member) if isinstance(section, dict) else None
            if isinstance(files, str):
                section[member] = str(folder / files)
            elif isinstance(files, list):
                section[member] = [str(folder / f) if isinstance(f, str) else f for f in files]


def _grid(name: str, grid: DoseGrid) -> _comparison.Dose:
    """A grid as the library takes it."""
    dimensions = len(grid.spacing)
    if dimensions == 1:
        raise ValueError(f"{name} is a grid of one dimension; accepted: two or three")
    dose = np.ascontiguousarray(grid.dose, np.float32)
    measured = None if grid.measured is None else np.ascontiguousarray(grid.measured, np.uint8)
    is_plane = dimensions == 2 or grid.plane_normal is not None
    return _comparison.Dose(
        name,
        (dose.reshape((1,) * (3 - dose.ndim) + dose.shape), *_three(grid)),
        _PLANE if is_plane else _VOLUME,
        dimensions == 3,
        "xyz".index(grid.plane_normal) if grid.plane_normal is not None else -1,
        measured,
        None,
        grid.frame_of_reference,
    )


def _three(grid: DoseGrid) -> tuple[Sequence[float], Sequence[float]]:
    """Spacing and origin; along an axis that a plane does not have they mean nothing."""
    absent = 3 - len(grid.spacing)
    return (*grid.spacing, *(1.0,) * absent), (*grid.origin, *(0.0,) * absent)


def _points(name: str, points: DosePoints) -> _comparison.Dose:
    count = len(points.dose)
    positions = np.zeros((count, 3))
    positions[:, : points.dimensions] = points.positions
    dose = np.ascontiguousarray(points.dose, np.float32).reshape(1, 1, count)
    return _comparison.Dose(
        name,
        (dose, (1.0, 1.0, 1.0), (0.0, 0.0, 0.0)),
        _POINTS,
        points.dimensions == 3,
        -1,
        None,
        positions,
        points.frame_of_reference,
    )


def _template(path: _PathLike | None) -> bytes:
    if path is not None:
        return Path(path).read_bytes()
    try:
        return resources.files(__package__).joinpath(_TEMPLATE).read_bytes()
    except FileNotFoundError:
        raise FileNotFoundError(
            "this installation came without the report page; template=PATH names one"
        ) from None
