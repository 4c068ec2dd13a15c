"""The variants of MetaImage."""

import gzip
import zlib

import numpy as np

from variants import (
    BYTES, DAMAGED, NO_ORIENTATION, NO_POSITION, NOT_FINITE, ORIENTATIONS, ORIGIN, ROTATED, SIZE,
    SPACING, TEXT, VALUES, WHOLE, cut_short, flipped, gzip_rows, read, refused, replaced, scaled,
    sized, too_long, turned, unpacks_too_long, unpacks_too_short, words,
)

NO_BYTE_ORDER = "tells no byte order; its values are read as little endian"
IDENTITY = "1 0 0 0 1 0 0 0 1"
AMBIGUOUS = (
    "has values of the type MET_LONG, of which both 4 and 8 bytes fit the file; "
    "name it MET_INT or MET_LONG_LONG"
)
MSB = "binarydatabyteordermsb"


def meta(data=BYTES, **changes):
    """A file; None removes an entry. Where its data are stands last."""
    entries = {
        "ObjectType": "Image",
        "NDims": "3",
        "BinaryData": "True",
        "BinaryDataByteOrderMSB": "False",
        "CompressedData": "False",
        "TransformMatrix": IDENTITY,
        "Offset": words(ORIGIN),
        "ElementSpacing": words(SPACING),
        "DimSize": words(SIZE),
        "ElementType": "MET_FLOAT",
    } | changes
    entries["ElementDataFile"] = entries.pop("ElementDataFile", "LOCAL")
    lines = [f"{key} = {value}\n" for key, value in entries.items() if value is not None]
    return "".join(lines).encode() + data


def packed(data, **changes):
    return meta(data, **({"CompressedData": "True"} | changes))


def text(data=TEXT, **changes):
    return meta(data, **({"BinaryData": "False"} | changes))


def oriented(orientation, key="TransformMatrix"):
    values, spacing, origin, axes = turned(orientation)
    changes = {"TransformMatrix": None, key: words(axes)}
    return meta(values.tobytes(), DimSize=words(values.shape[::-1]), Offset=words(origin),
                ElementSpacing=words(spacing), **changes)


TYPES = {
    "i1": "MET_CHAR", "u1": "MET_UCHAR", "i2": "MET_SHORT", "u2": "MET_USHORT", "i4": "MET_INT",
    "u4": "MET_UINT", "i8": "MET_LONG_LONG", "u8": "MET_ULONG_LONG", "f4": "MET_FLOAT",
    "f8": "MET_DOUBLE",
}


def type_rows():
    for code, name in TYPES.items():
        values = VALUES if code[0] == "f" else WHOLE
        little, big = (values.astype(order + code).tobytes() for order in "<>")
        yield read(f"{name}", meta(little, ElementType=name), values)
        yield read(f"{name}, big endian",
                   meta(big, ElementType=name, BinaryDataByteOrderMSB="True"), values)
        yield read(f"{name}, packed", packed(zlib.compress(little), ElementType=name), values)
        digits = " ".join(str(value) for value in values.astype(code).ravel()).encode()
        yield read(f"{name}, text", text(digits, ElementType=name), values)
    yield read("met_float", meta(ElementType="met_float"))
    for name in ("MET_OTHER", "MET_NONE", "MET_STRING", "MET_ASCII_CHAR", "MET_FLOAT_ARRAY",
                 "FLOAT", "MET_SOMETHING", ""):
        yield refused(f"type '{name}'", meta(ElementType=name),
                      f'has values of the unknown type "{name}"')
    yield refused("no type", meta(ElementType=None), 'its header has no "elementtype"')


