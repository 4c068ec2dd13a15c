"""The list of the pairs: a CSV file that anyone can write."""

from __future__ import annotations

import csv
import io
import os
import sqlite3
from collections.abc import Iterable, Iterator, Mapping, Sequence
from contextlib import closing
from dataclasses import dataclass, field
from datetime import datetime
from pathlib import Path

from .. import _checks
from .._criteria import Criterion
from .errors import ManifestError
from .settings import Settings, parse_criteria
from .wholefile import write_whole

REQUIRED = ("id", "reference", "evaluation")
OPTIONAL = ("structures", "group", "date", "criteria", "normalisation", "cutoff")

#: Bad rows that are told; more say no more.
_MOST_TOLD = 10
_LONGEST_ID = 80


@dataclass(frozen=True)
class Pair:
    """A pair of doses to compare.

    Attributes
    ----------
    id : str
        What results and sentences call it: up to 80 printable characters.
    reference, evaluation : str
        Paths of the dose files.
    structures : str
        Path of the structures; empty: none.
    group : str
        What limits are told apart by, such as the machine.
    date : str
        ISO 8601, as 2026-03-01 or 2026-03-01T12:30.
    criteria : tuple of Criterion
        Its own; empty: those of the run.
    normalisation, cutoff : float or None
        Its own normalisation dose (Gy) and cut-off (%); None: those of the run.
    labels : mapping of str to str
        Further columns that are kept.
    """

    id: str
    reference: str
    evaluation: str
    structures: str = ""
    group: str = ""
    date: str = ""
    criteria: tuple[Criterion, ...] = ()
    normalisation: float | None = None
    cutoff: float | None = None
    labels: Mapping[str, str] = field(default_factory=dict)

    def settings(self, run: Settings) -> Settings:
        """The run's settings with this pair's own."""
        return run.changed(
            criteria=self.criteria, normalisation=self.normalisation, dose_cutoff=self.cutoff
        )


def _text(name: str, value: str) -> str:
    if not value.isprintable():
        raise ValueError(f"its {name} holds a character that cannot be printed")
    return value


def _date(value: str) -> str:
    try:
        moment = datetime.fromisoformat(value) if value else None
    except ValueError:
        raise ValueError(f'its date "{value}" is not like 2026-03-01 or 2026-03-01T12:30') from None
    if moment is None:
        return ""
    return moment.isoformat() if len(value) > len("2026-03-01") else moment.date().isoformat()


def _number(name: str, value: str) -> float | None:
    if not value:
        return None
    try:
        return _checks.positive(name, float(value))
    except ValueError:
        raise ValueError(f'its {name} "{value}" is not a number above 0') from None


def make_pair(row: Mapping[str, str], folder: str, keep: Sequence[str] = ()) -> Pair:
    """A pair from the cells of a row, relative paths counted from `folder`.

    Raises
    ------
    ValueError
        When a cell makes no sense.
    """
    for name in REQUIRED:
        if not row.get(name):
            raise ValueError(f"its {name} is missing")
    if len(row["id"]) > _LONGEST_ID:
        raise ValueError(f"its id has more than {_LONGEST_ID} characters")
    place = {
        name: os.path.join(folder, _text(name, row[name]))
        for name in ("reference", "evaluation", "structures")
        if row.get(name)
    }
    criteria = row.get("criteria", "")
    return Pair(
        id=_text("id", row["id"]),
        group=_text("group", row.get("group", "")),
        date=_date(row.get("date", "")),
        criteria=parse_criteria(criteria) if criteria else (),
        normalisation=_number("normalisation", row.get("normalisation", "")),
        cutoff=_number("cutoff", row.get("cutoff", "")),
        labels={name: _text(name, row.get(name, "")) for name in keep},
        **place,
    )


