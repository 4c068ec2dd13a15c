"""The page of a cohort: the template of web/ with the results in it."""

from __future__ import annotations

import json
import math
import os
from importlib import resources
from typing import Any
from urllib.parse import quote

import zarngi

from .._criteria import parse_criterion
from .errors import WITHOUT_PAGES, CohortError
from .limits import Limits, limits
from .record import FIGURES, WITHOUT_NOISE
from .results import Results

_MARKER = "<!--ZARNGI-DATA-->"
_FORMAT = 1


def template() -> str:
    """The page without data.

    Raises
    ------
    CohortError
        When this installation came without it.
    """
    try:
        return resources.files(__package__).joinpath("page.html").read_text(encoding="utf-8")
    except FileNotFoundError as error:
        raise CohortError(WITHOUT_PAGES) from error


def page_of(
    results: Results,
    *,
    by: str = "group",
    title: str = "",
    pages: str | None = None,
    place: str = ".",
    thresholds: tuple[float, float] = (95.0, 90.0),
) -> str:
    """The page of a results file.

    Parameters
    ----------
    results : Results
        The open file.
    by : str
        What groups pairs: "group", or a column that was kept.
    title : str
        Its heading.
    pages : str, optional
        The folder with the pairs' own pages, for links to them.
    place : str
        Where the page will stand, from which links count.
    thresholds : (float, float)
        Tolerance and action limit in %.

    Raises
    ------
    CohortError
        When there is no such column, or no page in this installation.
    """
    data = page_data(results, by, title, thresholds)
    data["pagesFolder"] = _link(pages, place)
    text = json.dumps(data, ensure_ascii=False, separators=(",", ":"), allow_nan=False)
    element = f'<script type="application/json" id="zarngi-data">{_escaped(text)}</script>'
    return template().replace(_MARKER, element)


def _escaped(text: str) -> str:
    return text.replace("<", "\\u003c")


def _link(pages: str | None, place: str) -> str | None:
    if pages is None:
        return None
    return quote(os.path.relpath(os.path.abspath(pages), os.path.dirname(os.path.abspath(place))))


def page_data(
    results: Results, by: str, title: str, thresholds: tuple[float, float]
) -> dict[str, Any]:
    """What the page holds; web/README.md describes it."""
    series: dict[tuple[str, str], dict[str, list[Any]]] = {}
    pairs: dict[str, list[Any]] = {
        name: [] for name in ("id", "group", "date", "labels", "page", "error")
    }
    places: dict[str, int] = {}
    query = (
        'SELECT p.id, p."group", p.date, p.labels, p.page, f.sentence'
        " FROM pairs p LEFT JOIN failures f ON f.id = p.id ORDER BY p.number, p.id"
    )
    for row in results.select(query):
        places[row[0]] = len(places)
        for name, value in zip(pairs, row):
            pairs[name].append(json.loads(value) if name == "labels" else value)
    for identity, criterion, structure, *figures in results.select(
        f"SELECT r.id, criterion, structure, {', '.join(FIGURES)} FROM results r"
        " JOIN pairs p ON p.id = r.id ORDER BY p.number, p.id, r.place"
    ):
        columns = series.setdefault(
            (criterion, structure), {"pair": [], **{name: [] for name in FIGURES}}
        )
        columns["pair"].append(places[identity])
        for name, value in zip(FIGURES, figures):
            columns[name].append(_finite(value))
    if by != "group":
        pairs["group"] = [labels.get(by, "") for labels in pairs["labels"]]
    return {
        "format": "zarngi-cohort",
        "formatVersion": _FORMAT,
        "program": {"name": "zarngi-cohort", "version": zarngi.__version__},
        "title": title,
        "groupedBy": by,
        "thresholds": {"tolerance": thresholds[0], "action": thresholds[1]},
        "pairs": pairs,
        "series": [_series(*whose, columns) for whose, columns in series.items()],
        "limits": [_limits(found, places) for found in limits(results, by, structures=True)],
    }


def _finite(value: Any) -> Any:
    return None if isinstance(value, float) and not math.isfinite(value) else value


def _series(criterion: str, structure: str, columns: dict[str, list[Any]]) -> dict[str, Any]:
    if not any(value is not None for value in columns[WITHOUT_NOISE[0]]):
        columns = {name: values for name, values in columns.items() if name not in WITHOUT_NOISE}
    parsed = parse_criterion(criterion)
    return {
        "criterion": criterion,
        "doseDifference": parsed.dd,
        "distance": parsed.dta,
        "local": parsed.local,
        "structure": structure,
        **columns,
    }


def _limits(found: Limits, places: dict[str, int]) -> dict[str, Any]:
    return {
        "group": found.group,
        "criterion": found.criterion,
        "structure": found.structure,
        "centre": found.centre,
        "sigma": found.sigma,
        "meanRange": found.mean_range,
        "lower": found.lower,
        "upper": found.upper,
        "rangeLimit": found.range_limit,
        "action": found.action,
        "hasEnough": found.has_enough,
        "hasDates": found.has_dates,
        "pair": [places[point.id] for point in found.points],
        "beyond": [found.beyond(point) for point in found.points],
    }
