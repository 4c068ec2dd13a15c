"""The variants of DICOM RT Dose."""

import gzip
import io
import shutil
import struct
import subprocess
import tempfile
import zlib
from pathlib import Path

import numpy as np
import pydicom
from pydicom.dataelem import DataElement
from pydicom.dataset import FileDataset, FileMetaDataset
from pydicom.uid import (
    DeflatedExplicitVRLittleEndian, ExplicitVRBigEndian, ExplicitVRLittleEndian,
    ImplicitVRLittleEndian, RLELossless,
)

from variants import (
    DAMAGED, FOREIGN, NOT_FINITE, ORIENTATIONS, ROTATED, STRAIGHT, VALUES,
    Grid, Variant, flipped, grouped, gzip_member, patched, read, refused, replaced, scaled, turned,
)

RT_DOSE = "1.2.840.10008.5.1.4.1.1.481.2"
#: What is stored, [z, y, x]: more than 8 bits can hold.
STORED = (VALUES * 64).astype(int)
SCALING = "0.015625"
PIXEL_DATA = 0x7FE00010
TOO_FEW = "is cut short: {} bytes should follow, {} do"


def placed(orientation, descending=False):
    """Frames of rows of columns, and what DICOM tells of their place."""
    frames, spacing, origin, axes = turned(orientation, STORED)
    row, column, step = (np.array(axis) for axis in axes)
    normal = np.cross(row, column)
    direction = int(normal @ step)
    return frames, spacing, origin, (*axes[0], *axes[1]), direction, normal


def pixel_type(bits):
    return "OB" if bits == 8 else "OW"


def dataset(orientation=STRAIGHT, bits=16, signed=False, absolute=False, stored=None,
            order="<", scaling=SCALING, **elements):
    """The elements of a dose; None removes one, and names that are none are left to pydicom."""
    frames, spacing, origin, cosines, direction, normal = placed(orientation)
    frames = frames if stored is None else stored
    offsets = np.arange(len(frames)) * spacing[2] * direction
    if absolute:
        offsets = origin[2] + offsets * normal[2]
    made = pydicom.Dataset()
    made.SOPClassUID = RT_DOSE
    made.SOPInstanceUID = "1.2.3.4.5"
    made.Modality = "RTDOSE"
    made.PatientName = "Nobody^At^All"
    made.PatientID = "none"
    made.FrameOfReferenceUID = "1.2.3.4"
    made.SliceThickness = spacing[2]
    made.ImagePositionPatient = [float(c) for c in origin]
    made.ImageOrientationPatient = [float(c) for c in cosines]
    made.SamplesPerPixel = 1
    made.PhotometricInterpretation = "MONOCHROME2"
    made.NumberOfFrames, made.Rows, made.Columns = frames.shape
    made.FrameIncrementPointer = 0x3004000C
    made.PixelSpacing = [spacing[1], spacing[0]]
    made.BitsAllocated = made.BitsStored = bits
    made.HighBit = bits - 1
    made.PixelRepresentation = int(signed)
    made.DoseUnits = "GY"
    made.DoseType = "PHYSICAL"
    made.DoseSummationType = "PLAN"
    made.GridFrameOffsetVector = [float(o) for o in offsets]
    made.DoseGridScaling = scaling
    data = frames.astype(f"{order}{'i' if signed else 'u'}{bits // 8}").tobytes()
    made.add(DataElement(PIXEL_DATA, pixel_type(bits), data + bytes(len(data) % 2)))
    for keyword, value in elements.items():
        if value is None:
            delattr(made, keyword)
        else:
            setattr(made, keyword, value)
    return made


def file_of(elements, syntax=ExplicitVRLittleEndian, meta=True):
    """The bytes of a file."""
    about = FileMetaDataset()
    about.MediaStorageSOPClassUID = RT_DOSE
    about.MediaStorageSOPInstanceUID = "1.2.3.4.5"
    about.TransferSyntaxUID = syntax
    made = FileDataset(None, elements, file_meta=about, preamble=bytes(128))
    made.is_little_endian = syntax != ExplicitVRBigEndian
    made.is_implicit_VR = syntax == ImplicitVRLittleEndian
    if syntax == RLELossless:
        made.file_meta.TransferSyntaxUID = ExplicitVRLittleEndian
        made.compress(RLELossless, encoding_plugin="pydicom")
    contents = io.BytesIO()
    pydicom.dcmwrite(contents, made, write_like_original=False)
    whole = contents.getvalue()
    return whole if meta else whole[data_set_start(whole) :]


