"""Planes of pixels, which tell no coordinates: matrices of numbers alone, and TIFFs."""

import dataclasses
import struct
import zlib

import numpy as np

import variants_measurements
from variants import VALUES
from variants_measurements import NO_DOSE_UNIT, Plane, Row, number

#: Gy, [y, x]: y rises, so that the last row of a file is the first one.
FILM = VALUES[0, :, :5]
PIXEL = 2.5
ASSUMED = (
    "tells no position; its middle is put at 0, 0",
    "tells no orientation; its first row is taken for the upper edge",
)
AS_READ = Plane(FILM, (PIXEL, PIXEL), (-2 * PIXEL, -PIXEL), warnings=ASSUMED)
GIVEN = ("cGy", None, PIXEL)
CONFUSED = " of evenly spaced numbers, as coordinates are: write y\\x in the corner of a matrix that has them"


def matrix(head="", separator="\t", scale=100, comma=False, values=FILM, end=""):
    """Rows from the upper edge down."""
    rows = (separator.join(number(float(dose) * scale, comma) for dose in row) + end for row in values[::-1])
    return (head + "\n".join(rows) + "\n").encode()


def matrix_rows():
    for separator in ("\t", ";", ",", " "):
        yield Row(f"pixels with {separator!r}", matrix(separator=separator), AS_READ, GIVEN)
    yield Row("pixels, decimal commas", matrix(separator=";", comma=True, end=";"), AS_READ, GIVEN)
    yield Row("pixels, a head", matrix("Film 3, scanned at 72 dpi\n# cGy\n"), AS_READ, (None, None, PIXEL))
    yield Row("pixels, an entry of the head", matrix("Field\t10\t20\n"), AS_READ, GIVEN)
    yield Row("pixels in Gy", matrix("Gy\n", scale=1), AS_READ, GIVEN)
    yield Row("pixels without a unit", matrix(), NO_DOSE_UNIT, (None, None, PIXEL))
    yield Row("pixels without a size", matrix(),
              "is no table of doses: its first row of numbers has 5 cells (accepted: columns x, y[, z], dose, "
              "a matrix with coordinates along its top and left edges, or one of five columns or more whose "
              "pixel size is given)", ("cGy", None))
    yield Row("pixels below names", matrix("a\tb\tc\td\te\n"),
              'has columns named "a", "b", "c", "d", "e" (accepted: x, y[, z], dose)', GIVEN)
    yield Row("pixels below what may be a corner", matrix("Depth\t1\t2\t3\t4\n"),
              'has "Depth" where a number should be (line 1)', GIVEN)
    yield Row("pixels, a short row", matrix()[:-3].rsplit(b"\t", 1)[0] + b"\n",
              "has 5 columns, but 4 doses in line 3", GIVEN)
    rows = matrix(separator=";").splitlines(keepends=True)
    for line in range(3):
        cells = rows[line].split(b";")
        holed = [*rows[:line], b";".join([cells[0], b"", *cells[2:]]), *rows[line + 1 :]]
        yield Row(f"pixels, an empty cell in line {line + 1}", b"".join(holed),
                  f'has "" where a number should be (line {line + 1})', GIVEN)
    yield Row("pixels, a note behind the first row", matrix(separator=" ").replace(b"\n", b" seen\n", 1),
              'has "seen" where a number should be (line 1)', GIVEN)
    yield Row("a row of pixels", matrix(values=FILM[:1]), "has fewer than two rows", GIVEN)
    # Coordinates below or beside a number in the corner are no doses.
    edge = np.vstack([np.hstack([FILM, FILM[:, :1]])[:, :5]] * 2)
    for name, column, row in (("row", None, [0, -2, -1, 0, 1]), ("column", [0, 3, 2, 1, 0, -1], None)):
        values = edge.astype(float) * 100
        if row:
            values[-1] = row
        if column:
            values[:, 0] = column[::-1]
        yield Row(f"coordinates in the first {name}", matrix(values=values, scale=1),
                  f"has a first {name}{CONFUSED}", GIVEN)
    yield Row("matrix with coordinates, a pixel size beside", variants_measurements.matrix(), Plane(), GIVEN)
    columns = variants_measurements.columns(head="")
    yield Row("columns without names, a pixel size beside", columns, Plane(), ("Gy", "mm", PIXEL))
    yield Row("pixels of three columns", matrix(values=FILM[:, :3]), variants_measurements.NO_RASTER, GIVEN)


