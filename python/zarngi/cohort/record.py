"""What goes to a worker and comes back: small records only."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

from .manifest import Pair
from .settings import Settings

#: Voxels.
COUNTS = ("tested", "passed", "failed", "hot", "cold", "unreached")
#: What the doses without their statistical noise would give, in %, and the ends of its interval; None
#: where it was not asked for or cannot be told.
WITHOUT_NOISE = ("without_noise", "without_noise_lower", "without_noise_upper")
#: Columns of a row of results, behind the criterion and the structure: the pass rate in %, then
#: gamma over the tested and reached voxels.
FIGURES = (*COUNTS, "pass_rate", "mean", "p95", "p99", "maximum", *WITHOUT_NOISE)


@dataclass(frozen=True)
class FileState:
    """What tells whether a file is still the same.

    Attributes
    ----------
    role : str
        "reference", "evaluation" or "structures"; with " data" behind it the file that the header
        names for its values.
    name : str
        Of a data file, a digest of its name.
    size, mtime : int or None
        Bytes, and ns since 1970; None where the file is not a regular one.
    sha256 : str or None
        Digest; None where the pair failed, or the file is not a regular one.
    """

    role: str
    name: str
    size: int | None
    mtime: int | None
    sha256: str | None = None


@dataclass(frozen=True)
class Row:
    """What came out for a criterion and a structure ("": everything tested)."""

    criterion: str
    structure: str
    figures: tuple[Any, ...]  # as FIGURES


@dataclass(frozen=True)
class Failure:
    """Why there are no results.

    Attributes
    ----------
    sentence : str
        One line that begins with the pair's id.
    is_final : bool
        Whether the files are to blame, so that trying again is of no use while they are the same.
    """

    sentence: str
    is_final: bool


@dataclass(frozen=True)
class Pages:
    """Where pages are written, and for which pairs.

    Attributes
    ----------
    folder : str
        The folder.
    below : float
        Only pairs with a pass rate below this one (%) get a page.
    """

    folder: str
    below: float


#: Seconds that reading a file may take. None takes as long: there is no answer.
READ_TIMEOUT = 600.0


@dataclass(frozen=True)
class Task:
    """A pair to compute. `known`, where it is given, are files whose digests make that needless."""

    number: int
    pair: Pair
    settings: Settings
    pages: Pages | None = None
    known: tuple[FileState, ...] = ()
    read_timeout: float = READ_TIMEOUT  # s


@dataclass(frozen=True)
class Outcome:
    """What became of a task."""

    task: Task
    version: str
    rows: tuple[Row, ...] = ()
    files: tuple[FileState, ...] = ()
    warnings: tuple[str, ...] = ()
    failure: Failure | None = None
    page: str | None = None
    reading: float = 0.0  # s
    searching: float = 0.0  # s
    is_unchanged: bool = False