def data_set_start(contents):
    """Where the elements begin that are not about the file."""
    length = contents.index(b"\2\0\0\0UL\4\0") + 8
    return length + 4 + struct.unpack_from("<I", contents, length)[0]


def dose(syntax=ExplicitVRLittleEndian, meta=True, **changes):
    return file_of(dataset(**changes), syntax, meta)


def rle_dose(_, stored=STORED, bits=16, signed=False, **changes):
    """Packed by run lengths, put together by hand; pydicom packs unsigned values only."""
    values = stored.astype(f"{'i' if signed else 'u'}{bits // 8}")
    elements = dataset(stored=stored, bits=bits, signed=signed, **changes)
    whole = file_of(elements, ExplicitVRLittleEndian)
    whole = replaced(whole, b"1.2.840.10008.1.2.1\0", RLELossless.encode() + b"\0")
    start = whole.rindex(struct.pack("<HH", 0x7FE0, 0x10))
    return whole[:start] + PACKED_HEAD + pieces_of(rle_frames(values))


PACKED_HEAD = struct.pack("<HH", 0x7FE0, 0x10) + b"OB\0\0\xff\xff\xff\xff"


def text_replaced(old, new, **changes):
    """The file of a dose with one text of an element for another of the same length."""
    assert len(old) == len(new)
    return replaced(dose(**changes), old, new)