def long_rows():
    """4 or 8 bytes a value: what the data have."""
    for name, code in (("MET_LONG", "i"), ("MET_ULONG", "u")):
        for size in (4, 8):
            for order, is_big in (("<", "False"), (">", "True")):
                data = WHOLE.astype(f"{order}{code}{size}").tobytes()
                changes = {"ElementType": name, "BinaryDataByteOrderMSB": is_big}
                row = f"{name} of {size} bytes {order}"
                yield read(row, meta(data, **changes), WHOLE)
                yield read(row + ", packed", packed(zlib.compress(data), **changes), WHOLE)
                yield read(row + ", behind a header",
                           meta(b"", HeaderSize="9", ElementDataFile="dose.raw", **changes),
                           WHOLE, beside={"dose.raw": b"a header " + data})
    long = {"ElementType": "MET_LONG"}
    four = WHOLE.astype("<i4").tobytes()
    yield read("MET_LONG of 4 bytes, HeaderSize -1",
               meta(b"", HeaderSize="-1", ElementDataFile="dose.raw", **long), WHOLE,
               beside={"dose.raw": b"a header " + four})
    for data in (WHOLE.astype("<i8").tobytes(), bytes(240) + four):
        yield refused(f"MET_LONG that may have both, {data[:2]}",
                      meta(b"", HeaderSize="-1", ElementDataFile="dose.raw", **long), AMBIGUOUS,
                      beside={"dose.raw": data})
    yield read("MET_LONG, text", text(WHOLE_TEXT, **long), WHOLE)
    large = WHOLE.astype("i8") << 40
    yield read("MET_LONG, text beyond 4 bytes",
               text(" ".join(map(str, large.ravel())).encode(), **long),
               large.astype(np.float32))
    yield refused("MET_LONG that fits neither", meta(bytes(300), **long), too_long(240, 300))
    yield refused("MET_LONG of too few bytes", meta(bytes(239), **long), cut_short(240, 239))
    yield refused("MET_LONG that fits neither, packed", packed(zlib.compress(bytes(300)), **long),
                  too_long(240, 300))
    yield refused("MET_LONG of too many bytes, packed", packed(zlib.compress(bytes(481)), **long),
                  "unpacks to more than the 480 bytes that it can need")


WHOLE_TEXT = " ".join(str(int(value)) for value in WHOLE.ravel()).encode()


def unit_rows():
    """The program that writes eV/g per proton is told by what it leaves out."""
    doubt = ("may be of MCsquare, which writes eV/g per proton (ElementByteOrderMSB, but no "
             "Offset); its values are taken for Gy",)  # fmt: skip
    nowhere = {"Offset": None, "TransformMatrix": None}
    warnings = {"origin": (0, 0, 0), "warnings": (NO_POSITION, NO_ORIENTATION)}
    other = {"BinaryDataByteOrderMSB": None, "ElementByteOrderMSB": "False"}
    yield read("ElementByteOrderMSB without Offset", meta(**nowhere, **other), doubts=doubt,
               **warnings)
    yield read("ElementByteOrderMSB without Offset, with its data beside",
               meta(b"", **nowhere, **other, ElementDataFile="dose.raw"), file="LET.mhd",
               beside={"dose.raw": BYTES}, **warnings,
               doubts=(*doubt, 'its name ends in "LET"; its values are taken for doses all the same'))
    yield read("BinaryDataByteOrderMSB without Offset", meta(**nowhere), **warnings)
    for key in ("Position", "Origin"):
        yield read(f"ElementByteOrderMSB with {key}",
                   meta(**other, Offset=None, **{key: words(ORIGIN)}))


def byte_order_rows():
    big = VALUES.astype(">f4").tobytes()
    two = WHOLE.astype(">u2").tobytes()
    one = WHOLE.astype("u1").tobytes()
    msb, other = "BinaryDataByteOrderMSB", "ElementByteOrderMSB"
    for key in (msb, other):
        yield read(f"{key} = True", meta(big, **{msb: None, key: "True"}))
        yield read(f"{key} = False", meta(**{msb: None, key: "False"}))
        yield read(f"{key} = True, 16 bits",
                   meta(two, **{msb: None, key: "True", "ElementType": "MET_USHORT"}), WHOLE)
        yield read(f"{key} = True, packed",
                   packed(zlib.compress(big), **{msb: None, key: "True"}))
    for word in ("true", "T", "1", "TRUE"):
        yield read(f"byte order of {word}", meta(big, **{msb: word}))
    # Other readers look at the first letter, and take all but T, t and 1 for False.
    for word in ("yes", "Y"):
        yield refused(f"byte order of {word}", meta(big, **{msb: word}),
                      f'its header gives "{MSB}" as "{word}" (accepted: True, False)')
    for word in ("false", "F", "0", "no", "N", "FALSE"):
        yield read(f"byte order of {word}", meta(**{msb: word}))
    yield read("both byte orders", meta(big, **{msb: "True", other: "True"}))
    yield refused("two byte orders", meta(big, **{msb: "True", other: "False"}),
                  f'its header gives "{MSB}" twice, under two names')
    yield refused("a byte order of 2", meta(**{msb: "2"}),
                  f'its header gives "{MSB}" as "2" (accepted: True, False)')
    yield read("no byte order", meta(**{msb: None}), warnings=(NO_BYTE_ORDER,))
    yield read("no byte order, values of one byte",
               meta(one, ElementType="MET_UCHAR", **{msb: None}), WHOLE)
    yield read("no byte order, text", text(**{msb: None}))


