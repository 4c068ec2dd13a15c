"""Results files of shards become one."""

from __future__ import annotations

import os
from collections.abc import Sequence
from pathlib import Path
from typing import Any

from .errors import ResultsError
from .results import TABLES, Results


def merge(sources: Sequence[str | os.PathLike[str]], target: str | os.PathLike[str]) -> int:
    """Put the pairs of several results files into a new one; how many.

    A pair that is in two of them is taken once: its results rather than its failure.

    Parameters
    ----------
    sources : sequence of path
        The files, which stay as they are.
    target : path
        The new file, which appears when it is complete.

    Raises
    ------
    ResultsError
        When two files tell different results of a pair, the target is there already, or a file is
        none of results.
    """
    path = Path(target)
    if path.exists():
        raise ResultsError(f"{path}: is there already")
    temporary = path.with_name(f".{path.name}.{os.getpid()}")
    try:
        with Results(temporary, create=True) as merged:
            for source in sources:
                with Results(source) as results, merged.transaction():
                    _add(merged, results)
            (count,) = next(merged.select("SELECT count(*) FROM pairs"))
        os.replace(temporary, path)
    finally:
        temporary.unlink(missing_ok=True)
    return int(count)


def _add(merged: Results, results: Results) -> None:
    for (identity,) in results.select("SELECT id FROM pairs ORDER BY id"):
        new, old = _everything(results, identity), _everything(merged, identity)
        if old is not None:
            if _what_counts(new) == _what_counts(old) or (new["failures"] and not old["failures"]):
                continue
            if not old["failures"] or new["failures"]:
                raise ResultsError(
                    f'{results.path}: has other results of the pair "{identity}" than a file before'
                )
            merged.remove(identity)
        for table in TABLES:
            for row in new[table]:
                merged.insert(table, row)


_Everything = dict[str, list[tuple[Any, ...]]]


def _everything(results: Results, identity: str) -> Any:
    """All rows of a pair by their tables; None where there are none."""
    rows: _Everything = {
        table: sorted(results.select(f"SELECT * FROM {table} WHERE id = ?", (identity,)))
        for table in TABLES
    }
    return rows if rows["pairs"] else None


def _what_counts(rows: _Everything) -> _Everything:
    """The rows without times and without the place in a manifest."""
    (pair,) = rows["pairs"]
    # id, number, group, date, labels, settings, version, page, reading, searching, finished
    files = [(*file[:4], file[4], file[6]) for file in rows["files"]]
    return rows | {"pairs": [(pair[0], *pair[2:8])], "files": files}