def syntax_rows():
    for name, syntax in {
        "implicit": ImplicitVRLittleEndian,
        "explicit": ExplicitVRLittleEndian,
        "deflated": DeflatedExplicitVRLittleEndian,
        "RLE": RLELossless,
    }.items():
        make = rle_dose if syntax == RLELossless else dose
        for bits in (16, 32):
            for signed in (False, True):
                row = f"{name}, {'signed' if signed else 'unsigned'} {bits} bits"
                contents = make(syntax, bits=bits, signed=signed)
                yield read(row, contents)
                yield read(row + ", packed by gzip", gzip.compress(contents))
        few = STORED // 16
        yield read(f"{name}, 8 bits", make(syntax, bits=8, stored=few, scaling="0.25"),
                   scaled(few, 0.25))
        negative = few - 100
        yield read(f"{name}, 8 bits below 0",
                   make(syntax, bits=8, signed=True, stored=negative // 2, scaling="0.25"),
                   scaled(negative // 2, 0.25))
        yield read(f"{name}, doses below 0",
                   make(syntax, signed=True, stored=STORED - 2000), scaled(STORED - 2000, 1 / 64))
    yield read("RLE as pydicom packs it", dose(RLELossless))
    for name, syntax in (("implicit", ImplicitVRLittleEndian),
                         ("explicit", ExplicitVRLittleEndian)):
        contents = dose(syntax, meta=False)
        yield read(f"{name} without meta information", contents)
        yield read(f"{name} without meta information, packed by gzip", gzip.compress(contents))
        yield read(f"{name} without meta information, behind a preamble",
                   bytes(128) + b"DICM" + contents)
    big = dataset(order=">")
    yield read("big endian of 16 bits", file_of(big, ExplicitVRBigEndian))
    yield read("big endian of 16 bits, signed",
               file_of(dataset(order=">", signed=True), ExplicitVRBigEndian))
    yield read("big endian of 16 bits, without meta information",
               file_of(big, ExplicitVRBigEndian, meta=False))
    few = STORED // 16
    yield read("big endian of 8 bits",
               file_of(dataset(bits=8, stored=few, scaling="0.25"), ExplicitVRBigEndian),
               scaled(few, 0.25))
    for bits, kind in ((32, "OW"), (16, "OB"), (8, "OW")):
        elements = dataset(bits=bits, order=">", stored=few)
        elements[PIXEL_DATA].VR = kind
        yield refused(f"big endian of {bits} bits as {kind}",
                      file_of(elements, ExplicitVRBigEndian),
                      f"has values of {bits} bits as {kind} in big endian, whose order is "
                      "ambiguous; store them in little endian first")
    for kind in ("OB", "UN"):
        elements = dataset()
        elements[PIXEL_DATA].VR = kind
        yield read(f"little endian as {kind}", file_of(elements))
    elements = dataset()
    elements[PIXEL_DATA].VR = "OF"
    yield refused("values as OF", file_of(elements), 'has a dose grid of type "OF"')
    unknown = "1.2.840.10008.1.2.9"
    yield refused("an unknown transfer syntax",
                  replaced(dose(), b"1.2.840.10008.1.2.1\0", unknown.encode() + b"\0"),
                  f'is written in the transfer syntax "{unknown}", which is not supported')


def pieces_of(frames_or_pieces, table=b""):
    """Packed pixel data: a table and pieces."""
    items = [table, *frames_or_pieces]
    return b"".join(
        b"\xfe\xff\x00\xe0" + struct.pack("<I", len(item)) + item for item in items
    ) + b"\xfe\xff\xdd\xe0\0\0\0\0"


def rle_file(content):
    """A file whose dose is packed by run lengths, put together by hand."""
    whole = dose(RLELossless)
    return whole[: whole.rindex(PACKED_HEAD[:4])] + PACKED_HEAD + content


def rle_frames(values=STORED.astype("u2")):
    """The frames as run lengths: each byte of a value in a segment of its own, high ones first."""
    size = values.dtype.itemsize
    frames = []
    for frame in values.astype(values.dtype.newbyteorder(">")):
        planes = frame.reshape(-1).view("u1").reshape(-1, size).T
        # One literal of all bytes; an even length is asked for.
        segments = [bytes([len(plane) - 1]) + plane.tobytes() for plane in planes]
        segments = [segment + bytes(len(segment) % 2) for segment in segments]
        starts = [64 + sum(map(len, segments[:i])) for i in range(size)]
        frames.append(struct.pack("<16I", size, *starts, *[0] * (15 - size)) + b"".join(segments))
    return frames


def rle_rows():
    frames = rle_frames()
    starts = np.cumsum([0] + [len(frame) + 8 for frame in frames[:-1]]).astype("<u4").tobytes()
    halves = [half for frame in frames for half in (frame[:70], frame[70:])]
    half_starts = np.cumsum([0] + [len(f) + 16 for f in frames[:-1]]).astype("<u4").tobytes()
    short = "is cut short: a frame packed by run lengths holds fewer values than the grid"
    long = "holds more than its grid: a frame packed by run lengths has more values"
    yield read("RLE without a table", rle_file(pieces_of(frames)))
    yield read("RLE with a table", rle_file(pieces_of(frames, starts)))
    yield read("RLE of frames in pieces", rle_file(pieces_of(halves, half_starts)))
    yield refused("RLE of frames in pieces, no table", rle_file(pieces_of(halves)),
                  "has 8 pieces of packed dose for 4 frames, and no table that tells which "
                  "belong together")
    yield refused("RLE with a table off",
                  rle_file(pieces_of(frames, patched(starts, 4, b"\3"))),
                  "is damaged: the table of its packed frames names places between its pieces")
    yield refused("RLE with a table of 3 frames", rle_file(pieces_of(frames, starts[:12])),
                  "has a table of packed frames of 12 bytes for 4 frames")
    yield refused("RLE, a frame missing", rle_file(pieces_of(frames[:3])),
                  "is cut short: 3 pieces of packed dose for 4 frames")
    yield refused("RLE of one segment",
                  rle_file(pieces_of([patched(frames[0], 0, b"\1"), *frames[1:]])),
                  "is damaged: a frame packed by run lengths has 1 segments instead of 2")
    yield refused("RLE, segments out of order",
                  rle_file(pieces_of([patched(frames[0], 8, b"\x40"), *frames[1:]])),
                  "is damaged: the segments of a frame packed by run lengths are out of order")
    yield refused("RLE, a frame cut", rle_file(pieces_of([frames[0][:-9], *frames[1:]])), short)
    yield refused("RLE, a run too long",
                  rle_file(pieces_of([patched(frames[0], 64, b"\xf1"), *frames[1:]])), long)
    yield refused("RLE, a literal too long",
                  rle_file(pieces_of([patched(frames[0], 64, b"\x0f"), *frames[1:]])), short)
    yield refused("RLE, a literal too short",
                  rle_file(pieces_of([patched(frames[0], 64, b"\x0d"), *frames[1:]])), short)
    yield refused("RLE, no end", rle_file(pieces_of(frames)[:-8]),
                  "is cut short: 4 bytes should follow, 0 do")
    yield refused("RLE, said to be plain",
                  replaced(dose(RLELossless), b"1.2.840.10008.1.2.5\0", b"1.2.840.10008.1.2.1\0"),
                  "is damaged: its dose is in pieces, its transfer syntax has none")
    unknown = "1.2.840.10008.1.2.9"
    yield refused("packed in an unknown way",
                  replaced(dose(RLELossless), b"1.2.840.10008.1.2.5\0", unknown.encode() + b"\0"),
                  f'holds a dose packed in the transfer syntax "{unknown}", which is not '
                  "supported; store it without compression first")
    yield refused("plain, said to be RLE",
                  replaced(dose(), b"1.2.840.10008.1.2.1\0", b"1.2.840.10008.1.2.5\0"),
                  "is damaged: its packed dose is not in pieces")
    mark = rle_file(pieces_of(frames))
    yield refused("a mark with a length", patched(mark, -4, b"\0\0\0\x40"),
                  "is damaged: a mark of DICOM has a length")


#: Some codecs take no frames as small as the others here.
LARGER = np.tile(STORED, (1, 12, 8))


def jpeg(option):
    """A file that an independent tool has packed; it exists only on computers with that tool."""
    with tempfile.TemporaryDirectory() as folder:
        plain, packed = Path(folder, "plain.dcm"), Path(folder, "packed.dcm")
        plain.write_bytes(dose(stored=LARGER))
        subprocess.run(["gdcmconv", option, plain, packed], check=True, capture_output=True)
        return packed.read_bytes()


def jpeg_rows():
    """The one place where the program does more than the package: it has a process apart."""
    if shutil.which("gdcmconv") is None:
        raise RuntimeError("gdcmconv is missing (Debian package libgdcm-tools)")
    tools = {"--jpeg": ("JPEG", "gdcmconv --raw, or dcmdjpeg"),
             "--jpegls": ("JPEG-LS", "gdcmconv --raw, or dcmdjpls"),
             "--j2k": ("JPEG 2000", "gdcmconv --raw")}
    for option, (name, advice) in tools.items():
        sentence = (
            f"holds a dose packed as {name}, which only the command-line program unpacks; "
            f"store it without compression first ({advice})"
        )
        yield Variant(name, {"dose": jpeg(option)}, Grid(scaled(LARGER, 1 / 64)), sentence)
    cut = jpeg("--jpegls")
    mark = cut.rindex(b"\xfe\xff\xdd\xe0")
    yield refused("JPEG-LS, cut short", cut[: mark - 20], TOO_FEW.format(*jpeg_left(cut, mark)))


def jpeg_left(contents, mark):
    """Of the last piece: its length, and what is left of it without its last 20 bytes."""
    piece = contents.rindex(b"\xfe\xff\x00\xe0", 0, mark)
    (length,) = struct.unpack_from("<I", contents, piece + 4)
    return grouped(length), grouped(length - 20)


def gzip_rows():
    whole = dose()
    half = len(whole) // 2
    packed = gzip_member(whole)
    yield read("packed by gzip, two members",
               gzip_member(whole[:half]) + gzip_member(whole[half:]))
    for split in (100, 700):
        yield read(f"packed by gzip, {split} bytes in the first member",
                   gzip_member(whole[:split]) + gzip_member(whole[split:]))
    yield read("packed by gzip, zeros behind", packed + bytes(100))
    yield refused("packed by gzip, a byte behind", packed + b"\1", DAMAGED)
    for number in range(-8, 0):
        yield refused(f"packed by gzip, trailer byte {number}", flipped(packed, number), DAMAGED)
    for count in range(1, 9):
        yield refused(f"packed by gzip, {count} bytes missing", packed[:-count], DAMAGED)
    yield refused("packed by gzip, cut in the data", packed[:-40], DAMAGED)
    stored = gzip_member(whole, level=0)
    yield refused("packed by gzip, one bit", flipped(stored, -40), DAMAGED)


def deflated_rows():
    """A raw stream has no checksum; what it holds has lengths."""
    whole = dose(DeflatedExplicitVRLittleEndian)
    start = data_set_start(whole)
    plain = zlib.decompress(whole[start:], -15)

    def with_stream(data, behind=b""):
        packer = zlib.compressobj(wbits=-15)
        return whole[:start] + packer.compress(data) + packer.flush() + behind

    yield read("deflated by hand", with_stream(plain))
    yield read("deflated, a byte of padding", with_stream(plain, b"\0"))
    # As GDCM writes it: what ends a gzip file stands behind the stream.
    trailer = struct.pack("<II", zlib.crc32(plain), len(plain))
    yield read("deflated, checksum and length behind", with_stream(plain, trailer))
    for number in range(8):
        yield refused(f"deflated, byte {number} of what is behind",
                      with_stream(plain, flipped(trailer, number, number)), DAMAGED)
        yield refused(f"deflated, {number} of 8 bytes behind",
                      with_stream(plain, b"\1" + trailer[:number]), DAMAGED)
    yield refused("deflated, two bytes behind", with_stream(plain, b"\0\0"), DAMAGED)
    yield refused("deflated, a byte behind that is no padding", with_stream(plain, b"\1"), DAMAGED)
    yield refused("deflated, cut", with_stream(plain)[:-3], DAMAGED)
    yield refused("deflated in name only", whole[:start] + plain, DAMAGED)
    yield refused("deflated, dose cut", with_stream(plain[:-10]),
                  "is cut short: 120 bytes of dose should follow, 110 do")


def number_rows():
    """Lengths of the pixel data."""
    few = STORED[:3, :, :].copy() // 16
    yield read("a byte of padding", dose(bits=8, stored=few[:, :, :], scaling="0.25"),
               scaled(few, 0.25))
    for name, data in (("a byte", STORED.astype("<u2").tobytes() + b"\0\0"),
                       ("a frame", STORED.astype("<u2").tobytes() + bytes(30))):
        yield refused(f"{name} too much", dose(PixelData=data),
                      f"holds more than its grid: {len(data)} bytes of dose, not 120")
    yield refused("two bytes too little", dose(PixelData=STORED.astype("<u2").tobytes()[:-2]),
                  "is cut short: 118 bytes of dose, not 120")
    yield refused("empty pixel data", dose(PixelData=b""),
                  "is cut short: 0 bytes of dose, not 120")
    whole = dose()
    yield refused("the last byte missing", whole[:-1],
                  "is cut short: 120 bytes of dose should follow, 119 do")
    yield refused("no pixel data", dose(PixelData=None), "is an RT Dose without a dose grid")
    padding = b"\xfc\xff\xfc\xffOB\0\0" + struct.pack("<I", 6) + bytes(6)
    yield read("trailing padding as an element", whole + padding)
    for behind in (b"\0", b"\0\0", b"\r\n"):
        yield refused(f"{behind} behind the last element", whole + behind,
                      f"is cut short: 4 bytes should follow, {len(behind)} do")
    yield read("12 of 16 bits", dose(BitsStored=12, HighBit=11))
    yield refused("more than 10 of 16 bits", dose(BitsStored=10, HighBit=9),
                  "has values that need more than the 10 bits it tells")
    yield refused("bits below others", dose(BitsStored=12, HighBit=15),
                  "has a High Bit of 15 with 12 Bits Stored")
    yield refused("17 of 16 bits", dose(BitsStored=17, HighBit=16), "has 17 Bits Stored in 16")
    for bits in (1, 12, 24, 64):
        yield refused(f"{bits} bits", dose(BitsAllocated=bits), f"has values of {bits} bits")
    yield refused("three samples", dose(SamplesPerPixel=3), "has more than one sample per pixel")
    yield refused("a Pixel Representation of 2", dose(PixelRepresentation=2),
                  "has a Pixel Representation of 2")


MISSING = {
    "ImagePositionPatient": "Image Position (Patient)",
    "ImageOrientationPatient": "Image Orientation (Patient)",
    "PixelSpacing": "Pixel Spacing",
    "GridFrameOffsetVector": "Grid Frame Offset Vector",
    "DoseUnits": "Dose Units",
    "DoseGridScaling": "Dose Grid Scaling",
    "Rows": "Rows",
    "Columns": "Columns",
    "BitsAllocated": "Bits Allocated",
    "PixelRepresentation": "Pixel Representation",
    "SamplesPerPixel": "Samples per Pixel",
}


def element_rows():
    for keyword, name in MISSING.items():
        remedy = ": the unit of its doses must be given" if keyword == "DoseUnits" else ""
        yield refused(f"no {name}", dose(**{keyword: None}), f"has no {name}{remedy}")
        if keyword not in ("Rows", "Columns", "BitsAllocated", "PixelRepresentation",
                           "SamplesPerPixel"):
            yield refused(f"an empty {name}", dose(**{keyword: ""}), f"has no {name}{remedy}")
    for keyword in ("SliceThickness", "BitsStored", "HighBit", "PhotometricInterpretation",
                    "FrameIncrementPointer", "PatientName", "FrameOfReferenceUID", "DoseType",
                    "DoseSummationType", "SOPInstanceUID"):
        yield read(f"no {keyword}", dose(**{keyword: None}))
    yield read("no SOP class", dose(SOPClassUID=None))
    yield read("no modality", dose(Modality=None))
    other = dataset(SOPClassUID="1.2.840.10008.5.1.4.1.1.2", Modality="CT")
    yield refused("another modality", file_of(other, meta=False),
                  "is DICOM but no RT Dose (modality CT)")
    yield refused("another modality, with meta information", file_of(other),
                  "is DICOM but no RT Dose (modality CT)")
    del other.Modality
    yield refused("no modality at all", file_of(other, meta=False),
                  "is DICOM but no RT Dose (modality unknown)")
    for units in ("CGY", "MGY", "PERCENT"):
        yield refused(f"units {units}", dose(DoseUnits=units),
                      f'has Dose Units of "{units}" (accepted: GY, RELATIVE)')
    for scaling, shown in (("0", "0"), ("-1", "-1"), ("-0.5", "-0.5")):
        yield refused(f"scaling {scaling}", dose(DoseGridScaling=scaling),
                      f"has a Dose Grid Scaling of {shown}")
    yield refused("scaling that makes infinite doses", dose(DoseGridScaling="1e300"), NOT_FINITE)
    for scaling in ("1.0E-2", "+0.01", " 0.01 ", "1e-02"):
        yield read(f"scaling '{scaling}'",
                   text_replaced(b"0.0123456789", scaling.encode().ljust(12),
                                 scaling="0.0123456789"), scaled(STORED, 0.01))
    no_number = 'has a {} with "{}" in it'
    for keyword, name, old, new, shown in (
        ("scaling", "Dose Grid Scaling", b"0.015625", b"nan     ", "nan"),
        ("scaling", "Dose Grid Scaling", b"0.015625", b"0,015625", "0,015625"),
        ("scaling", "Dose Grid Scaling", b"0.015625", b"inf     ", "inf"),
        ("position", "Image Position (Patient)", b"-7.5\\12.25", b"-7.x\\12.25", "-7.x"),
        # One bit from a minus: no blank, or the place would come out elsewhere.
        ("position", "Image Position (Patient)", b"-7.5\\12.25", b"\r7.5\\12.25", "?7.5"),
        ("spacing", "Pixel Spacing", b"2.5\\2.0", b"2.5\\nan", "nan"),
        ("offsets", "Grid Frame Offset Vector", b"0.0\\3.0\\6.0", b"0.0\\x.0\\6.0", "x.0"),
        ("orientation", "Image Orientation (Patient)", b"1.0\\0.0\\0.0\\", b"1.0\\0.0\\0.y\\",
         "0.y"),
    ):
        yield refused(f"{keyword} of {shown}", text_replaced(old, new),
                      no_number.format(name, shown))
    count = "has a {} of {} numbers instead of {}"
    for keyword, value, name, wanted in (
        ("ImagePositionPatient", [0, 0], "Image Position (Patient)", 3),
        ("ImageOrientationPatient", [1, 0, 0, 0, 1], "Image Orientation (Patient)", 6),
        ("PixelSpacing", [2], "Pixel Spacing", 2),
        ("PixelSpacing", [2, 2, 2], "Pixel Spacing", 2),
        ("DoseGridScaling", ["1", "2"], "Dose Grid Scaling", 1),
        ("GridFrameOffsetVector", [0, 3, 6], "Grid Frame Offset Vector", 4),
        ("GridFrameOffsetVector", [0, 3, 6, 9, 12], "Grid Frame Offset Vector", 4),
    ):
        yield refused(f"{keyword} of {len(value)} numbers", dose(**{keyword: value}),
                      count.format(name, len(value), wanted))
    size = "the voxel size of {} mm along axis {} is outside 0.001 to 1000 mm"
    yield refused("Pixel Spacing of 0", dose(PixelSpacing=[0, 2]), size.format(0, "y"))
    yield refused("Pixel Spacing below 0", dose(PixelSpacing=[2, -2]), size.format(-2, "x"))
    yield refused("far away", dose(ImagePositionPatient=[0, 0, 1e6]),
                  "the origin of 1e+06 mm along axis z is no sensible position")
    yield refused("0 rows", dose(Rows=0), "the grid has 0 voxels along axis y")
    yield refused("60000 columns", dose(Columns=60000),
                  "is cut short: 120 bytes of dose, not 1 440 000")
    for frames in (0, -5):
        yield refused(f"{frames} frames", dose(NumberOfFrames=frames),
                      f"has a Number of Frames of {frames}")
    yield refused("two thousand million frames", dose(NumberOfFrames=2000000000),
                  count.format("Grid Frame Offset Vector", 4, "2000000000"))
    yield refused("no Number of Frames", dose(NumberOfFrames=None),
                  count.format("Grid Frame Offset Vector", 4, 1))
    yield refused("a frame more than there are",
                  dose(NumberOfFrames=5, GridFrameOffsetVector=[0, 3, 6, 9, 12]),
                  "is cut short: 120 bytes of dose, not 150")
    error = "is of the Dose Type ERROR: it holds differences between doses"
    below = STORED - 1000
    yield Variant("Dose Type ERROR", {"dose": dose(DoseType="ERROR", signed=True, stored=below)},
                  Grid(VALUES - np.float32(15.625), doubts=(error,), is_error=True),
                  "holds differences between doses, no doses (Dose Type ERROR); pass "
                  "allow_error_doses=True to read them as such")
    yield read("doses below 0", dose(signed=True, stored=below), VALUES - np.float32(15.625))
    for kind in ("PHYSICAL", "EFFECTIVE", "", None):
        yield read(f"Dose Type {kind}", dose(DoseType=kind))
    yield Variant("relative doses", {"dose": dose(DoseUnits="RELATIVE")},
                  Grid(VALUES, unit="relative"),
                  "its doses are relative; pass allow_relative=True to read them as such")


def frame_rows():
    for orientation in ORIENTATIONS:
        yield read(f"axes {orientation}", dose(orientation=orientation))
        if orientation[2][0] == 2:
            yield read(f"axes {orientation}, absolute offsets",
                       dose(orientation=orientation, absolute=True))
    uneven = "has frames that are not evenly spaced (frame {} lies {} mm off)"
    yield read("frames uneven by less than 0.01 mm",
               dose(GridFrameOffsetVector=[0, 3.009, 5.991, 9]))
    yield refused("frames uneven by 0.02 mm", dose(GridFrameOffsetVector=[0, 3.02, 6, 9]),
                  uneven.format(2, "0.02"))
    yield refused("one frame off", dose(GridFrameOffsetVector=[0, 3, 7, 9]), uneven.format(3, "1"))
    yield refused("frames forth and back", dose(GridFrameOffsetVector=[0, 3, 6, 3]),
                  uneven.format(2, "2"))
    yield refused("all frames in one place", dose(GridFrameOffsetVector=[0, 0, 0, 0]),
                  "the voxel size of 0 mm along axis z is outside 0.001 to 1000 mm")
    neither = (
        "has a Grid Frame Offset Vector that begins neither with 0 nor with the position of the "
        "first frame"
    )
    yield refused("offsets of another place", dose(GridFrameOffsetVector=[5, 8, 11, 14]), neither)
    yield refused("absolute offsets with the wrong sign",
                  dose(GridFrameOffsetVector=[40, 43, 46, 49]), neither)
    yield read("absolute offsets that are relative ones too",
               dose(ImagePositionPatient=[-7.5, 12.25, 0]), origin=(-7.5, 12.25, 0))
    one = {"stored": STORED[:1], "NumberOfFrames": 1, "SliceThickness": 4}
    first = {"values": VALUES[:1], "spacing": (2, 2.5, 4), "normal": "z"}
    yield read("a single frame", dose(**one, GridFrameOffsetVector=None), **first)
    yield read("a single frame with an offset vector", dose(**one, GridFrameOffsetVector=[0]),
               **first)
    yield read("a single frame with an absolute offset",
               dose(**one, GridFrameOffsetVector=[-40]), **first)
    yield read("a single frame, no Number of Frames",
               dose(**(one | {"NumberOfFrames": None}), GridFrameOffsetVector=None), **first)
    for cosines, order, spacing, normal in (
        ([1, 0, 0, 0, 0, 1], (1, 0, 2), (2, 4, 2.5), "y"),
        ([0, 1, 0, 0, 0, 1], (1, 2, 0), (4, 2, 2.5), "x"),
    ):
        yield read(f"a single frame across {normal}",
                   dose(**one, GridFrameOffsetVector=None, ImageOrientationPatient=cosines),
                   VALUES[:1].transpose(order), spacing=spacing, normal=normal)
    thin = first | {"spacing": (2, 2.5, None)}
    for vector in (None, [0], [-40]):
        yield read(f"a single frame without Slice Thickness, offsets {vector}",
                   dose(**(one | {"SliceThickness": None}), GridFrameOffsetVector=vector), **thin)
    yield read("a single frame with a Slice Thickness of 0",
               dose(**(one | {"SliceThickness": 0}), GridFrameOffsetVector=None), **thin)
    yield refused("a single frame with a Slice Thickness below 0",
                  dose(**(one | {"SliceThickness": -1}), GridFrameOffsetVector=None),
                  "the voxel size of -1 mm along axis z is outside 0.001 to 1000 mm")
    yield read("two frames",
               dose(stored=STORED[:2], NumberOfFrames=2, GridFrameOffsetVector=[0, 3]), VALUES[:2])
    yield read("a tilt by rounding",
               dose(ImageOrientationPatient=[1, 0.00005, 0, -0.00005, 1, 0]))
    for cosines in ([0.8, 0.6, 0, -0.6, 0.8, 0], [1, 0, 0, 1, 0, 0], [0, 0, 0, 0, 1, 0],
                    [1, 0, 0, 0.001, 1, 0], [2, 0, 0, 0, 2, 0]):
        yield refused(f"orientation {cosines}", dose(ImageOrientationPatient=cosines), ROTATED)


def structure_rows():
    """What holds the elements."""
    whole = dose()
    for kind in ("KI", "B ", "\0\0"):
        contents = replaced(whole, b"\x08\0\x60\0CS", b"\x08\0\x60\0" + kind.encode())
        yield refused(f"an element of type {kind!a}", contents,
                      'is damaged: DICOM has no elements of type "'
                      + kind.replace("\0", "?") + '"')
    element = whole.index(struct.pack("<HH", 0x7FE0, 0x10))
    for length in (0, 8):
        item = b"\xfe\xff\x00\xe0" + struct.pack("<I", length) + length * b"f"
        yield refused(f"an item of {length} bytes outside a sequence",
                      whole[:element] + item + whole[element:],
                      "is damaged: an item of DICOM lies outside a sequence")
    twice = dataset()
    contents = file_of(twice)
    units = contents.index(struct.pack("<HH", 0x3004, 2))
    yield refused("an element twice",
                  contents[:units] + contents[units : units + 10] + contents[units:],
                  "gives Dose Units twice")
    for is_open in (False, True):
        for syntax in (ExplicitVRLittleEndian, ImplicitVRLittleEndian):
            yield from sequence_rows(is_open, syntax)
    yield refused("the mark only", bytes(128) + b"DICM",
                  "is DICOM but no RT Dose (modality unknown)")
    padded = len(RT_DOSE) + len(RT_DOSE) % 2
    yield refused("cut in the meta information", whole[: whole.index(RT_DOSE.encode()) + 10],
                  TOO_FEW.format(padded, 10))
    sequence = struct.pack("<HH", 8, 0x1140) + b"SQ\0\0\xff\xff\xff\xff"
    deep = sequence + b"\xfe\xff\x00\xe0\xff\xff\xff\xff"
    start = data_set_start(whole)
    yield refused("sequences too deep", whole[:start] + 50 * deep + whole[start:],
                  "is damaged: its sequences of DICOM are too deep")


def sequence_rows(is_open, syntax):
    fraction, plan = pydicom.Dataset(), pydicom.Dataset()
    fraction.ReferencedFractionGroupNumber = 1
    plan.ReferencedFractionGroupSequence = [fraction]
    plan.is_undefined_length_sequence_item = is_open
    plans = pydicom.Sequence([plan])
    plans.is_undefined_length = is_open
    row = f"{syntax.name}, {'open' if is_open else 'closed'} sequences"
    contents = dose(syntax, ReferencedRTPlanSequence=plans)
    yield read(row, contents)
    # A length beyond what holds the number of the fraction group.
    length = contents.index(b"\x0c\x30\x22\x00") + 4
    length += 2 if syntax == ExplicitVRLittleEndian else 0
    yield refused(row + ", one of them too long", patched(contents, length, b"\x53"),
                  TOO_FEW.format(0x53, 2))


def foreign_rows():
    yield refused("empty", b"", "is empty")
    yield refused("a text", b"This is no dose.\n" * 100, FOREIGN)
    yield refused("a short text", b"dose;1;2\n", FOREIGN)
    yield refused("noise", np.random.default_rng(1).bytes(5000), FOREIGN)
    yield refused("one byte", b"x", FOREIGN)
    yield refused("zeros", bytes(5000), FOREIGN)
    yield refused("a picture", b"\x89PNG\r\n\x1a\n" + bytes(100), FOREIGN)
    yield refused("an archive", b"PK\3\4" + bytes(100), FOREIGN)


FORMAT = "DICOM RT Dose"
ROWS = [
    *syntax_rows(), *rle_rows(), *jpeg_rows(), *gzip_rows(), *deflated_rows(), *number_rows(),
    *element_rows(), *frame_rows(), *structure_rows(), *foreign_rows(),
]