def packing_rows():
    stream = zlib.compress(BYTES)
    yield read("zlib", packed(stream))
    for level in (0, 1, 9):
        yield read(f"zlib at level {level}", packed(zlib.compress(BYTES, level)))
    for number in range(-4, 0):
        yield refused(f"zlib, checksum byte {number}", packed(flipped(stream, number, 5)), DAMAGED)
    for count in range(1, 6):
        yield refused(f"zlib without the last {count} bytes", packed(stream[:-count]), DAMAGED)
    plain = zlib.compress(BYTES, 0)
    yield refused("zlib, one bit of the data", packed(flipped(plain, -40, 3)), DAMAGED)
    yield refused("zlib, its first byte", packed(flipped(stream, 0)), DAMAGED)
    yield refused("zlib, its second byte", packed(flipped(stream, 1)), DAMAGED)
    dictionary = b"\x78\xbb\0\0\0\1" + stream[2:]
    yield refused("zlib with a dictionary", packed(dictionary), DAMAGED)
    yield refused("zlib with a byte behind", packed(stream + b"\0"),
                  "its compressed data is followed by 1 bytes that belong to nothing")
    yield refused("zlib with a stream behind", packed(2 * stream),
                  f"its compressed data is followed by {len(stream)} bytes that belong to nothing")
    converted = plain.replace(b"\n", b"\r\n")
    assert converted != plain
    yield refused("zlib after a conversion of line ends", packed(converted), DAMAGED)
    yield from gzip_rows(packed, BYTES, split=120)
    yield refused("packed in name only", packed(BYTES), DAMAGED)
    yield refused("packed data, not told", meta(stream), cut_short(240, len(stream)))
    yield refused("packed, a byte short", packed(zlib.compress(BYTES[:-1])),
                  unpacks_too_short(240, 239))
    yield refused("packed, a byte long", packed(zlib.compress(BYTES + b"\0")),
                  unpacks_too_long(240))
    yield refused("packed, nothing", packed(b""), cut_short(240, 0))
    yield read("CompressedDataSize", packed(stream, CompressedDataSize=str(len(stream))))
    yield read("CompressedDataSize of 0", packed(stream, CompressedDataSize="0"))
    for size in (len(stream) - 1, len(stream) + 1, -1):
        yield refused(f"CompressedDataSize off, {size > 0} {size > len(stream)}",
                      packed(stream, CompressedDataSize=str(size)),
                      "is cut short, or its header lies: its CompressedDataSize is "
                      f"{size}, the file has {len(stream)} bytes")
    yield refused("CompressedDataSize of a word", packed(stream, CompressedDataSize="all"),
                  'its header gives a CompressedDataSize of "all"')
    yield refused("packed at an odd place",
                  packed(b"", HeaderSize="-1", ElementDataFile="dose.zraw"),
                  "its compressed data begins at an odd place (HeaderSize = -1), which is not "
                  "supported", beside={"dose.zraw": b"12345" + stream})
    yield read("packed behind a header",
               packed(b"", HeaderSize="5", ElementDataFile="dose.zraw"),
               beside={"dose.zraw": b"12345" + stream})
    yield refused("CompressedData of perhaps", packed(stream, CompressedData="perhaps"),
                  'its header gives "compresseddata" as "perhaps" (accepted: True, False)')
    yield refused("packed as a whole", gzip.compress(meta()),
                  "is packed by gzip as a whole; unpack it first (gunzip)")


