"""Sentences that are stored: they name the pair and not its files, whose names may be patients'."""

from __future__ import annotations

import os
import re

from .manifest import Pair

_DATA_FILE = re.compile(r"\bits data file .*?(?= (?:is|cannot|holds|ends|has|comes)\b|$)")


def _without_names(text: str, role: str, path: str) -> str:
    text = _DATA_FILE.sub("its data file", text)
    for part in (path, os.path.basename(path)):
        text = text.replace(part, role) if part else text
    return text


def sentence(pair: Pair, error: BaseException | str, role: str | None = None) -> str:
    """One line: the pair's id, which of its files, and the reason.

    Parameters
    ----------
    pair : Pair
        The pair.
    error : exception or str
        What is wrong.
    role : str, optional
        "reference", "evaluation" or "structures", where one file is to blame.
    """
    text = str(error) or type(error).__name__
    if isinstance(error, OSError) and error.strerror:
        text = error.strerror
    if role is None:
        for name in ("reference", "evaluation"):
            path = getattr(pair, name)
            text = text.replace(path, name) if path else text
        return f"{pair.id}: {_one_line(text)}"
    path = getattr(pair, role)
    text = text.removeprefix(f"{path}: ")
    return f"{pair.id}: {role}: {_one_line(_without_names(text, role, path))}"


def _one_line(text: str) -> str:
    return " ".join(text.split())
