"""Files that appear whole or not at all."""

from __future__ import annotations

import os
from pathlib import Path


def write_whole(path: str | os.PathLike[str], contents: bytes) -> None:
    """Write a file, which appears when it is complete.

    Raises
    ------
    OSError
        When it cannot be written; nothing is left behind.
    """
    target = Path(path).resolve()
    temporary = target.with_name(f".{target.name}.{os.getpid()}")
    try:
        temporary.write_bytes(contents)
        os.replace(temporary, target)
    finally:
        temporary.unlink(missing_ok=True)