#: Types of entries: their numbers, and how one value is written.
SHORT, LONG, TEXT, QUOTIENT = (3, "H"), (4, "I"), (2, "s"), (5, "II")
WIDTH, LENGTH, BITS, COMPRESSION, PHOTOMETRIC, FILL_ORDER, DESCRIPTION, OFFSETS = 256, 257, 258, 259, 262, 266, 270, 273
ORIENTATION, SAMPLES, ROWS_PER_STRIP, COUNTS, RESOLUTION_X, RESOLUTION_Y = 274, 277, 278, 279, 282, 283
RESOLUTION_UNIT, PREDICTOR, TILE_WIDTH, TILE_LENGTH, TILE_OFFSETS, TILE_COUNTS, FORMAT = 296, 317, 322, 323, 324, 325, 339
HEAD = 8


def packed_directory(order, entries, place):
    """A directory that lies at a place, and behind it what its entries have no room for."""
    behind = place + 2 + 12 * len(entries) + 4
    directory, rest = struct.pack(order + "H", len(entries)), b""
    for tag, ((kind, code), values) in sorted(entries.items()):
        if code == "s":
            count, value = len(values), values
        else:
            count = len(values) // len(code)
            value = struct.pack(order + code * count, *values)
        if len(value) > 4:
            value, rest = struct.pack(order + "I", behind + len(rest)), rest + value + b"\0" * (len(value) % 2)
        directory += struct.pack(order + "HHI", tag, kind, count) + value.ljust(4, b"\0")
    return directory + b"\0" * 4 + rest


def tiff(values=FILM, order="<", strip_rows=2, pack=bytes, changes=None):
    """
    A TIFF with its first row at the upper edge, in strips; `changes` of entries: None drops one.
    """
    stored = values[::-1].astype(values.dtype.newbyteorder(order))
    strips = [pack(stored[i : i + strip_rows].tobytes()) for i in range(0, len(stored), strip_rows)]
    places = HEAD + np.cumsum([0, *(len(strip) for strip in strips)])
    bits = values.dtype.itemsize * 8
    entries = {
        WIDTH: (LONG, [values.shape[1]]), LENGTH: (SHORT, [values.shape[0]]), BITS: (SHORT, [bits]),
        COMPRESSION: (SHORT, [1]), PHOTOMETRIC: (SHORT, [1]), OFFSETS: (LONG, [int(p) for p in places[:-1]]),
        SAMPLES: (SHORT, [1]), ROWS_PER_STRIP: (SHORT, [strip_rows]),
        COUNTS: (LONG, [len(strip) for strip in strips]), FORMAT: (SHORT, [3 if bits == 32 else 1]),
    }  # fmt: skip
    for tag, entry in (changes or {}).items():
        entries[tag] = entry
    entries = {tag: entry for tag, entry in entries.items() if entry is not None}
    end = int(places[-1]) + int(places[-1]) % 2
    head = (b"II" if order == "<" else b"MM") + struct.pack(order + "HI", 42, end)
    data = (head + b"".join(strips)).ljust(end, b"\0")
    return data + packed_directory(order, entries, end)


def changed(tag, *values, kind=SHORT):
    return tiff(changes={tag: (kind, list(values))})


IN_GRAY = ("Gy", None, PIXEL)
COLOUR = ("is a TIFF in colour or of several channels, as film is scanned: make doses of it by the calibration of "
          "the film, and save one channel of 32-bit floats")
ACCEPTED = "; doses are read as 32-bit floats, or as 16-bit whole numbers without sign"
OUTSIDE = "is a TIFF that is cut short, or names places outside of itself"
#: Multiples of 1/64 Gy as 16-bit numbers of cGy would be rounded: so whole ones.
WHOLE = np.rint(FILM.astype(float) * 100).astype(np.uint16)
WHOLE_READ = dataclasses.replace(AS_READ, values=(WHOLE / 100).astype(np.float32))


