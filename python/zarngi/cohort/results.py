"""The results file: SQLite, written by one process, each pair in one transaction."""

from __future__ import annotations

import json
import os
import sqlite3
from collections.abc import Iterable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from datetime import datetime, timezone
from typing import Any

from .errors import ResultsError
from .manifest import Pair
from .record import FIGURES, WITHOUT_NOISE, FileState, Outcome

_APPLICATION = 0x5A474943  # "ZGIC"
_FORMAT = 2
_FIRST_FORMAT = 1  # of versions before 4.6: without WITHOUT_NOISE
_PATIENCE = 30.0  # s, for a reader that holds the file

_SCHEMA = """
CREATE TABLE pairs (
    id TEXT PRIMARY KEY,
    number INTEGER NOT NULL,      -- place in the manifest
    "group" TEXT NOT NULL,
    date TEXT NOT NULL,           -- ISO 8601
    labels TEXT NOT NULL,         -- JSON: further columns of the manifest
    settings TEXT NOT NULL,       -- JSON: criteria and options
    version TEXT NOT NULL,        -- of zarngi
    page TEXT,                    -- file of its page
    reading REAL NOT NULL,        -- s
    searching REAL NOT NULL,      -- s
    finished TEXT NOT NULL        -- UTC, ISO 8601
) WITHOUT ROWID;
CREATE INDEX pairs_in_order ON pairs (number, id);
CREATE TABLE files (
    id TEXT NOT NULL REFERENCES pairs ON DELETE CASCADE,
    place INTEGER NOT NULL,
    role TEXT NOT NULL,
    name TEXT NOT NULL,           -- digest of a data file's name
    size INTEGER,
    mtime INTEGER,                -- ns
    sha256 TEXT,
    PRIMARY KEY (id, place)
) WITHOUT ROWID;
CREATE TABLE results (
    id TEXT NOT NULL REFERENCES pairs ON DELETE CASCADE,
    place INTEGER NOT NULL,
    criterion TEXT NOT NULL,
    structure TEXT NOT NULL,      -- empty: everything tested
    tested INTEGER, passed INTEGER, failed INTEGER, hot INTEGER, cold INTEGER, unreached INTEGER,
    pass_rate REAL, mean REAL, p95 REAL, p99 REAL, maximum REAL,
    without_noise REAL, without_noise_lower REAL, without_noise_upper REAL,
    PRIMARY KEY (id, place),
    UNIQUE (id, criterion, structure)
) WITHOUT ROWID;
CREATE TABLE failures (
    id TEXT PRIMARY KEY REFERENCES pairs ON DELETE CASCADE,
    sentence TEXT NOT NULL,
    is_final INTEGER NOT NULL     -- 0: tried again by the next run
) WITHOUT ROWID;
CREATE TABLE warnings (
    id TEXT NOT NULL REFERENCES pairs ON DELETE CASCADE,
    place INTEGER NOT NULL,
    sentence TEXT NOT NULL,
    PRIMARY KEY (id, place)
) WITHOUT ROWID;
"""

#: All tables, a pair's own first.
TABLES = ("pairs", "files", "results", "failures", "warnings")


@dataclass(frozen=True)
class Known:
    """What is stored of a pair."""

    settings: str
    version: str
    page: str | None
    files: tuple[FileState, ...]
    lowest_rate: float | None
    is_failure: bool
    is_final: bool


