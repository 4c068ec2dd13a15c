"""Comparisons as a document asks for them: the same as the command-line program makes."""

from __future__ import annotations

import copy
import json
import os
import warnings
from collections.abc import Mapping, Sequence
from importlib import resources
from pathlib import Path
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from . import _given
from ._given import Given, request_in
from ._grid import DoseGrid
from ._interruption import Progress
from ._points import DosePoints
from ._structures import Chosen, Structure, StructureSet, StructuresLike
from ._wholefile import write_whole
from .io import _comparison
from .io._comparison import Refused
from .io._errors import FormatWarning

_PathLike = Union[str, "os.PathLike[str]"]

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
        write_whole(path, self._comparison.page(_template(template)))

    def __repr__(self) -> str:
        return f"Comparison({', '.join(map(_rate, self.record['criteria']))})"


def _rate(criterion: dict[str, Any]) -> str:
    """What a criterion is judged by: that of structures by the worst of them."""
    prefix = ",".join(criterion.get("for", ()))
    name = f"{prefix}:{criterion['label']}" if prefix else criterion["label"]
    judged = (one for one in criterion.get("structures", ()) if one and one["name"] == criterion["judged"])
    return f"{name}: {next(judged, criterion)['passRate']:.2f} %"


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
    return _given.default_request()


def protocols() -> list[dict[str, Any]]:
    """The protocols that are shipped: `name`, `version`, `title`, `source` and `sha256` of each.

    Examples
    --------
    >>> import zarngi
    >>> [one["name"] for one in zarngi.protocols()]
    ['head-neck', 'prostate', 'tg-119', 'tg-218']
    """
    return _comparison.protocols()


def protocol(name: Mapping[str, Any] | _PathLike) -> dict[str, Any]:
    """The request of a protocol, as `compare` takes it; without files.

    Parameters
    ----------
    name : str, os.PathLike or mapping
        That of one that is shipped, a file with a request or a record, or its document.
    """
    return _given.protocol_request(name)


def compare(
    request: Mapping[str, Any] | _PathLike | None = None,
    *,
    protocol: Mapping[str, Any] | _PathLike | None = None,
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
    protocol : str, os.PathLike or mapping, optional
        Instead of a request: what `protocol` takes, for the doses given beside it.
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
    if (request is None) == (protocol is None):
        raise TypeError("compare takes a request or a protocol")
    given = Given(_given.protocol_request(protocol) if request is None else _document(request))
    for role, dose in (("reference", reference), ("evaluation", evaluation)):
        if isinstance(dose, (DoseGrid, DosePoints)):
            given.take_dose(role, dose, f"<{role}>")
        elif dose is not None:
            given.section(role)["file"] = os.fspath(dose)
    if structures is not None:
        _take_structures(given, structures, reference)
    try:
        made = given.compared(threads, progress, never_direct=True)
    except Refused as refused:
        raise refused.refusal.error() from None
    comparison = Comparison(made)
    for sentence in comparison.record["warnings"]:
        warnings.warn(sentence, FormatWarning, stacklevel=2)
    return comparison


def _take_structures(
    given: Given,
    structures: StructuresLike | _PathLike | Sequence[_PathLike],
    reference: object,
) -> None:
    if isinstance(structures, (StructureSet, Structure, Mapping)):
        if not isinstance(reference, DoseGrid) and isinstance(structures, Mapping):
            raise TypeError(
                "structures is a mapping, whose masks lie on the grid of the reference; accepted "
                "with a reference that is a zarngi.DoseGrid"
            )
        given.take_structures(Chosen(structures, reference), "<structures {}>")  # type: ignore[arg-type]
    elif isinstance(structures, (str, os.PathLike)):
        given.section("structures")["files"] = [os.fspath(structures)]
    else:
        given.section("structures")["files"] = [os.fspath(path) for path in structures]


def _document(request: Mapping[str, Any] | _PathLike) -> Any:
    """The document as values; a text that is none as it is, which the library refuses."""
    if isinstance(request, Mapping):
        return copy.deepcopy(dict(request))
    if isinstance(request, str) and request.lstrip().startswith("{"):
        return _values(request)
    path = Path(request)
    document = _values(path.read_text(encoding="utf-8"))
    _relocate(request_in(document), path.parent)
    return document


def _values(text: str) -> Any:
    try:
        return json.loads(text)
    except ValueError:
        return text


def _relocate(request: Any, folder: Path) -> None:
    """Make files relative to a folder what they are to the process."""
    sections = request if isinstance(request, dict) else {}
    for name in ("reference", "evaluation", "structures"):
        section = sections.get(name)
        for member in ("file", "add", "files", "uncertainty"):
            files = section.get(member) if isinstance(section, dict) else None
            if isinstance(files, str) and not (member == "uncertainty" and files.endswith("%")):
                section[member] = str(folder / files)
            elif isinstance(files, list):
                section[member] = [str(folder / f) if isinstance(f, str) else f for f in files]
    plans = sections.get("plans")
    if isinstance(plans, list):
        sections["plans"] = [str(folder / f) if isinstance(f, str) else f for f in plans]


def _template(path: _PathLike | None) -> bytes:
    if path is not None:
        return Path(path).read_bytes()
    try:
        return resources.files(__package__).joinpath(_TEMPLATE).read_bytes()
    except FileNotFoundError:
        raise FileNotFoundError(
            "this installation came without the report page; template=PATH names one"
        ) from None
