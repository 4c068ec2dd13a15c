"""Voxel values in the data part of a MetaImage or NRRD file."""

from __future__ import annotations

import zlib
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from ._volume import FormatError, one_line

_AUTO_HEADER = 47  # zlib's window size with either of the zlib and gzip headers


def read_values(
    path: Path, position: int, count: int, dtype: np.dtype[Any], *, compressed: bool
) -> npt.NDArray[Any]:
    """Read `count` values that begin at a byte position; negative: at the end of the file."""
    needed = count * dtype.itemsize
    available = path.stat().st_size
    if position < 0:
        position = available - needed
    if not compressed and not 0 <= position <= available - needed:
        raise _too_short(needed, available - position)
    with path.open("rb") as file:
        file.seek(position)
        data = _inflated(file.read(), needed) if compressed else file.read(needed)
    if len(data) < needed:
        raise _too_short(needed, len(data))
    return np.frombuffer(data, dtype, count)


def read_text_values(path: Path, position: int, count: int) -> npt.NDArray[np.float64]:
    """Read `count` values written as text from a byte position on."""
    with path.open("rb") as file:
        file.seek(position)
        words = file.read().split()
    if len(words) < count:
        raise FormatError(f"it is cut short: {len(words)} values instead of {count}")
    try:
        return np.array(words[:count], dtype=np.float64)
    except ValueError as error:
        raise FormatError(f"its values are damaged ({one_line(error)})") from None


def _inflated(data: bytes, needed: int) -> bytes:
    """At most `needed` bytes, whatever a header or the data claim."""
    try:
        return zlib.decompressobj(_AUTO_HEADER).decompress(data, needed)
    except zlib.error as error:
        raise FormatError(f"its compressed data are damaged ({one_line(error)})") from None


def _too_short(needed: int, available: int) -> FormatError:
    return FormatError(
        f"it is cut short, or its header lies: {max(available, 0)} bytes of data instead of "
        f"{needed}"
    )


def referenced_file(header: Path, name: str) -> Path:
    """The data file that a header names, beside the header."""
    if name.split(" ")[0].upper() == "LIST" or "%" in name:
        raise FormatError("its data are spread over several files; write them into one")
    path = header.parent / name
    if not path.is_file():
        raise FormatError(f"its data file {path} is missing")
    return path
