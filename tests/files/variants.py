"""What the tables of variants share: one dose, and what every reader must make of a file."""

import dataclasses
import itertools
import struct
import zlib

import numpy as np

SPACING = (2.0, 2.5, 3.0)
ORIGIN = (-7.5, 12.25, -40.0)
SIZE = (5, 3, 4)
#: Multiples of 1/64 Gy, [z, y, x]: exact in every type that has a fraction.
VALUES = (np.random.default_rng(1).integers(0, 60 * 64, SIZE[::-1]) / 64).astype(np.float32)
#: What types without a fraction can hold.
WHOLE = np.rint(VALUES).astype(np.float32)
#: Bytes of the values as most files have them.
BYTES = VALUES.astype("<f4").tobytes()
TEXT = " ".join(repr(float(value)) for value in VALUES.ravel()).encode()

NO_POSITION = "tells no position; its first voxel is put at 0, 0, 0"
NO_ORIENTATION = (
    "tells no orientation; its axes are taken for those of the patient "
    "(to the left, to the back, to the head)"
)
#: Of values that count as Gy for want of a unit.
ASSUMED = "tells no unit of dose; its values are taken for Gy"
DAMAGED = "its compressed data is damaged or cut short"
FOREIGN = (
    "is not a dose file (DICOM RT Dose or RT Image, NRRD, MetaImage, NIfTI, or a table of measured "
    "doses)"
)
NOT_FINITE = "holds doses that are not finite numbers"
ROTATED = "the grid is rotated against the patient's axes; resample it first"

#: Every way in which a file's axes may lie along the patient's: patient axis and sign, per axis.
ORIENTATIONS = [
    tuple(zip(permutation, signs))
    for permutation in itertools.permutations(range(3))
    for signs in itertools.product((1, -1), repeat=3)
]
STRAIGHT = ((0, 1), (1, 1), (2, 1))


@dataclasses.dataclass(frozen=True)
class Grid:
    """A dose that must come out to the bit."""

    values: np.ndarray
    spacing: tuple = SPACING
    origin: tuple = ORIGIN
    warnings: tuple = ()
    unit: str = "Gy"
    normal: str = ""  # of a plane
    #: Why its values may be no doses in Gy; of DICOM, which tells the unit, nothing by default.
    doubts: tuple | None = None
    is_error: bool = False  # differences between doses

    def all_warnings(self, tells_unit):
        doubts = self.doubts
        if doubts is None:
            doubts = () if tells_unit else (ASSUMED,)
        below = self.values[self.values < 0]
        if below.size and not self.is_error:
            what = "value" if below.size == 1 else "values"
            doubts += (f"holds {grouped(below.size)} {what} below 0, which no dose is, "
                       f"down to {below.min():.6g} {self.unit}",)  # fmt: skip
        return (*self.warnings, *doubts)


@dataclasses.dataclass(frozen=True)
class Variant:
    """A file, those beside it, and the dose or the sentence that it must give."""

    name: str
    files: dict  # the first one is read
    expected: object  # a Grid or a sentence
    in_package: object = None  # where the program can do more than package and page


def read(name, contents, values=VALUES, *, beside=None, file="dose", **changes):
    """A row of a file that must be read."""
    return Variant(name, {file: contents, **(beside or {})}, Grid(values, **changes))


def refused(name, contents, sentence, *, beside=None, file="dose"):
    """A row of a file that must be refused, and in which words."""
    return Variant(name, {file: contents, **(beside or {})}, sentence)


def replaced(contents, old, new, count=1):
    """The contents with one text for another, which must be there."""
    assert old in contents, old
    return contents.replace(old, new, count)


def patched(contents, position, data):
    """The contents with some bytes overwritten; a negative position counts from the end."""
    position %= len(contents)
    assert position + len(data) <= len(contents)
    return contents[:position] + data + contents[position + len(data) :]


def flipped(contents, position, bit=0):
    """The contents with one bit turned over."""
    position %= len(contents)
    return patched(contents, position, bytes([contents[position] ^ 1 << bit]))


def turned(orientation, values=VALUES, spacing=SPACING, origin=ORIGIN):
    """The dose as a file of that orientation stores it: values [k, j, i], spacing, origin, axes."""
    origin = list(origin)
    for axis, sign in orientation:
        if sign < 0:
            origin[axis] += (values.shape[2 - axis] - 1) * spacing[axis]
            values = np.flip(values, 2 - axis)
    values = values.transpose([2 - axis for axis, _ in orientation][::-1])
    spacing = [spacing[axis] for axis, _ in orientation]
    axes = [[sign * (axis == c) for c in range(3)] for axis, sign in orientation]
    return np.ascontiguousarray(values), spacing, origin, axes


def words(numbers):
    return " ".join(f"{float(number):.17g}" for number in np.ravel(numbers))