def text_rows():
    few = "is cut short, or its header lies: its grid needs 60 values, the file has {}"
    more = "holds more than its grid, or its header lies: its grid needs 60 values"
    none = 'has a value of "{}", which is no number of its type'
    tail = TEXT[TEXT.index(b" "):]
    lines = TEXT.replace(b" ", b"\n")
    yield read("text", text())
    yield read("text on lines of another system", text(lines.replace(b"\n", b"\r\n") + b"\r\n"))
    yield read("text in a data file", text(b"", ElementDataFile="dose.txt"),
               beside={"dose.txt": lines + b"\n"})
    yield refused("text, a value missing", text(TEXT.rsplit(b" ", 1)[0]), few.format(59))
    yield refused("text, a value more", text(TEXT + b" 1"), more)
    yield refused("text with a word", text(b"dose" + tail), none.format("dose"))
    yield refused("text with no number", text(b"nan" + tail), NOT_FINITE)
    yield refused("text, in name only", text(b"\xff\xfeA\x80" + tail), none.format("??A?"))
    odd = (
        "its values are written as text and packed or at an odd place, which is not supported"
    )
    yield refused("text, packed", text(zlib.compress(TEXT), CompressedData="True"), odd)
    yield refused("text at an odd place", text(HeaderSize="-1"), odd)


def place_rows():
    for orientation in ORIENTATIONS:
        yield read(f"axes {orientation}", oriented(orientation))
    swapped = ((1, -1), (0, 1), (2, 1))
    for key in ("Rotation", "Orientation"):
        yield read(f"{key}", oriented(swapped, key))
    for key in ("Position", "Origin"):
        yield read(f"{key}", meta(Offset=None, **{key: words(ORIGIN)}))
    yield read("the same position twice", meta(Position=words(ORIGIN)))
    yield refused("two positions", meta(Position="0 0 0"),
                  'its header gives "offset" twice, under two names')
    yield refused("two orientations", meta(Rotation="-1 0 0 0 -1 0 0 0 1"),
                  'its header gives "transformmatrix" twice, under two names')
    yield read("no position", meta(Offset=None), origin=(0, 0, 0), warnings=(NO_POSITION,))
    yield read("no orientation", meta(TransformMatrix=None), warnings=(NO_ORIENTATION,))
    yield read("no place at all", meta(TransformMatrix=None, Offset=None), origin=(0, 0, 0),
               warnings=(NO_POSITION, NO_ORIENTATION))
    for name in ("RAI", "rai"):
        yield read(f"no orientation but {name}",
                   meta(TransformMatrix=None, AnatomicalOrientation=name))
    for name in ("???", "LPI", "RAS"):
        yield read(f"no orientation but {name}",
                   meta(TransformMatrix=None, AnatomicalOrientation=name),
                   warnings=(NO_ORIENTATION,))
    yield read("an anatomical orientation beside the matrix", meta(AnatomicalOrientation="RAI"))
    yield read("a centre of rotation", meta(CenterOfRotation="1 2 3"))
    yield read("a tilt by rounding",
               meta(TransformMatrix="0.999999999 0.00005 0 -0.00005 0.999999999 0 0 0 1"))
    yield refused("a tilt", meta(TransformMatrix="0.9999995 0.001 0 -0.001 0.9999995 0 0 0 1"),
                  ROTATED)
    yield refused("rotated", meta(TransformMatrix="0.8 0.6 0 -0.6 0.8 0 0 0 1"), ROTATED)
    yield refused("one axis twice", meta(TransformMatrix="1 0 0 1 0 0 0 0 1"), ROTATED)
    for matrix in ("nan 0 0 0 1 0 0 0 1", "1 0 0 0 1 0", "0 0 0 0 0 0 0 0 0", "2 0 0 0 2 0 0 0 2",
                   "a 0 0 0 1 0 0 0 1", ""):
        yield refused(f"orientation '{matrix}'", meta(TransformMatrix=matrix),
                      f'its header gives an orientation of "{matrix}"')
    for origin in ("nan 0 0", "0 inf 0", "0 0", "0 0 0 0", "0 0 x", "", "0, 0, 0"):
        yield refused(f"origin '{origin}'", meta(Offset=origin),
                      f'its header gives an origin of "{origin}"')
    # One bit from a minus: no blank, or the place would come out elsewhere.
    yield refused("a carriage return for a minus", meta(Offset="-7.5 12.25 \r40"),
                  'its header gives an origin of "-7.5 12.25 ?40"')
    yield refused("far away", meta(Offset="0 1e300 0"),
                  "the origin of 1e+300 mm along axis y is no sensible position")


