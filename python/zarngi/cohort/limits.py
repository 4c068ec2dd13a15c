"""Limits from one's own history, as AAPM TG-218 recommends them.

M. Miften et al., Med. Phys. 45 (2018) e53-e83, section VII; the factors of the charts are those of
individuals and moving ranges of two (D. C. Montgomery, Introduction to Statistical Quality Control).
"""

from __future__ import annotations

import json
import math
from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from typing import Any

from .errors import CohortError
from .record import FIGURES
from .results import Results
from .sentences import counted

#: 3 / d2, d2 = 1.128: from the mean moving range to three standard deviations.
INDIVIDUALS = 2.660
#: D4: upper limit of a moving-range chart.
RANGES = 3.267
#: Of the action limit: what TG-218 gives for a process that is in control.
BETA = 6.0
#: %, the pass rate that is aimed at.
TARGET = 100.0
#: Fewer pairs tell limits badly.
ENOUGH = 20


@dataclass(frozen=True)
class Point:
    """A pair on a chart; `moving_range` is that to the point before, None for the first."""

    id: str
    date: str
    pass_rate: float
    moving_range: float | None


@dataclass(frozen=True)
class Limits:
    """Limits of a group by one criterion; all in % pass rate.

    Attributes
    ----------
    group, criterion, structure : str
        Whose.
    points : tuple of Point
        In order of date; those of one day, and those without date, in the order of the manifest.
    centre : float
        Mean.
    sigma : float
        Sample standard deviation.
    mean_range : float
        Mean moving range.
    lower, upper : float
        Process limits: centre -+ 2.660 * mean moving range, within 0 and 100.
    range_limit : float
        Upper limit of the moving range: 3.267 * mean moving range.
    action : float
        100 - dA / 2 with dA = 6 * sqrt(sigma**2 + (centre - 100)**2).
    """

    group: str
    criterion: str
    structure: str
    points: tuple[Point, ...]
    centre: float
    sigma: float
    mean_range: float
    lower: float
    upper: float
    range_limit: float
    action: float

    @property
    def has_enough(self) -> bool:
        """Whether there are pairs enough to trust the limits."""
        return len(self.points) >= ENOUGH

    @property
    def has_dates(self) -> bool:
        """Whether all points have one."""
        return all(point.date for point in self.points)

    def beyond(self, point: Point) -> str:
        """What a point is beyond: "action", "process", "range" or nothing."""
        if point.pass_rate < self.action:
            return "action"
        if not self.lower <= point.pass_rate <= self.upper:
            return "process"
        is_jump = point.moving_range is not None and point.moving_range > self.range_limit
        return "range" if is_jump else ""


def action_limit(centre: float, sigma: float) -> float:
    """Lower action limit in %: T - dA / 2, dA = beta * sqrt(sigma**2 + (centre - T)**2)."""
    return TARGET - BETA * math.hypot(sigma, centre - TARGET) / 2


def limits_of(
    values: Sequence[tuple[str, str, float]],
    group: str = "",
    criterion: str = "",
    structure: str = "",
) -> Limits:
    """Limits of pass rates.

    Parameters
    ----------
    values : sequence of (id, date, pass rate in %)
        At least two, in the order of the manifest.
    group, criterion, structure : str
        Whose.

    Raises
    ------
    ValueError
        When there are fewer than two values.

    Examples
    --------
    >>> found = limits_of([("a", "", 98.0), ("b", "", 96.0), ("c", "", 97.0)])
    >>> round(found.lower, 2), round(found.action, 3)
    (93.01, 90.513)
    """
    if len(values) < 2:
        raise ValueError("limits take two pass rates or more")
    ordered = sorted(values, key=lambda value: value[1])
    rates = [rate for _, _, rate in ordered]
    ranges = [abs(b - a) for a, b in zip(rates, rates[1:])]
    count = len(rates)
    centre = math.fsum(rates) / count
    sigma = math.sqrt(math.fsum((rate - centre) ** 2 for rate in rates) / (count - 1))
    mean_range = math.fsum(ranges) / len(ranges)
    points = tuple(
        Point(identity, date, rate, moving)
        for (identity, date, rate), moving in zip(ordered, [None, *ranges])
    )
    return Limits(
        group,
        criterion,
        structure,
        points,
        centre,
        sigma,
        mean_range,
        max(centre - INDIVIDUALS * mean_range, 0.0),
        min(centre + INDIVIDUALS * mean_range, 100.0),
        RANGES * mean_range,
        action_limit(centre, sigma),
    )


def limits(results: Results, by: str = "group", structures: bool = False) -> list[Limits]:
    """The limits of every group and criterion of a results file.

    Parameters
    ----------
    results : Results
        The open file.
    by : str
        What groups pairs: "group", or a column that was kept.
    structures : bool
        Whether structures have limits of their own, too.

    Raises
    ------
    CohortError
        When there is no such column.
    """
    values: dict[tuple[str, str, str], list[tuple[str, str, float]]] = {}
    for identity, group, date, labels, criterion, structure, rate in _rates(results):
        if by != "group":
            group = _label(json.loads(labels), by)
        if not structure or structures:
            values.setdefault((group, criterion, structure), []).append((identity, date, rate))
    return [
        limits_of(found, *whose) for whose, found in sorted(values.items()) if len(found) >= 2
    ]


def _label(labels: dict[str, str], by: str) -> str:
    if by not in labels:
        kept = ", ".join(["group", *labels])
        raise CohortError(f'there is no column "{by}"; there are {kept}')
    return labels[by]


def _rates(results: Results) -> Iterable[tuple[Any, ...]]:
    assert "pass_rate" in FIGURES
    return results.select(
        'SELECT p.id, p."group", p.date, p.labels, r.criterion, r.structure, r.pass_rate'
        " FROM pairs p JOIN results r ON r.id = p.id WHERE r.pass_rate IS NOT NULL"
        " ORDER BY p.number, p.id, r.place"
    )


def report_lines(found: Limits) -> list[str]:
    """What a person reads of the limits of a group."""
    whose = " ".join(part for part in (found.group, found.criterion, found.structure) if part)
    beyond = [(point, found.beyond(point)) for point in found.points]
    lines = [
        f"{whose}: {counted(len(found.points))}",
        f"  centre line      {found.centre:8.3f} %   standard deviation {found.sigma:.3f} %",
        f"  process limits   {found.lower:8.3f} % to {found.upper:.3f} %"
        f"   (mean moving range {found.mean_range:.3f} %)",
        f"  moving range up to {found.range_limit:6.3f} %",
        f"  action limit     {found.action:8.3f} %",
    ]
    if not found.has_enough:
        lines.append(f"  fewer than {ENOUGH} pairs: these limits are a first guess")
    if not found.has_dates:
        lines.append("  not all pairs have a date: those without come first, as in the manifest")
    for point, what in beyond:
        if what:
            when = f" {point.date}" if point.date else ""
            lines.append(f"  beyond the {_NAMES[what]}: {point.id}{when}, {point.pass_rate:.3f} %")
    return lines


_NAMES = {"action": "action limit", "process": "process limits", "range": "moving range"}