class Results:
    """An open results file.

    Parameters
    ----------
    path : str or os.PathLike
        The file.
    create : bool
        Whether to write, and to make the file where there is none.

    Raises
    ------
    ResultsError
        When it is something else, cannot be opened or, later, cannot be written.
    """

    def __init__(self, path: str | os.PathLike[str], *, create: bool = False) -> None:
        self.path = os.fspath(path)
        if not create and self.path != ":memory:" and not os.path.exists(self.path):
            raise ResultsError(f"{self.path}: does not exist")
        with self._explained():
            self._database = sqlite3.connect(
                self.path, timeout=_PATIENCE, isolation_level=None, check_same_thread=False
            )
            self._database.execute("PRAGMA foreign_keys = ON")
            self._check_format(create)

    def close(self) -> None:
        """Close the file."""
        self._database.close()

    def __enter__(self) -> Results:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _pragma(self, name: str) -> int:
        return int(self._database.execute(f"PRAGMA {name}").fetchone()[0])

    def _check_format(self, create: bool) -> None:
        is_empty = self._pragma("page_count") == 0
        if is_empty and create:
            # A rollback journal: what the network file systems of clusters bear.
            self._database.execute("PRAGMA journal_mode = DELETE")
            with self.transaction():
                self._database.execute(f"PRAGMA application_id = {_APPLICATION}")
                self._database.execute(f"PRAGMA user_version = {_FORMAT}")
                for statement in _SCHEMA.split(";\n"):
                    if statement.strip():
                        self._database.execute(statement)
        elif self._pragma("application_id") != _APPLICATION:
            raise ResultsError(f"{self.path}: is no results file of zarngi-cohort")
        elif self._pragma("user_version") == _FIRST_FORMAT:
            self._bring_up_to_date(create)
        elif self._pragma("user_version") != _FORMAT:
            raise ResultsError(f"{self.path}: is of another version of zarngi-cohort")

    def _bring_up_to_date(self, is_written: bool) -> None:
        """A file of the first format; one that is only read stays as it is."""
        if not is_written:
            missing = ", ".join(f"NULL AS {name}" for name in WITHOUT_NOISE)
            self._database.execute(
                f"CREATE TEMP VIEW results AS SELECT *, {missing} FROM main.results"
            )
            return
        with self.transaction():
            for name in WITHOUT_NOISE:
                self._database.execute(f"ALTER TABLE results ADD COLUMN {name} REAL")
            self._database.execute(f"PRAGMA user_version = {_FORMAT}")

    @contextmanager
    def _explained(self) -> Iterator[None]:
        try:
            yield
        except sqlite3.DatabaseError as error:
            if "not a database" in str(error):
                raise ResultsError(f"{self.path}: is no results file of zarngi-cohort") from error
            raise ResultsError(f"{self.path}: {error}") from error

    @contextmanager
    def transaction(self) -> Iterator[None]:
        """All of it or nothing."""
        with self._explained():
            self._database.execute("BEGIN IMMEDIATE")
            try:
                yield
                self._database.execute("COMMIT")
            except BaseException:
                # A full disk may have ended the transaction already.
                if self._database.in_transaction:
                    self._database.execute("ROLLBACK")
                raise

    def select(self, statement: str, parameters: Iterable[Any] = ()) -> Iterator[tuple[Any, ...]]:
        """The rows of a query."""
        with self._explained():
            yield from self._database.execute(statement, tuple(parameters))

    def known(self, identity: str) -> Known | None:
        """What is stored of a pair, where there is something."""
        rows = list(
            self.select(
                "SELECT settings, version, page,"
                " (SELECT min(pass_rate) FROM results WHERE id = p.id AND structure = ''),"
                " (SELECT is_final FROM failures WHERE id = p.id) FROM pairs p WHERE id = ?",
                (identity,),
            )
        )
        if not rows:
            return None
        settings, version, page, rate, is_final = rows[0]
        files = self.select(
            "SELECT role, name, size, mtime, sha256 FROM files WHERE id = ? ORDER BY place",
            (identity,),
        )
        states = tuple(FileState(*row) for row in files)
        return Known(settings, version, page, states, rate, is_final is not None, bool(is_final))

    def store(self, outcomes: Iterable[Outcome]) -> None:
        """Put pairs into the file, in the place of what was stored of them: all or none."""
        with self.transaction():
            for outcome in outcomes:
                self._store(outcome)

    def _store(self, outcome: Outcome) -> None:
        task, execute = outcome.task, self._database.execute
        pair = task.pair
        execute("DELETE FROM pairs WHERE id = ?", (pair.id,))
        finished = datetime.now(timezone.utc).isoformat(timespec="milliseconds")
        execute(
            "INSERT INTO pairs VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
            (pair.id, task.number, *_description(pair), task.settings.text(), outcome.version,
             outcome.page, outcome.reading, outcome.searching, finished),
        )  # fmt: skip
        for place, file in enumerate(outcome.files):
            execute(
                "INSERT INTO files VALUES (?, ?, ?, ?, ?, ?, ?)",
                (pair.id, place, file.role, file.name, file.size, file.mtime, file.sha256),
            )
        for place, row in enumerate(outcome.rows):
            execute(
                f"INSERT INTO results VALUES (?, ?, ?, ?{', ?' * len(FIGURES)})",
                (pair.id, place, row.criterion, row.structure, *row.figures),
            )
        for place, text in enumerate(outcome.warnings):
            execute("INSERT INTO warnings VALUES (?, ?, ?)", (pair.id, place, text))
        if outcome.failure is not None:
            failure = outcome.failure
            execute(
                "INSERT INTO failures VALUES (?, ?, ?)",
                (pair.id, failure.sentence, failure.is_final),
            )

    def describe(self, number: int, pair: Pair) -> None:
        """Bring a pair's place, group, date and labels up to date; its results stay."""
        wanted = (number, *_description(pair))
        stored = self.select(
            'SELECT number, "group", date, labels FROM pairs WHERE id = ?', (pair.id,)
        )
        if next(stored, None) == wanted:
            return
        with self.transaction():
            self._database.execute(
                'UPDATE pairs SET number = ?, "group" = ?, date = ?, labels = ? WHERE id = ?',
                (*wanted, pair.id),
            )

    def insert(self, table: str, row: tuple[Any, ...]) -> None:
        """Put a row of another results file into a table; inside of a transaction."""
        marks = ", ".join("?" * len(row))
        self._database.execute(f"INSERT INTO {table} VALUES ({marks})", row)

    def remove(self, identity: str) -> None:
        """Remove a pair and all that belongs to it; inside of a transaction."""
        self._database.execute("DELETE FROM pairs WHERE id = ?", (identity,))


def _description(pair: Pair) -> tuple[str, str, str]:
    return pair.group, pair.date, json.dumps(dict(pair.labels), ensure_ascii=False)