def spacing_rows():
    yield read("ElementSize instead of ElementSpacing",
               meta(ElementSpacing=None, ElementSize=words(SPACING)))
    yield read("ElementSize beside ElementSpacing", meta(ElementSize="1 1 1"))
    yield refused("no voxel size", meta(ElementSpacing=None), "its header tells no voxel size")
    for spacing in ("2 nan 3", "2 inf 3", "two 2.5 3", "2 2.5", "2 2.5 3 4", "2, 2.5, 3", ""):
        yield refused(f"spacing '{spacing}'", meta(ElementSpacing=spacing),
                      f'its header gives a voxel size of "{spacing}"')
    yield refused("a spacing of 0", meta(ElementSpacing="0 2.5 3"), sized("0", "x"))
    yield refused("a spacing below 0", meta(ElementSpacing="2 -2.5 3"), sized("-2.5", "y"))
    yield refused("a spacing of 1e30 mm", meta(ElementSpacing="2 2.5 1e30"), sized("1e+30", "z"))
    for name, length in (("mm", 1), ("cm", 10), ("m", 1000), ("um", 1e-3), ("MM", 1), ("?", 1),
                         ("micron", 1e-3), ("", 1)):
        spacing, origin = ([n / length for n in row] for row in (SPACING, ORIGIN))
        in_mm = [tuple(float(f"{n:.17g}") * length for n in row) for row in (spacing, origin)]
        yield read(f"DistanceUnits = {name}",
                   meta(DistanceUnits=name, ElementSpacing=words(spacing), Offset=words(origin)),
                   spacing=in_mm[0], origin=in_mm[1])
    for name in ("in", "inch", "nm", "voxel"):
        yield refused(f"DistanceUnits = {name}", meta(DistanceUnits=name),
                      f'its lengths are in "{name}", not in mm')


def size_rows():
    four = {"NDims": "4", "ElementSpacing": words(SPACING) + " 1", "Offset": words(ORIGIN) + " 0",
            "TransformMatrix": "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"}
    yield read("four dimensions", meta(DimSize="5 3 4 1", **four))
    yield refused("two volumes", meta(2 * BYTES, DimSize="5 3 4 2", **four),
                  "is not three-dimensional but 4-dimensional")
    yield refused("two dimensions", meta(NDims="2", DimSize="5 12", ElementSpacing="2 2",
                                         Offset="0 0", TransformMatrix="1 0 0 1"),
                  "is not three-dimensional but 2-dimensional")
    for number in ("2", "4", "1000000000", "-3", "three", "3.5", ""):
        yield refused(f"NDims = {number}", meta(NDims=number),
                      f'its header gives a number of dimensions of "{number}"')
    yield refused("no NDims", meta(NDims=None),
                  'its header has no "ndims"')
    yield refused("no DimSize", meta(DimSize=None), 'its header has no "dimsize"')
    for sizes in ("5.5 3 4", "nan 3 4", "five 3 4", "99999999999999999999 1 1", ""):
        yield refused(f"DimSize = {sizes}", meta(DimSize=sizes),
                      f'its header gives a grid size of "{sizes}"')
    yield refused("a size of 0", meta(DimSize="0 3 4"), "the grid has 0 voxels along axis x")
    yield refused("a size below 0", meta(DimSize="5 -3 4"), "the grid has -3 voxels along axis y")
    for sizes in ("2000000 2000000 2000000", "1300 1300 1300"):
        yield refused(f"DimSize = {sizes}", meta(DimSize=sizes),
                      f"the grid of {sizes.replace(' ', ' x ')} voxels is too large "
                      "(2^31 voxels or more)")
    lying = {"DimSize": "1000 1000 1000"}
    stream = zlib.compress(BYTES)
    yield refused("a lying size", meta(**lying), cut_short("4 000 000 000", 240))
    yield refused("a lying size, packed", packed(stream, **lying),
                  cut_short("4 000 000 000", len(stream)))
    yield refused("a lying size, text", text(**lying),
                  "is cut short, or its header lies: its grid needs 1 000 000 000 values, "
                  "the file has fewer")
    for number in ("1", "1 "):
        yield read(f"ElementNumberOfChannels = {number}", meta(ElementNumberOfChannels=number))
    for number in ("3", "0", "1.5", "one"):
        yield refused(f"ElementNumberOfChannels = {number}", meta(ElementNumberOfChannels=number),
                      f"has {number} values per voxel instead of one dose")
    yield refused("a byte short", meta(BYTES[:-1]), cut_short(240, 239))
    yield refused("a byte long", meta(BYTES + b"\n"), too_long(240, 241))
    yield refused("no data", meta(b""), cut_short(240, 0))
    for value in (np.nan, np.inf):
        values = VALUES.copy()
        values[1, 2, 3] = value
        yield refused(f"a dose of {value}", meta(values.tobytes()), NOT_FINITE)
        yield refused(f"a dose of {value}, packed", packed(zlib.compress(values.tobytes())),
                      NOT_FINITE)


