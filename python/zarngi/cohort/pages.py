"""The page of a pair, written by the program zarngi."""

from __future__ import annotations

import hashlib
import os
import shutil
import subprocess
import tempfile
from collections.abc import Sequence
from pathlib import Path
from urllib.parse import quote

from .record import FIGURES, Pages, Row, Task
from .settings import Settings
from .work import Work

_PROGRAM = "zarngi"
_TIME_LIMIT = 600  # s
_RATE = FIGURES.index("pass_rate")
_LONGEST_NAME = 200  # bytes, below the 255 of file systems


def program() -> str | None:
    """The program that writes pages, where there is one."""
    return shutil.which(os.environ.get("ZARNGI_PROGRAM", _PROGRAM))


def page_name(identity: str) -> str:
    """The file of a pair's page, whatever characters its id has."""
    name = quote(identity, safe=" ")
    if len(name) > _LONGEST_NAME:
        name = f"{name[:100]}-{hashlib.sha256(identity.encode()).hexdigest()}"
    return f"{name}.html"


def is_due(pages: Pages, rows: Sequence[Row]) -> bool:
    """Whether a pair with these results gets a page."""
    rates = [row.figures[_RATE] for row in rows if not row.structure]
    return bool(rates) and min(rates) < pages.below


def write_page(work: Work, pages: Pages, structures: Sequence[str] | None) -> str | None:
    """Write the page of a pair.

    Parameters
    ----------
    work : Work
        The pair; takes a warning when the page cannot be written, which is no failure of the pair.
    pages : Pages
        Where.
    structures : sequence of str, or None
        What the page shows of the pair's structures, as `zarngi compare --structure` takes it; empty:
        all; None: none.

    Returns
    -------
    str or None
        The file's name in the folder.
    """
    identity = work.pair.id
    name = page_name(identity)
    try:
        # A folder beside the page: on the same file system, and never a page by half.
        with tempfile.TemporaryDirectory(dir=pages.folder, prefix=".") as scratch:
            made = Path(scratch) / "page.html"
            _run(work.task, structures, str(made))
            os.replace(made, Path(pages.folder) / name)
    except (OSError, ValueError, subprocess.SubprocessError) as error:
        work.warn(f"its page could not be written ({_reason(error)})")
        return None
    return name


def _reason(error: Exception) -> str:
    if isinstance(error, OSError) and error.strerror:
        return error.strerror
    if isinstance(error, subprocess.CalledProcessError):
        return f"zarngi ended with status {error.returncode}"
    return type(error).__name__


def _run(task: Task, structures: Sequence[str] | None, made: str) -> None:
    found = program()
    if found is None:
        raise FileNotFoundError(0, "the program zarngi was not found")
    command = [found, "compare", f"--report={made}", f"--anonymous={task.pair.id}"]
    command += _options(task.settings)
    if structures is not None:
        command.append(f"--structures={os.path.abspath(task.pair.structures)}")
        command += [f"--structure={name}" for name in structures]
    command += ["--", os.path.abspath(task.pair.reference), os.path.abspath(task.pair.evaluation)]
    subprocess.run(command, check=True, capture_output=True, timeout=_TIME_LIMIT)


def _options(settings: Settings) -> list[str]:
    options = [f"--criteria={criterion}" for criterion in settings.criteria]
    options += [f"--dco={settings.dose_cutoff!r}", f"--max-gamma={settings.max_gamma!r}"]
    options.append("--threads=1")
    if settings.normalisation is not None:
        options.append(f"--norm={settings.normalisation!r}")
    if settings.step is not None:
        options.append(f"--step={settings.step!r}")
    if not settings.interpolate:
        options.append("--nearest")
    if settings.mode == "pass_rate":
        options.append("--pass-rate-only")
    if settings.slices:
        options.append("--slices")
    return options