def scaled(values, slope, intercept=0.0):
    """As a reader must do it: in double precision, rounded once."""
    return (values.astype(np.float64) * slope + intercept).astype(np.float32)


def grouped(number):
    """As sentences write it: 1 234 567."""
    return f"{number:,}".replace(",", " ")


def cut_short(needed, there):
    return (
        f"is cut short, or its header lies: its grid needs {needed} bytes of values, "
        f"the file has {there}"
    )


def too_long(needed, there):
    return (
        f"holds more than its grid, or its header lies: its grid needs {needed} bytes of values, "
        f"the file has {there}"
    )


def unpacks_too_long(needed):
    return (
        f"holds more than its grid, or its header lies: its grid needs {needed} bytes of values"
    )


def unpacks_too_short(needed, there):
    return (
        f"is cut short, or its header lies: its grid needs {needed} bytes of values, "
        f"it unpacks to {there}"
    )


def sized(size, axis):
    """The sentence about a voxel size out of bounds."""
    return f"the voxel size of {size} mm along axis {axis} is outside 0.001 to 1000 mm"


def gzip_member(plain, flags=0, fields=b"", method=8, system=255, level=9):
    """One member of a gzip file, put together by hand."""
    packer = zlib.compressobj(level, zlib.DEFLATED, -15)
    packed = packer.compress(plain) + packer.flush()
    head = struct.pack("<BBBBIBB", 0x1F, 0x8B, method, flags, 0, 0, system) + fields
    return head + packed + struct.pack("<II", zlib.crc32(plain), len(plain) & 0xFFFFFFFF)


def gzip_rows(file, plain, split):
    """
    Rows for data packed by gzip: `file` makes the contents from the packed bytes of `plain`,
    where need be of two members. Every field of the trailer counts, and what comes behind it.
    """
    whole = gzip_member(plain)
    two = gzip_member(plain[:split]) + gzip_member(plain[split:])
    header_checksum = struct.pack("<BBBBIBB", 0x1F, 0x8B, 8, 2, 0, 0, 255)
    good_sum = struct.pack("<H", zlib.crc32(header_checksum) & 0xFFFF)
    bad_sum = bytes([good_sum[0] ^ 1, good_sum[1]])
    yield read("gzip", file(whole))
    yield read("gzip with a file name", file(gzip_member(plain, 8, b"dose.raw\0")))
    yield read("gzip with a comment", file(gzip_member(plain, 16, b"a dose\0")))
    yield read("gzip with an extra field", file(gzip_member(plain, 4, b"\3\0abc")))
    yield read("gzip with all fields", file(gzip_member(plain, 28, b"\3\0abcname\0comment\0")))
    yield read("gzip with a header checksum", file(gzip_member(plain, 2, good_sum)))
    yield refused("gzip with a wrong header checksum", file(gzip_member(plain, 2, bad_sum)),
                  DAMAGED)
    yield refused("gzip with reserved flags", file(gzip_member(plain, 0x20)), DAMAGED)
    yield refused("gzip of another method", file(gzip_member(plain, method=7)), DAMAGED)
    yield read("gzip of two members", file(two))
    yield read("gzip with an empty member", file(whole + gzip_member(b"")))
    yield refused("gzip of two members, cut", file(two[:-1]), DAMAGED)
    first = len(gzip_member(plain[:split]))
    yield refused("gzip of two members, first checksum", file(flipped(two, first - 8)), DAMAGED)
    yield refused("gzip of two members, last checksum", file(flipped(two, -8)), DAMAGED)
    yield refused("gzip of two members, mark of the second", file(flipped(two, first)), DAMAGED)
    yield read("gzip with zeros behind", file(whole + bytes(512)))
    yield refused("gzip with a byte behind", file(whole + b"\1"), DAMAGED)
    yield refused("gzip with a text behind", file(whole + b"\r\n"), DAMAGED)
    yield refused("gzip with zeros and a byte behind", file(whole + bytes(9) + b"\1"), DAMAGED)
    for i in range(8):
        field = "checksum" if i < 4 else "length"
        yield refused(f"gzip, {field} byte {i % 4}", file(flipped(whole, i - 8, i)), DAMAGED)
    for count in range(1, 9):
        yield refused(f"gzip without the last {count} bytes", file(whole[:-count]), DAMAGED)
    yield refused("gzip cut in its data", file(whole[:-30]), DAMAGED)
    # Of data that are stored as they are, only the checksum can tell.
    stored = gzip_member(plain, level=0)
    yield read("gzip at level 0", file(stored))
    yield refused("gzip, one bit of the data", file(flipped(stored, -40, 3)), DAMAGED)
    # Line feeds that became line ends of another system.
    converted = stored.replace(b"\n", b"\r\n")
    assert converted != stored, "data without a line feed"
    yield refused("gzip after a conversion of line ends", file(converted), DAMAGED)