def intensity_rows():
    slope, offset = "ElementToIntensityFunctionSlope", "ElementToIntensityFunctionOffset"
    two = WHOLE.astype("<i2").tobytes()
    short = {"ElementType": "MET_SHORT"}
    yield read("slope", meta(two, **short, **{slope: "0.01"}), scaled(WHOLE, 0.01))
    yield read("offset", meta(two, **short, **{offset: "-1024"}), scaled(WHOLE, 1, -1024))
    yield read("slope and offset", meta(two, **short, **{slope: "0.01", offset: "5"}),
               scaled(WHOLE, 0.01, 5))
    yield read("slope and offset of floats", meta(**{slope: "2.5", offset: "0.25"}),
               scaled(VALUES, 2.5, 0.25))
    yield read("slope, packed", packed(zlib.compress(two), **short, **{slope: "0.01"}),
               scaled(WHOLE, 0.01))
    yield read("slope, text", text(WHOLE_TEXT, **short, **{slope: "0.01"}), scaled(WHOLE, 0.01))
    yield read("slope 1 and offset 0", meta(**{slope: "1", offset: "0"}))
    yield refused("slope 0", meta(**{slope: "0"}), f"its header gives an {slope} of 0")
    for number in ("nan", "inf", "two", ""):
        yield refused(f"slope '{number}'", meta(**{slope: number}),
                      f'its header gives an {slope} of "{number}"')
        yield refused(f"offset '{number}'", meta(**{offset: number}),
                      f'its header gives an {offset} of "{number}"')


def data_rows():
    raw = {"dose.raw": BYTES}
    spread = "its data are spread over several files; write them into one"
    nowhere = "its header does not tell where its data are"
    yield read("LOCAL", meta())
    yield read("local", meta(ElementDataFile="local"))
    yield read(".mhd", meta(b"", ElementDataFile="dose.raw"), file="dose.mhd", beside=raw)
    yield read(".mhd, no line end", meta(b"", ElementDataFile="dose.raw")[:-1], file="dose.mhd",
               beside=raw)
    yield read(".mhd, lines of another system",
               meta(b"", ElementDataFile="dose.raw").replace(b"\n", b"\r\n"), file="dose.mhd",
               beside=raw)
    yield read(".mhd, packed", packed(b"", ElementDataFile="dose.zraw"), file="dose.mhd",
               beside={"dose.zraw": zlib.compress(BYTES)})
    yield read("data file with blanks in its name", meta(b"", ElementDataFile="a dose.raw"),
               beside={"a dose.raw": BYTES})
    yield read("data file in a folder", meta(b"", ElementDataFile="folder/dose.raw"),
               beside={"folder/dose.raw": BYTES})
    yield refused("data file missing", meta(b"", ElementDataFile="absent.raw"),
                  "its data file absent.raw is missing")
    yield refused("data file too short", meta(b"", ElementDataFile="dose.raw"),
                  cut_short(240, 239), beside={"dose.raw": BYTES[1:]})
    yield refused("data file too long", meta(b"", ElementDataFile="dose.raw"),
                  too_long(240, 241), beside={"dose.raw": BYTES + b"\0"})
    yield refused("a folder as the data file", meta(b"", ElementDataFile="."),
                  "its data file . is a folder, not a dose file")
    yield refused("a device as the data file", meta(b"", ElementDataFile="/dev/zero"),
                  "its data file zero is a device, not a dose file")
    for name in ("LIST", "List", "LIST 2", "dose%03d.raw 1 4 1"):
        yield refused(f"ElementDataFile = {name}", meta(b"", ElementDataFile=name), spread)
    yield read("HeaderSize 0", meta(HeaderSize="0"))
    yield read("HeaderSize 5 in a data file", meta(b"", HeaderSize="5", ElementDataFile="dose.raw"),
               beside={"dose.raw": b"12345" + BYTES})
    yield read("HeaderSize -1 in a data file",
               meta(b"", HeaderSize="-1", ElementDataFile="dose.raw"),
               beside={"dose.raw": b"12345" + BYTES})
    yield read("HeaderSize -1", meta(b"something else" + BYTES, HeaderSize="-1"))
    padded = meta(b"12345" + BYTES, HeaderSize="000")
    yield read("HeaderSize of header and padding",
               replaced(padded, b"= 000", f"= {len(padded) - 240}".encode()))
    yield refused("HeaderSize within the header", meta(HeaderSize="10"),
                  'its header gives a HeaderSize of "10"')
    for size in ("-2", "1.5", "five", ""):
        yield refused(f"HeaderSize '{size}'",
                      meta(b"", HeaderSize=size, ElementDataFile="dose.raw"),
                      f'its header gives a HeaderSize of "{size}"', beside=raw)
    yield refused("HeaderSize beyond the end",
                  meta(b"", HeaderSize="999", ElementDataFile="dose.raw"), cut_short(240, 0),
                  beside=raw)
    line = b"ElementDataFile = LOCAL\n"
    for end in (b"ElementDataFile\n", b"ElementDataFile = \n"):
        yield refused(f"{end}", replaced(meta(), line, end), nowhere)
    yield refused("ElementDataFile and NUL", replaced(meta(), line, b"ElementDataFile\0\n"),
                  'its header has a line without "=": "ElementDataFile?"')
    yield refused("no ElementDataFile", replaced(meta(b""), line, b""),
                  "its header has no end (ElementDataFile)")
    yield refused("a header of two million bytes", meta(Comment="-" * 2000000),
                  "its header has no end (ElementDataFile)")


