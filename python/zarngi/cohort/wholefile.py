"""Files that appear when they are complete."""

from __future__ import annotations

import os
import sys
from collections.abc import Iterable
from pathlib import Path


def write_whole(path: str, parts: Iterable[str]) -> None:
    """Write a text under a temporary name and rename it; ``-`` is standard output.

    Raises
    ------
    OSError
        When it cannot be written; nothing is left behind.
    """
    if path == "-":
        # As in a file, whatever the system has for its terminals.
        for part in parts:
            sys.stdout.buffer.write(part.encode())
        sys.stdout.flush()
        return
    target = Path(path).resolve()
    if target.exists() and not target.is_file():
        with open(target, "w", encoding="utf-8") as file:
            file.writelines(parts)
        return
    temporary = target.with_name(f".{target.name}.{os.getpid()}")
    try:
        with open(temporary, "w", encoding="utf-8", newline="") as file:
            file.writelines(parts)
        os.replace(temporary, target)
    finally:
        temporary.unlink(missing_ok=True)
