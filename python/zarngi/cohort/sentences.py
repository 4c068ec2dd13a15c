"""Sentences that are stored: they name the pair and not its files, whose names may be patients'."""

from __future__ import annotations

import re

from .manifest import Pair


def _without(text: str, path: str, role: str) -> str:
    """The text with the role of a file in the place of its path."""
    return re.sub(rf"(?<!\w){re.escape(path)}(?!\w)", role, text) if path else text


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
            text = _without(text, getattr(pair, name), name)
        return f"{pair.id}: {_one_line(text)}"
    path = getattr(pair, role)
    text = _without(text.removeprefix(f"{path}: "), path, role)
    return f"{pair.id}: {role}: {_one_line(text)}"


def _one_line(text: str) -> str:
    return " ".join(text.split())
