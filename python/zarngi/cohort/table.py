"""Results as a table: one row per pair, criterion and structure, and one per failure."""

from __future__ import annotations

import csv
import io
import json
import os
from collections.abc import Iterator
from typing import Any

from .record import COUNTS, FIGURES
from .results import Results

#: All but `reading` and `searching` (s) are the same whenever and wherever a pair is computed.
COLUMNS = ("id", "group", "date", "criterion", "structure", *FIGURES, "error", "reading", "searching")

_QUERY = f"""
SELECT p.id, p."group", p.date, coalesce(r.criterion, ''), coalesce(r.structure, ''),
       {', '.join(f'r.{name}' for name in FIGURES)},
       coalesce(f.sentence, ''), p.reading, p.searching, p.labels
FROM pairs p LEFT JOIN results r ON r.id = p.id LEFT JOIN failures f ON f.id = p.id
ORDER BY p.number, p.id, r.place
"""


def labels_of(results: Results) -> list[str]:
    """The names of the further columns."""
    names: dict[str, None] = {}
    for (labels,) in results.select("SELECT DISTINCT labels FROM pairs ORDER BY number"):
        names |= dict.fromkeys(json.loads(labels))
    return list(names)


def rows_of(results: Results) -> Iterator[dict[str, Any]]:
    """The rows in the order of the manifest, each a mapping of columns to values."""
    for *values, labels in results.select(_QUERY):
        yield dict(zip(COLUMNS, values)) | json.loads(labels)


def load(path: str | os.PathLike[str]) -> Any:
    """The table of a results file.

    Parameters
    ----------
    path : str or os.PathLike
        The file.

    Returns
    -------
    pandas.DataFrame, or list of dict where pandas is not installed
        Columns `COLUMNS`, then those kept of the manifest; in the order of the manifest.

    Raises
    ------
    ResultsError
        When it is no results file.
    """
    with Results(path) as results:
        return load_open(results)


def load_open(results: Results) -> Any:
    """As `load`, of an open file."""
    rows = list(rows_of(results))
    columns = [*COLUMNS, *labels_of(results)]
    try:
        import pandas
    except ImportError:
        return rows
    table = pandas.DataFrame(rows, columns=columns)
    # Failures have no figures: whole numbers stay whole beside them.
    return table.astype({name: "Int64" if name in COUNTS else "float64" for name in FIGURES})


def csv_lines(results: Results) -> Iterator[str]:
    """The table as CSV, line by line; numbers with all their digits."""
    columns = [*COLUMNS, *labels_of(results)]
    buffer = io.StringIO()
    writer = csv.DictWriter(buffer, columns, restval="", lineterminator="\n")
    writer.writeheader()
    for row in rows_of(results):
        writer.writerow(row)
        yield buffer.getvalue()
        buffer.seek(0)
        buffer.truncate()
    yield buffer.getvalue()