def line_rows():
    header = meta(b"")
    twice = 'its header gives "{}" twice'
    for key in ("NDims", "DimSize", "ElementSpacing", "Offset", "TransformMatrix", "ElementType",
                "BinaryDataByteOrderMSB", "CompressedData", "ElementDataFile"):
        for other in (key.lower(), key.upper(), key.capitalize()):
            yield read(f"key {other}",
                       replaced(meta(), b"\n" + key.encode() + b" =",
                                b"\n" + other.encode() + b" ="))
    yield read("all keys in lower case", header.lower() + BYTES)
    yield read("lines of another system", header.replace(b"\n", b"\r\n") + BYTES)
    yield read("no blanks around =", header.replace(b" = ", b"=") + BYTES)
    yield read("tabs around =", header.replace(b" = ", b"\t=\t") + BYTES)
    yield read("an empty line", replaced(header, b"\n", b"\n\n") + BYTES)
    yield read("NDims first", replaced(header, b"ObjectType = Image\n", b"") + BYTES)
    yield read("a comment first", b"Comment = a = b\n" + meta())
    for key in ("Modality", "Name", "ID", "Color", "Dose", "ElementMin", "SequenceID"):
        yield read(f"a key that tells nothing: {key}", meta(**{key: "MET_MOD_OTHER 1 2"}))
    yield read("a key twice with one value", header.replace(b"NDims", b"NDims = 3\nNDims") + BYTES)
    yield read("a key twice in two cases", replaced(header, b"NDims", b"NDIMS = 3\nNDims") + BYTES)
    for key, value in (("NDims", "4"), ("ElementSpacing", "1 1 1"), ("Offset", "0 0 0"),
                       ("ElementType", "MET_INT"), ("DimSize", "3 5 4")):
        added = f"{key.upper()} = {value}\nBinaryData ="
        yield refused(f"two values of {key}",
                      replaced(meta(), b"BinaryData =", added.encode()),
                      twice.format(key.lower()))
    yield refused("a NUL for a blank",
                  replaced(meta(), b"BinaryData = True", b"BinaryData =\0True"),
                  'its header gives "binarydata" as "?True" (accepted: True, False)')
    yield refused("a line without =", replaced(meta(), b"NDims", b"a line\nNDims"),
                  'its header has a line without "=": "a line"')


FORMAT = "MetaImage"
ROWS = [
    *type_rows(), *long_rows(), *unit_rows(), *byte_order_rows(), *packing_rows(), *text_rows(), *place_rows(),
    *spacing_rows(), *size_rows(), *intensity_rows(), *data_rows(), *line_rows(),
]
