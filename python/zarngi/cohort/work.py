"""A pair while it is computed: its files, and what they hold."""

from __future__ import annotations

import fnmatch
import time
import warnings
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import TypeVar

from .._grid import DoseGrid
from .._points import DosePoints
from .._structures import StructureSet
from ..io import _host, _structures
from ..io._read import dose_grid
from .files import state_of
from .manifest import Pair
from .reader import NoAnswer, within
from .record import Failure, FileState, Task
from .sentences import sentence

Doses = DoseGrid | DosePoints
_Value = TypeVar("_Value")


class PairFailed(Exception):
    """Carries the failure of a pair."""

    def __init__(self, failure: Failure) -> None:
        super().__init__(failure.sentence)
        self.failure = failure


@dataclass
class Work:
    """A pair while it is computed."""

    task: Task
    files: list[tuple[FileState, str]] = field(default_factory=list)
    warnings: list[str] = field(default_factory=list)
    reading: float = 0.0
    searching: float = 0.0

    @property
    def pair(self) -> Pair:
        """The pair."""
        return self.task.pair

    def fail(self, error: BaseException, role: str | None = None) -> PairFailed:
        """What to raise when something is wrong."""
        is_final = isinstance(error, ValueError)
        return PairFailed(Failure(sentence(self.pair, error, role), is_final))

    def warn(self, text: str, role: str | None = None) -> None:
        """Keep a warning, once."""
        told = sentence(self.pair, text, role)
        if told not in self.warnings:
            self.warnings.append(told)

    def read(self, read: Callable[[], _Value]) -> _Value:
        """What is read, within the time that a file may take."""
        start = time.perf_counter()
        try:
            return within(self.task.read_timeout, read)
        finally:
            self.reading += time.perf_counter() - start


@dataclass
class _Read:
    grid: Doses
    is_relative: bool


def read_both(work: Work) -> tuple[Doses, Doses]:
    """The reference and the evaluation.

    Raises
    ------
    PairFailed
        When one cannot be read, or they do not go together.
    """
    reference = _read(work, "reference")
    evaluation = _read(work, "evaluation")
    if reference.is_relative != evaluation.is_relative:
        raise work.fail(ValueError("one file holds relative doses and the other one Gy"))
    return reference.grid, evaluation.grid


def _read(work: Work, role: str) -> _Read:
    path: str = getattr(work.pair, role)
    try:
        dose = work.read(lambda: _read_dose(work, role, path))
        has_unit = work.task.settings.normalisation is not None
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            grid = dose_grid(path, dose, allow_relative=has_unit, allow_error_doses=False)
    except (OSError, ValueError, NoAnswer) as error:
        raise work.fail(error, role) from error
    for warning in caught:
        work.warn(str(warning.message), role)
    return _Read(grid, dose.is_relative)


def _read_dose(work: Work, role: str, path: str) -> _host.Dose:
    # Before the contents are read: a file that changes meanwhile has another time afterwards.
    work.files.append((state_of(role, path), path))
    dose = _host.read_file(path)
    if dose.data_path != path:
        data = dose.data_path
        work.files.append((state_of(f"{role} data", data, data_of=path), data))
    return dose


@dataclass
class Structures:
    """Structures of a pair.

    Attributes
    ----------
    chosen : StructureSet
        Those that are shown.
    names : tuple of str
        By what they were chosen; empty: all.
    """

    chosen: StructureSet
    names: tuple[str, ...]


def read_structures(work: Work) -> Structures | None:
    """The structures that are asked for, as far as the pair has them; all where none are named.

    Raises
    ------
    PairFailed
        When they cannot be read.
    """
    path = work.pair.structures
    if not path:
        return None
    try:
        source = work.read(lambda: _read_source(work, path))
    except (OSError, ValueError, NoAnswer) as error:
        raise work.fail(error, "structures") from error
    for warning in source.description["warnings"]:
        work.warn(warning, "structures")
    return _chosen(work, StructureSet(source, path))


def _read_source(work: Work, path: str) -> _structures.Structures:
    work.files.append((state_of("structures", path), path))
    return _structures.read_file(path)


def _chosen(work: Work, found: StructureSet) -> Structures | None:
    """Names of a cohort are not in every pair."""
    wanted = work.task.settings.structures or ()
    there = tuple(name for name in wanted if "=" in name or fnmatch.filter(found, name))
    for name in wanted:
        if name not in there:
            work.warn(f'has no "{name}"', "structures")
    if wanted and not there:
        return None
    return Structures(found.select(*there), there)
