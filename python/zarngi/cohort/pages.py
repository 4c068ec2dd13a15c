"""The page of a pair."""

from __future__ import annotations

import hashlib
import os
import tempfile
from collections.abc import Sequence
from functools import cache
from importlib import resources
from pathlib import Path
from urllib.parse import quote

from ..io._comparison import Comparison
from .record import FIGURES, Pages, Row
from .sentences import reason_of
from .work import Work

_RATE = FIGURES.index("pass_rate")
_LONGEST_NAME = 200  # bytes, below the 255 of file systems


@cache
def template() -> bytes:
    """The page without data.

    Raises
    ------
    OSError
        When this installation came without it.
    """
    return resources.files("zarngi").joinpath("report.html").read_bytes()


def page_name(identity: str) -> str:
    """The file of a pair's page, whatever characters its id has."""
    name = quote(identity, safe=" ")
    if len(name) > _LONGEST_NAME:
        name = f"{name[:100]}-{hashlib.sha256(identity.encode()).hexdigest()}"
    return f"{name}.html"


def is_due(pages: Pages, rows: Sequence[Row]) -> bool:
    """Whether a pair with these results gets a page."""
    told = [row for row in rows if row.figures[_RATE] is not None]
    rates = [row.figures[_RATE] for row in told if not row.structure]
    rates = rates or [row.figures[_RATE] for row in told]
    return bool(rates) and min(rates) < pages.below


def write_page(work: Work, pages: Pages, made: Comparison) -> str | None:
    """Write the page of a pair.

    Parameters
    ----------
    work : Work
        The pair; takes a warning when the page cannot be written, which is no failure of the pair.
    pages : Pages
        Where.
    made : Comparison
        What it shows, without the names of the files.

    Returns
    -------
    str or None
        The file's name in the folder.
    """
    identity = work.pair.id
    name = page_name(identity)
    try:
        page = made.page(template(), alias=identity)
        # A folder beside the page: on the same file system, and never a page by half.
        with tempfile.TemporaryDirectory(dir=pages.folder, prefix=".") as scratch:
            written = Path(scratch) / "page.html"
            written.write_bytes(page)
            os.replace(written, Path(pages.folder) / name)
    except (OSError, ValueError) as error:
        work.warn(f"its page could not be written ({reason_of(error)})")
        return None
    return name