def tiff_rows():
    for order in "<>":
        yield Row(f"TIFF {order}", tiff(order=order), AS_READ, IN_GRAY)
        yield Row(f"TIFF of 16 bits {order}", tiff(WHOLE, order), WHOLE_READ, GIVEN)
    yield Row("TIFF in cGy", tiff(FILM * 100), AS_READ, GIVEN)
    yield Row("TIFF, one strip", tiff(strip_rows=3, changes={ROWS_PER_STRIP: None}), AS_READ, IN_GRAY)
    yield Row("TIFF, deflated", tiff(pack=zlib.compress, changes={COMPRESSION: (SHORT, [8])}), AS_READ, IN_GRAY)
    yield from refused_tiffs()
    yield from damaged_tiffs()


def refused_tiffs():
    for units, what in (((None, None), "the unit of doses and the pixel size must be given"),
                        (("Gy", None), "the pixel size must be given"),
                        ((None, None, PIXEL), "the unit of doses must be given")):
        yield Row(f"TIFF: {what}", tiff(), f"is a TIFF: {what}", units)
    for name, contents in (("colour", changed(PHOTOMETRIC, 2)), ("palette", changed(PHOTOMETRIC, 3)),
                           ("channels", changed(SAMPLES, 3))):
        yield Row(f"TIFF, {name}", contents, COLOUR, IN_GRAY)
    yield Row("TIFF, white is zero", changed(PHOTOMETRIC, 0),
              "is a TIFF in which white is zero (PhotometricInterpretation 0), so that its values may be inverted; "
              "save it with black as zero", IN_GRAY)
    for bits, form, kind in ((8, 1, "8-bit whole numbers"), (32, 1, "32-bit whole numbers"), (64, 3, "64-bit floats"),
                             (16, 3, "16-bit floats"), (16, 2, "16-bit values of another SampleFormat")):
        yield Row(f"TIFF of {kind}", tiff(changes={BITS: (SHORT, [bits]), FORMAT: (SHORT, [form])}),
                  f"is a TIFF of {kind}{ACCEPTED}", IN_GRAY)
    yield Row("TIFF, turned", changed(ORIENTATION, 6),
              "is a TIFF with an Orientation of 6, which programs show turned or not; save it with its first row at "
              "the top and its first column at the left", IN_GRAY)
    yield Row("TIFF, upright", changed(ORIENTATION, 1), AS_READ, IN_GRAY)
    yield Row("TIFF, fill order", changed(FILL_ORDER, 2), "is a TIFF with a FillOrder other than 1", IN_GRAY)
    yield Row("TIFF, JPEG", changed(COMPRESSION, 7),
              "is a TIFF with a Compression of 7 (read are none, PackBits, LZW and Deflate); save it without one",
              IN_GRAY)
    yield Row("TIFF, a predictor", changed(PREDICTOR, 4),
              "is a TIFF with a Predictor of 4, which is not read for values of 32 bits", IN_GRAY)
    yield Row("TIFF, big", b"II+\0\x08\0\0\0" + tiff()[8:], "is a BigTIFF; save it as a TIFF of the usual size", IN_GRAY)
    for text, why in ((b"ImageJ=1.53t\nimages=3\n", "is a stack of images by ImageJ; save the one of the doses alone"),
                      (b"ImageJ=1.53t\ncf=0\nc0=1\n", "has a calibration of its values by ImageJ, which is not "
                       "applied; save the calibrated values as 32-bit floats")):
        yield Row(f"TIFF, {text}", tiff(changes={DESCRIPTION: (TEXT, text + b"\0")}), why, IN_GRAY)
    yield Row("TIFF, a row", tiff(FILM[:1]), "has fewer than two rows", IN_GRAY)
    yield Row("TIFF, not finite", tiff(np.where(FILM == FILM[0, 0], np.float32(np.nan), FILM)),
              "holds doses that are not finite numbers", IN_GRAY)
    yield Row("TIFF, absurd pixels", tiff(),
              "the voxel size of 2500 mm along axis x is outside 0.001 to 1000 mm", ("Gy", None, 2500))
    yield from resolutions()


