"""How far a run is, for a person at a terminal."""

from __future__ import annotations

import sys
import time
from dataclasses import dataclass, field
from typing import TextIO

from .sentences import counted

_EVERY = 0.2  # s


@dataclass
class Counts:
    """Pairs of a run.

    Attributes
    ----------
    total : int
        In the manifest or the shard.
    kept : int
        Done by an earlier run.
    computed : int
        By this one, with failures.
    failed : int
        Of the kept and the computed ones.
    """

    total: int
    kept: int = 0
    computed: int = 0
    failed: int = 0
    started: float = field(default_factory=time.monotonic)

    @property
    def seconds(self) -> float:
        """Since the start."""
        return time.monotonic() - self.started

    @property
    def left(self) -> int:
        """Pairs that are not settled."""
        return self.total - self.kept - self.computed


def duration(seconds: float) -> str:
    """Seconds as a person says them."""
    if seconds < 90:
        return f"{seconds:.0f} s"
    if seconds < 5400:
        return f"{seconds / 60:.0f} min"
    return f"{seconds / 3600:.1f} h"


class ProgressLine:
    """A line that is written again and again, only on a terminal."""

    def __init__(self, stream: TextIO | None = None) -> None:
        self._stream = sys.stderr if stream is None else stream
        self._is_shown = self._stream.isatty()
        self._last = 0.0
        self._width = 0  # of what is shown

    def __call__(self, counts: Counts) -> None:
        """Show how far it is."""
        now = time.monotonic()
        if not self._is_shown or now - self._last < _EVERY:
            return
        self._last = now
        self._show(self.text(counts))

    def end(self) -> None:
        """Remove the line."""
        if self._is_shown:
            self._show("")
            self._stream.write("\r")
            self._stream.flush()

    def _show(self, text: str) -> None:
        """Blanks over what was longer: not every terminal knows a sequence that erases."""
        self._stream.write(f"\r{text.ljust(self._width)}")
        self._stream.flush()
        self._width = len(text)

    @staticmethod
    def text(counts: Counts) -> str:
        """The line."""
        parts = [f"{counts.total - counts.left} of {counted(counts.total)}"]
        if counts.computed and counts.seconds > 0:
            rate = counts.computed / counts.seconds
            parts.append(f"{rate:.3g} pairs/s")
            parts.append(f"{duration(counts.left / rate)} left")
        parts.insert(1, f"{counts.failed} failed")
        return ", ".join(parts)
