"""MetaImage files (.mha; .mhd with its data file)."""

from __future__ import annotations

import zlib
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
    "MET_CHAR": "i1",
    "MET_UCHAR": "u1",
    "MET_SHORT": "i2",
    "MET_USHORT": "u2",
    "MET_INT": "i4",
    "MET_UINT": "u4",
    "MET_LONG": "i8",
    "MET_ULONG": "u8",
    "MET_LONG_LONG": "i8",
    "MET_ULONG_LONG": "u8",
    "MET_FLOAT": "f4",
    "MET_DOUBLE": "f8",
}
# MET_LONG has had other sizes on other systems; MET_LONG_LONG is the name to write.
_NAMES = {code: name for name, code in _TYPES.items()}


def read(path: Path) -> Volume:
    """Read a MetaImage file."""
    header, end = _read_header(path)
    sizes = whole_numbers(_entry(header, "dimsize"), "a grid size")
    count = check_sizes(sizes)
    if _entry(header, "elementnumberofchannels", default="1") != "1":
        raise FormatError("it has more than one value per voxel")
    name = header["elementdatafile"]
    is_local = name.upper() == "LOCAL"
    data_path = path if is_local else _binary.referenced_file(path, name)
    start = end if is_local else whole_numbers(header.get("headersize", "0"), "a header size", 1)[0]
    values = _values(header, data_path, start, count)
    ndims = len(sizes)
    spacing = numbers(_entry(header, "elementspacing", "elementsize"), "a voxel size", ndims)
    origin = numbers(
        _entry(header, "offset", "position", "origin", default=" 0" * ndims), "an origin", ndims
    )
    return Volume(values.reshape(sizes[2::-1]), spacing[:3], origin[:3], _axes(header, ndims))


def _read_header(path: Path) -> tuple[dict[str, str], int]:
    """Entries by lower-case key, and the position of the first byte after the header."""
    with path.open("rb") as file:
        text = file.read(_LONGEST_HEADER)
    entries: dict[str, str] = {}
    position = 0
    while (line_end := text.find(b"\n", position)) >= 0:
        key, _, value = text[position:line_end].decode("latin-1").partition("=")
        position = line_end + 1
        entries[key.strip().lower()] = value.strip()
        if "elementdatafile" in entries:
            return entries, position
    raise FormatError("its header has no end")


def _entry(header: dict[str, str], *keys: str, default: str | None = None) -> str:
    for key in keys:
        if key in header:
            return header[key]
    if default is None:
        raise FormatError(f"its header has no {keys[0]}")
    return default


def _is_true(header: dict[str, str], *keys: str, default: str = "False") -> bool:
    return _entry(header, *keys, default=default).lower() in ("true", "1")


def _values(header: dict[str, str], path: Path, start: int, count: int) -> npt.NDArray[Any]:
    type_name = _entry(header, "elementtype").upper()
    if type_name not in _TYPES:
        raise FormatError(f"it has values of the unknown type {type_name}")
    if not _is_true(header, "binarydata", default="True"):
        return _binary.read_text_values(path, start, count)
    big_endian = _is_true(header, "binarydatabyteordermsb", "elementbyteordermsb")
    dtype = np.dtype(_TYPES[type_name]).newbyteorder(">" if big_endian else "<")
    return _binary.read_values(
        path, start, count, dtype, compressed=_is_true(header, "compresseddata")
    )


def _axes(header: dict[str, str], ndims: int) -> list[list[float]]:
    identity = np.eye(ndims).ravel()
    text = _entry(
        header, "transformmatrix", "rotation", "orientation", default=" ".join(map(str, identity))
    )
    matrix = np.reshape(numbers(text, "an orientation", ndims * ndims), (ndims, ndims))
    return spacing_and_axes(matrix[:3, :3].tolist())[1]


def encode(values: npt.NDArray[Any], spacing: list[float], origin: list[float]) -> bytes:
    """The bytes of a .mha file with the values compressed."""
    data = zlib.compress(np.ascontiguousarray(values).tobytes())
    matrix = " ".join(f"{c:g}" for axis in IDENTITY for c in axis)
    entries = {
        "ObjectType": "Image",
        "NDims": "3",
        "BinaryData": "True",
        "BinaryDataByteOrderMSB": "False",
        "CompressedData": "True",
        "CompressedDataSize": str(len(data)),
        "TransformMatrix": matrix,
        "Offset": " ".join(map(repr, origin)),
        "AnatomicalOrientation": "RAI",
        "ElementSpacing": " ".join(map(repr, spacing)),
        "DimSize": " ".join(map(str, values.shape[::-1])),
        "ElementType": _NAMES[values.dtype.str[1:]],
        "ElementDataFile": "LOCAL",
    }
    header = "".join(f"{key} = {value}\n" for key, value in entries.items())
    return header.encode("ascii") + data