def resolutions():
    """A resolution is told where it differs from the pixel size, which counts."""
    for name, x, y, unit, pixel in (
        ("inches", (254, 25), (254, 25), 2, None), ("centimetres", (4, 1), (4, 1), 3, None),
        ("72 dpi", (72, 1), (72, 1), 2, "0.352778"), ("no unit", (72, 1), (72, 1), 1, None),
        ("none", (0, 1), (0, 1), 2, None),
    ):  # fmt: skip
        changes = {RESOLUTION_X: (QUOTIENT, x), RESOLUTION_Y: (QUOTIENT, y), RESOLUTION_UNIT: (SHORT, [unit])}
        told = () if pixel is None else (
            f"tells a resolution with pixels of {pixel} mm; the pixel size that is given counts (2.5 mm)",)
        yield Row(f"TIFF, resolution: {name}", tiff(changes=changes),
                  dataclasses.replace(AS_READ, warnings=(*ASSUMED, *told)), IN_GRAY)
    changes = {RESOLUTION_X: (QUOTIENT, (100, 1)), RESOLUTION_Y: (QUOTIENT, (50, 1))}
    yield Row("TIFF, oblong pixels", tiff(changes=changes),
              "tells a resolution with pixels of 0.254 x 0.508 mm, which are no squares; resample it first", IN_GRAY)


def damaged_tiffs():
    whole = tiff()
    directory = struct.unpack("<I", whole[4:8])[0]
    count = struct.unpack("<H", whole[directory : directory + 2])[0]
    last = directory + 2 + 12 * count
    for name, place in (("itself", directory), ("nowhere", 1 << 31)):
        further = whole[:last] + struct.pack("<I", place) + whole[last + 4 :]
        yield Row(f"TIFF, a further directory at {name}", further,
                  "is a TIFF of more than one image; save the one of the doses alone", IN_GRAY)
    for place in (0, 4, len(whole) - 1, len(whole) + 1, (1 << 32) - 1):
        yield Row(f"TIFF, a directory at {place}", whole[:4] + struct.pack("<I", place) + whole[8:], OUTSIDE, IN_GRAY)
    yield Row("TIFF, nothing but a mark", whole[:6], OUTSIDE, IN_GRAY)
    yield Row("TIFF, cut in its directory", whole[: directory + 20], OUTSIDE, IN_GRAY)
    for name, size in (("wide", (1 << 31) - 1), ("no", 0)):
        why = (f"the grid of {size} x 3 x 1 voxels is too large (2^31 voxels or more)" if size
               else "has fewer than two columns")
        yield Row(f"TIFF, {name} image", changed(WIDTH, size, kind=LONG), why, IN_GRAY)
    yield Row("TIFF, strips outside", changed(OFFSETS, 8, 1 << 20, kind=LONG), OUTSIDE, IN_GRAY)
    yield Row("TIFF, strips in one another", changed(OFFSETS, 8, 20, kind=LONG),
              "is a TIFF whose strips or tiles lie in one another", IN_GRAY)
    yield Row("TIFF, a strip too few", changed(OFFSETS, 8, kind=LONG),
              "is a TIFF whose strips or tiles are not the 2 that its size needs", IN_GRAY)
    yield Row("TIFF, a short strip", changed(COUNTS, 39, 20, kind=LONG),
              "is a TIFF that is cut short: 39 bytes of a strip or tile do not hold its 40", IN_GRAY)
    yield Row("TIFF, a long strip", tiff(changes={COUNTS: (LONG, [40, 21])}),
              "is a TIFF of which a strip or tile has 21 bytes, and its size needs 20", IN_GRAY)
    yield Row("TIFF, no rows in strips", changed(ROWS_PER_STRIP, 0), "is a TIFF with a RowsPerStrip of 0", IN_GRAY)
    yield Row("TIFF, huge tiles", tiff(changes={TILE_WIDTH: (LONG, [1 << 31]), TILE_LENGTH: (LONG, [1 << 31])}),
              "is a TIFF with a TileWidth of 2 147 483 648", IN_GRAY)
    yield Row("TIFF, no size", tiff(changes={WIDTH: None}), "is a TIFF that tells no ImageWidth", IN_GRAY)
    yield Row("TIFF, a size in words", changed(WIDTH, *b"12", kind=(2, "B")), "is a TIFF whose ImageWidth is none", IN_GRAY)
    yield Row("TIFF, values of no known kind", changed(BITS, 32, 32), "is a TIFF whose BitsPerSample is none", IN_GRAY)
    deflated = tiff(pack=lambda data: zlib.compress(data)[:-1], changes={COMPRESSION: (SHORT, [8])})
    yield Row("TIFF, deflated and cut", deflated, "its compressed data is damaged or cut short", IN_GRAY)


ROWS = [*matrix_rows(), *tiff_rows()]
