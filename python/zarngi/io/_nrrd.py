"""NRRD files (.nrrd; .nhdr with its data file)."""

from __future__ import annotations

import gzip
import re
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _binary
from ._volume import (
    IDENTITY,
    FormatError,
    Volume,
    check_sizes,
    numbers,
    spacing_and_axes,
    whole_numbers,
)

_LONGEST_HEADER = 1 << 20  # bytes

_TYPES = {
    "i1": ("int8", "signed char", "int8_t"),
    "u1": ("uint8", "uchar", "unsigned char", "uint8_t"),
    "i2": ("int16", "short", "short int", "signed short", "signed short int", "int16_t"),
    "u2": ("uint16", "ushort", "unsigned short", "unsigned short int", "uint16_t"),
    "i4": ("int32", "int", "signed int", "int32_t"),
    "u4": ("uint32", "uint", "unsigned int", "uint32_t"),
    "i8": (
        "int64",
        "longlong",
        "long long",
        "long long int",
        "signed long long",
        "signed long long int",
        "int64_t",
    ),
    "u8": ("uint64", "ulonglong", "unsigned long long", "unsigned long long int", "uint64_t"),
    "f4": ("float",),
    "f8": ("double",),
}
_CODES = {name: code for code, names in _TYPES.items() for name in names}

# Signs that bring a space's axes to left, posterior, superior.
_SPACE_SIGNS = {
    "left-posterior-superior": (1, 1, 1),
    "lps": (1, 1, 1),
    "right-anterior-superior": (-1, -1, 1),
    "ras": (-1, -1, 1),
    "left-anterior-superior": (1, -1, 1),
    "las": (1, -1, 1),
}


def read(path: Path) -> Volume:
    """Read a NRRD file."""
    header, end = _read_header(path)
    sizes = whole_numbers(_entry(header, "sizes"), "a grid size")
    count = check_sizes(sizes)
    _check_units(header)
    spacing, origin, axes = _geometry(header, len(sizes))
    values = _values(header, path, end, count)
    return Volume(values.reshape(sizes[2::-1]), spacing, origin, axes)


def _read_header(path: Path) -> tuple[dict[str, str], int]:
    """Entries by lower-case field, and the position of the first byte after the header."""
    with path.open("rb") as file:
        text = file.read(_LONGEST_HEADER)
    entries: dict[str, str] = {}
    position = 0
    while position < len(text):
        line_end = text.find(b"\n", position)
        line_end = len(text) if line_end < 0 else line_end
        line = text[position:line_end].decode("latin-1").rstrip("\r")
        position = line_end + 1
        if not line:
            return entries, position
        field, separator, value = line.partition(":")
        if separator and not line.startswith("#") and not value.startswith("="):
            entries[field.strip().lower()] = value.strip()
    if "data file" in entries or "datafile" in entries:
        return entries, position
    raise FormatError("its header has no end")


def _entry(header: dict[str, str], key: str) -> str:
    if key not in header:
        raise FormatError(f"its header has no {key}")
    return header[key]


def _check_units(header: dict[str, str]) -> None:
    for key in ("units", "space units"):
        if set(header.get(key, "")) - set(' "m'):
            raise FormatError(f"its lengths are in {header[key]}, not in mm")


def _geometry(
    header: dict[str, str], dimensions: int
) -> tuple[list[float], list[float], list[list[float]]]:
    signs = (1, 1, 1)
    if "space" in header:
        space = header["space"].lower()
        if space not in _SPACE_SIGNS:
            raise FormatError(f"its space {header['space']!r} is not supported")
        signs = _SPACE_SIGNS[space]
    if "space directions" in header:
        steps = [
            [sign * c for sign, c in zip(signs, vector)]
            for vector in _vectors(header["space directions"], "a direction")
        ]
        if len(steps) != 3:
            raise FormatError(f"its header gives {len(steps)} space directions instead of 3")
        spacing, axes = spacing_and_axes(steps)
    elif "spacings" in header:
        spacing = numbers(header["spacings"], "a voxel size", dimensions)[:3]
        axes = [list(axis) for axis in IDENTITY]
    else:
        raise FormatError("its header tells no voxel size")
    origin = [0.0, 0.0, 0.0]
    if "space origin" in header:
        vector = _vectors(header["space origin"], "an origin")
        if len(vector) != 1:
            raise FormatError(f"its header gives an origin of {header['space origin']!r}")
        origin = [sign * c for sign, c in zip(signs, vector[0])]
    elif "axis mins" in header or "axismins" in header:
        raise FormatError("its position is given as axis mins; give it as space origin")
    return spacing, origin, axes


def _vectors(text: str, what: str) -> list[list[float]]:
    """The vectors of an entry such as ``(1,0,0) (0,1,0) none``, each of three numbers."""
    words = re.findall(r"\(([^()]*)\)", text)
    return [numbers(word, what, 3) for word in words]


def _values(header: dict[str, str], path: Path, end: int, count: int) -> npt.NDArray[Any]:
    type_name = _entry(header, "type").lower()
    if type_name not in _CODES:
        raise FormatError(f"it has values of the unknown type {type_name!r}")
    name = header.get("data file", header.get("datafile"))
    data_path = path if name is None else _binary.referenced_file(path, name)
    start = end if name is None else 0
    if header.get("line skip", header.get("lineskip", "0")) != "0":
        raise FormatError("its data begin after skipped lines, which is not supported")
    skip = whole_numbers(header.get("byte skip", header.get("byteskip", "0")), "a byte skip", 1)[0]
    encoding = header.get("encoding", "raw").lower()
    if encoding in ("ascii", "text", "txt"):
        return _binary.read_text_values(data_path, start, count)
    if encoding not in ("raw", "gzip", "gz"):
        raise FormatError(f"its encoding {encoding!r} is not supported")
    compressed = encoding != "raw"
    if compressed and skip != 0:
        raise FormatError("its compressed data begin with skipped bytes, which is not supported")
    big_endian = header.get("endian", "little").lower() == "big"
    dtype = np.dtype(_CODES[type_name]).newbyteorder(">" if big_endian else "<")
    position = skip if skip < 0 else start + skip
    return _binary.read_values(data_path, position, count, dtype, compressed=compressed)


def encode(values: npt.NDArray[Any], spacing: list[float], origin: list[float]) -> bytes:
    """The bytes of a .nrrd file with the values compressed."""
    directions = " ".join(
        "(" + ",".join(repr(step if a == i else 0.0) for a in range(3)) + ")"
        for i, step in enumerate(spacing)
    )
    entries = {
        "type": _TYPES[values.dtype.str[1:]][0],
        "dimension": "3",
        "space": "left-posterior-superior",
        "sizes": " ".join(map(str, values.shape[::-1])),
        "space directions": directions,
        "kinds": "domain domain domain",
        "endian": "little",
        "encoding": "gzip",
        "space origin": "(" + ",".join(map(repr, origin)) + ")",
    }
    header = "NRRD0004\n" + "".join(f"{key}: {value}\n" for key, value in entries.items()) + "\n"
    return header.encode("ascii") + gzip.compress(np.ascontiguousarray(values).tobytes(), mtime=0)