class Manifest:
    """A manifest file, whose rows are read again at each iteration: none is kept.

    Parameters
    ----------
    path : str or os.PathLike
        The CSV file (UTF-8, separated by commas or by semicolons).
    keep : sequence of str
        Further columns that go into the results.

    Raises
    ------
    ManifestError
        That names every bad row (the first ten).
    OSError
        When the file cannot be read.
    """

    def __init__(self, path: str | os.PathLike[str], keep: Sequence[str] = ()) -> None:
        self._path = str(Path(path))
        self._keep = tuple(keep)
        self._count = self._checked()

    def __len__(self) -> int:
        return self._count

    def __iter__(self) -> Iterator[Pair]:
        folder = os.path.dirname(self._path)
        for _, row in self._rows():
            yield make_pair(row, folder, self._keep)

    def _rows(self) -> Iterator[tuple[int, dict[str, str]]]:
        try:
            with open(self._path, encoding="utf-8-sig", newline="") as file:
                head = file.readline()
                file.seek(0)
                delimiter = ";" if ";" in head and "," not in head else ","
                reader = csv.reader(file, delimiter=delimiter, strict=True)
                columns = [name.strip().lower() for name in next(reader, [])]
                self._check_columns(columns)
                for cells in reader:
                    if any(cell.strip() for cell in cells):
                        yield reader.line_num, self._row(columns, cells)
        except csv.Error as error:
            raise ManifestError(f"{self._path}: is not CSV ({error})") from error
        except UnicodeDecodeError as error:
            raise ManifestError(f"{self._path}: is not UTF-8") from error

    def _check_columns(self, columns: list[str]) -> None:
        known = (*REQUIRED, *OPTIONAL, *(name.lower() for name in self._keep))
        for name in (*REQUIRED, *(name.lower() for name in self._keep)):
            if name not in columns:
                raise ManifestError(f'{self._path}:1: has no column "{name}"')
        for name in columns:
            if name not in known:
                raise ManifestError(
                    f'{self._path}:1: has an unknown column "{name}"; known are '
                    f"{', '.join(known)}, and those named by --keep"
                )
            if columns.count(name) > 1:
                raise ManifestError(f'{self._path}:1: has the column "{name}" twice')

    def _row(self, columns: list[str], cells: list[str]) -> dict[str, str]:
        row = dict(zip(columns, (cell.strip() for cell in cells)))
        row |= {name: row.get(name.lower(), "") for name in self._keep}
        if len(cells) > len(columns):
            row["too many"] = "x"
        return row

    def _checked(self) -> int:
        """The number of rows, all of which make sense."""
        folder = os.path.dirname(self._path)
        complaints: list[str] = []
        count = 0
        # On disk where they are many, so that a million ids take no memory.
        with closing(sqlite3.connect("")) as seen:
            seen.execute("CREATE TABLE seen (id TEXT PRIMARY KEY, line INTEGER)")
            for line, row in self._rows():
                count += 1
                try:
                    if "too many" in row:
                        raise ValueError("has more cells than there are columns")
                    self._once(seen, make_pair(row, folder, self._keep).id, line)
                except ValueError as error:
                    complaints.append(f"{self._path}:{line}: {error}")
                if len(complaints) == _MOST_TOLD:
                    complaints.append(f"{self._path}: more may follow")
                    break
        if complaints:
            raise ManifestError("\n".join(complaints))
        if count == 0:
            raise ManifestError(f"{self._path}: holds no pairs")
        return count

    @staticmethod
    def _once(seen: sqlite3.Connection, identity: str, line: int) -> None:
        try:
            seen.execute("INSERT INTO seen VALUES (?, ?)", (identity, line))
        except sqlite3.IntegrityError:
            (first,) = seen.execute("SELECT line FROM seen WHERE id = ?", (identity,)).fetchone()
            raise ValueError(f'its id "{identity}" stands in line {first}, too') from None


def as_pairs(pairs: object, keep: Sequence[str] = ()) -> Manifest | list[Pair]:
    """Pairs from a path of a manifest, or from pairs and mappings of their members.

    Raises
    ------
    ManifestError
        When they make no sense.
    """
    if isinstance(pairs, Manifest):
        return pairs
    if isinstance(pairs, (str, os.PathLike)):
        return Manifest(pairs, keep)
    if not isinstance(pairs, Iterable):
        raise TypeError(f"pairs is of type {type(pairs).__name__}; accepted: a path, or Pairs")
    made = [pair if isinstance(pair, Pair) else Pair(**pair) for pair in pairs]
    ids = {pair.id for pair in made}
    if len(ids) < len(made):
        raise ManifestError("pairs: an id is given twice")
    if not made:
        raise ManifestError("pairs: there are none")
    return made


def _csv_line(cells: Iterable[str]) -> str:
    buffer = io.StringIO()
    csv.writer(buffer, lineterminator="\n").writerow(cells)
    return buffer.getvalue()


def write_manifest(path: str, pairs: Iterable[Pair]) -> None:
    """Write a manifest with paths relative to it; ``-`` is standard output, relative to here."""
    folder = Path.cwd() if path == "-" else Path(path).resolve().parent
    lines = [_csv_line((*REQUIRED, "structures", "group", "date"))]
    for pair in pairs:
        paths = (pair.reference, pair.evaluation, pair.structures)
        relative = (os.path.relpath(Path(p).resolve(), folder) if p else "" for p in paths)
        lines.append(_csv_line((pair.id, *relative, pair.group, pair.date)))
    write_whole(path, lines)
