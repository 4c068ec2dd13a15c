"""Sentences that are stored: they name the pair and not its files, whose names may be patients'."""

from __future__ import annotations

from .manifest import Pair


def sentence(pair: Pair, text: str, role: str | None = None) -> str:
    """One line: the pair's id, which of its files, and the reason.

    Parameters
    ----------
    pair : Pair
        The pair.
    text : str
        What is wrong, without names of files.
    role : str, optional
        "reference", "evaluation" or "structures", where one file is to blame.
    """
    line = " ".join(text.split())
    return f"{pair.id}: {line}" if role is None else f"{pair.id}: {role}: {line}"


def counted(pairs: int) -> str:
    """How many pairs: "1 pair", "7 pairs"."""
    return f"{pairs} pair" if pairs == 1 else f"{pairs} pairs"


def reason_of(error: BaseException) -> str:
    """What an error says beside the file that it names."""
    if isinstance(error, OSError) and error.strerror:
        return error.strerror
    return str(error) or type(error).__name__
