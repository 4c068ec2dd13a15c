"""The variants of RT Structure Sets and label masks."""

import dataclasses
import gzip
import hashlib
import io

import numpy as np
import pydicom
from pydicom.dataset import Dataset
from pydicom.sequence import Sequence
from pydicom.uid import (
    DeflatedExplicitVRLittleEndian, ExplicitVRBigEndian, ExplicitVRLittleEndian,
    ImplicitVRLittleEndian,
)

import variants_dicom
import variants_metaimage
import variants_nifti
import variants_nrrd
import segmentations
from structure_sets import (
    contour, dataset, decimal, file_of, named, polygon, roi, structure_set,
)
from variants import (
    DAMAGED, NO_ORIENTATION, NO_POSITION, ORIENTATIONS, ORIGIN, ROTATED, SPACING, STRAIGHT, VALUES,
    turned, words,
)

FOREIGN = (
    "is not a file of structures (DICOM RT Structure Set or Segmentation, or a label mask in NRRD, "
    "MetaImage or NIfTI)"
)
NO_LABELS = "has no label but 0, which is no structure"
RANGE = " (labels are whole numbers from 0 to 16 777 215)"


@dataclasses.dataclass(frozen=True)
class Told:
    """A structure: what its file says, and a digest of what it is made of."""

    name: str
    number: int
    sha256: str
    type: str = ""
    colour: object = None
    frame: str = ""
    contours: object = None
    left_out: tuple = (0, 0, 0)
    refusal: object = None


@dataclasses.dataclass(frozen=True)
class Structures:
    """What must come out of a file."""

    told: tuple
    warnings: tuple = ()
    grid: object = None  # of a mask: size, spacing, origin


@dataclasses.dataclass(frozen=True)
class Variant:
    name: str
    contents: bytes
    expected: object  # Structures or a sentence
    file: str = "file"


def digest(array):
    return hashlib.sha256(np.ascontiguousarray(array).tobytes()).hexdigest()


def drawn(name, number, contours, **changes):
    """A structure of contours, each an array of vertices."""
    flat = np.concatenate([np.ravel(c) for c in contours]) if contours else np.zeros(0)
    usual = {"type": "ORGAN", "colour": "#ff0080", "frame": "1.2.3"}
    return Told(name, number, digest(flat.astype("<f8")), contours=len(contours), **usual | changes)


def refused_structure(name, number, refusal, **changes):
    made = drawn(name, number, [], refusal=refusal, **changes)
    return dataclasses.replace(made, contours=None)


SQUARE, HEXAGON, UPPER = polygon(4), polygon(6, 3.3), polygon(5, 20, (1e3, -1e3), 2.5)


def usual(**elements):
    return structure_set([
        roi(3, "Brain stem", [contour(SQUARE), contour(HEXAGON)]),
        roi(-1, "PTV 57/67 [x]", [contour(UPPER)], (0, 0, 0), "PTV", "1.2.9"),
    ], **elements)


USUAL = Structures((
    drawn("Brain stem", 3, [SQUARE, HEXAGON]),
    drawn("PTV 57/67 [x]", -1, [UPPER], type="PTV", colour="#000000", frame="1.2.9"),
))


def private():
    """Sequences in sequences, of elements that nobody knows."""
    made = Dataset()
    for depth in range(6):
        outer = Dataset()
        block = outer.private_block(0x3007, "SOMEBODY", create=True)
        block.add_new(1, "SQ", Sequence([made]))
        block.add_new(2, "LO", f"depth {depth}")
        made = outer
    return made


def with_private():
    elements = usual()
    for item in (elements, elements.StructureSetROISequence[0],
                 elements.ROIContourSequence[0].ContourSequence[0]):
        for element in private():
            item.add(element)
    return elements


def syntax_rows():
    for name, syntax in (
        ("explicit", ExplicitVRLittleEndian), ("implicit", ImplicitVRLittleEndian),
        ("big endian", ExplicitVRBigEndian), ("deflated", DeflatedExplicitVRLittleEndian),
    ):
        for open_ends in (False, True):
            whole = file_of(usual(), syntax, open_ends)
            ending = ", open ends" if open_ends else ""
            yield Variant(name + ending, whole, USUAL)
            yield Variant(f"{name}{ending}, gzip", gzip.compress(whole), USUAL)
            nested = file_of(with_private(), syntax, open_ends)
            yield Variant(f"{name}{ending}, private sequences", nested, USUAL)
    whole = file_of(usual())
    yield Variant("no meta information", whole[variants_dicom.data_set_start(whole):], USUAL)
    yield Variant("modality alone", file_of(usual()).replace(b".481.3", b".481.8"), USUAL)


def one(text_or_vertices, kind="CLOSED_PLANAR", **elements):
    return file_of(structure_set([roi(1, "A", [contour(text_or_vertices, kind, **elements)])]))


def contour_rows():
    a = Structures((drawn("A", 1, [SQUARE]),))
    text = decimal(SQUARE)
    for name, data in (
        ("trailing backslash", text + "\\"), ("trailing blanks", text + "   "),
        ("trailing backslash and blank", text + "\\ "), ("blanks", text.replace("\\", " \\  ")),
        ("exponents", "\\".join(f"{v:.12e}" for v in SQUARE.ravel())),
        ("plus signs", "\\".join(f"{v:+}" for v in SQUARE.ravel())),
    ):
        yield Variant(name, one(data), a)
    yield Variant("exclusive or", one(SQUARE, "CLOSEDPLANAR_XOR"), a)
    yield Variant("a number of points", one(SQUARE, NumberOfContourPoints=4), a)
    rng = np.random.default_rng(5)
    longest = np.round(rng.uniform(-400, 400, (200000, 3)), 5)
    longest[:, 2] = -12.34567
    yield Variant("200 000 points", one(longest), Structures((drawn("A", 1, [longest]),)))
    digits = rng.uniform(-999, 999, (500, 3))
    digits[:, 2] = 1 / 3
    text = "\\".join(map(repr, digits.ravel().tolist()))
    yield Variant("17 digits", one(text), Structures((drawn("A", 1, [digits]),)))
    for name, kind, counts in (("points", "POINT", (1, 0, 0)), ("open", "OPEN_PLANAR", (0, 1, 0)),
                               ("open in space", "OPEN_NONPLANAR", (0, 1, 0))):
        yield Variant(name, one(SQUARE, kind), Structures((drawn("A", 1, [], left_out=counts),)))
    for count in (0, 1, 2):
        yield Variant(f"{count} vertices", one(SQUARE[:count]),
                      Structures((drawn("A", 1, [], left_out=(0, 0, 1)),)))


def refused_contour_rows():
    oblique = SQUARE + np.outer(np.arange(4), (0, 0, 0.5))
    text = decimal(SQUARE)
    end = " (contour 2)"
    for name, bad, refusal in (
        ("oblique", contour(oblique),
         "has a contour that does not lie in a plane of constant z: it is 1.5 mm high"),
        ("a coordinate too few", contour(text.rpartition("\\")[0]),
         "has a contour with 11 coordinates, which are no whole points"),
        ("a word", contour(text.replace("10", "ten", 1)),
         "has a Contour Data with \"ten\" in it"),
        ("no number", contour(text.replace("10", "NaN", 1)),
         "has a Contour Data with \"NaN\" in it"),
        ("infinity", contour(text.replace("10", "inf", 1)),
         "has a Contour Data with \"inf\" in it"),
        ("a comma", contour(text.replace("10", "10,5", 1)),
         "has a Contour Data with \"10,5\" in it"),
        ("far away", contour(text.replace("10", "1.1e6", 1)),
         "has a contour with a coordinate of 1100000 mm"),
        ("points lost", contour(SQUARE, NumberOfContourPoints=9),
         "has a contour with 4 points that tells 9"),
        ("an unknown type", contour(SQUARE, "SPLINE"), 'has a contour of the unknown type "SPLINE"'),
        ("no type", contour(SQUARE, None),
         "has a contour that does not tell its Contour Geometric Type"),
    ):
        elements = structure_set([
            roi(1, "A", [contour(SQUARE), bad, contour(HEXAGON)]), roi(2, "B", [contour(HEXAGON)]),
        ])
        told = (refused_structure("A", 1, refusal + end), drawn("B", 2, [HEXAGON]))
        yield Variant(f"one contour: {name}", file_of(elements), Structures(told))
    flat = SQUARE + np.outer(np.arange(4), (0, 0, 0.1 / 3))
    flat = np.round(flat, 6)
    yield Variant("just flat", one(flat), Structures((drawn("A", 1, [flat]),)))


def reference_rows():
    def rois(*items):
        return file_of(structure_set(list(items)))

    yield Variant("no item of contours", rois(roi(1, "A", None)),
                  Structures((drawn("A", 1, [], colour=None),)))
    yield Variant("no contours", rois(roi(1, "A")), Structures((drawn("A", 1, []),)))
    yield Variant(
        "names that are alike", rois(*(roi(i, name) for i, name in enumerate(("A", "B", "A", "")))),
        Structures((drawn("A (0)", 0, []), drawn("B", 1, []), drawn("A (2)", 2, []),
                    drawn("ROI 3", 3, []))))
    elements = usual()
    elements.ROIContourSequence[1].ReferencedROINumber = 7
    yield Variant(
        "contours of nothing", file_of(elements),
        Structures((USUAL.told[0], drawn("PTV 57/67 [x]", -1, [], type="PTV", colour=None,
                                         frame="1.2.9")),
                   ("has contours of ROI numbers that it does not define (7); they are left out",)))
    elements = usual()
    elements.ROIContourSequence[1].ReferencedROINumber = 3
    yield Variant(
        "contours in two places", file_of(elements),
        Structures((drawn("Brain stem", 3, [SQUARE, HEXAGON, UPPER], colour="#000000"),
                    drawn("PTV 57/67 [x]", -1, [], type="PTV", colour=None, frame="1.2.9")),
                   ("has the contours of ROI numbers in several places (3); all of them are taken",)))
    yield Variant("the same number twice", rois(roi(4, "A"), roi(4, "B")),
                  "has two structures of the ROI Number 4")
    yield Variant("no structures", rois(), "is an RT Structure Set without structures")
    many = [roi(i, f"roi {i}", [contour(SQUARE)]) for i in range(3000)]
    yield Variant("3000 structures", rois(*many),
                  Structures(tuple(drawn(f"roi {i}", i, [SQUARE]) for i in range(3000))))
    frame = dataset(FrameOfReferenceUID="1.2.7")
    for name, elements, told in (
        ("the file's frame", {"FrameOfReferenceUID": "1.2.5"}, "1.2.5"),
        ("the only frame", {"ReferencedFrameOfReferenceSequence": Sequence([frame])}, "1.2.7"),
        ("no frame", {}, ""),
    ):
        contents = file_of(structure_set([roi(1, "A", frame=None)], **elements))
        yield Variant(name, contents, Structures((drawn("A", 1, [], frame=told),)))


def foreign_rows():
    yield Variant("a dose", variants_dicom.dose(),
                  "is DICOM but no RT Structure Set (modality RTDOSE)")
    yield Variant("text", b"no structures", FOREIGN)
    yield Variant("nothing", b"", "is empty")
    whole = file_of(usual(), DeflatedExplicitVRLittleEndian)
    yield Variant("deflated, cut", whole[:-20], DAMAGED)
    whole = gzip.compress(file_of(usual()), mtime=0)
    yield Variant("gzip, cut", whole[:-20], DAMAGED)


#: Labels [z, y, x] of the shape that doses have here.
LABELS = np.random.default_rng(3).choice([0, 0, 2, 5, 200], VALUES.shape)


def mask(labels=LABELS, names=None, *, warnings=(), origin=ORIGIN, colours=None):
    """The structures of a mask of one layer."""
    names = names or {n: f"label {n}" for n in sorted(set(labels.ravel().tolist()) - {0})}
    sha256 = digest(labels.astype("<i4"))
    told = tuple(Told(name, number, sha256, colour=(colours or {}).get(number))
                 for number, name in names.items())
    grid = (list(labels.shape[::-1]), list(SPACING), list(origin))
    return Structures(told, warnings, grid)


def mask_rows():
    binary = (LABELS == 5).astype(int)
    named = mask(binary, {1: "PTV 57"})
    for code in ("u1", "i2", "u2", "i4", "u4", "i8", "u8", "f4", "f8"):
        data = LABELS.astype("<" + code)
        text = variants_nrrd.TYPES[code].split(", ")[0]
        yield Variant(f"NRRD, {code}", variants_nrrd.nrrd(data.tobytes(), type=text), mask())
        kind = variants_metaimage.TYPES[code]
        yield Variant(f"MetaImage, {code}", variants_metaimage.meta(data.tobytes(), ElementType=kind),
                      mask())
        yield Variant(f"NIfTI, {code}", variants_nifti.nifti(values=data), mask())
    for number, orientation in enumerate(ORIENTATIONS):
        values, spacing, origin, axes = turned(orientation, LABELS)
        steps = np.multiply(axes, np.reshape(spacing, (3, 1)))
        contents = variants_nrrd.nrrd(
            values.astype("u1").tobytes(), type="uchar", sizes=words(values.shape[::-1]),
            space_origin=variants_nrrd.vector(origin), space_directions=variants_nrrd.vectors(steps))
        yield Variant(f"orientation {number}", contents, mask())
    data = binary.astype("u1")
    for file, contents in (
        ("PTV 57.nrrd", variants_nrrd.nrrd(data.tobytes(), type="uchar")),
        ("PTV 57.seg.nrrd", variants_nrrd.nrrd(data.tobytes(), type="uchar")),
        ("PTV 57.mha", variants_metaimage.meta(data.tobytes(), ElementType="MET_UCHAR")),
        ("PTV 57.nii.gz", gzip.compress(variants_nifti.nifti(values=data))),
    ):
        yield Variant(f"named after {file}", contents, named, file)
    yield Variant("white voxels", variants_nrrd.nrrd((data * 255).tobytes(), type="uchar"),
                  mask(binary * 255, {255: "PTV 57"}), "PTV 57.nrrd")
    empty = mask(LABELS * 0, {1: "PTV 57"}, warnings=(NO_LABELS,))
    yield Variant("nothing in it", variants_nrrd.nrrd(bytes(LABELS.size), type="uchar"), empty,
                  "PTV 57.nrrd")
    yield Variant("no place", variants_nrrd.spaced(LABELS.astype("u1").tobytes(), type="uchar"),
                  mask(origin=(0, 0, 0), warnings=(NO_POSITION, NO_ORIENTATION)))


def refused_mask_rows():
    yield Variant("a dose in NRRD", variants_nrrd.nrrd(VALUES.astype("<f4").tobytes()),
                  f"is no label mask: it has a value of {VALUES.ravel()[0]:.9g}{RANGE}")
    for value, told in ((-1, "-1"), (1 << 24, "16777216"), ((1 << 31) - 1, "2.14748365e+09")):
        labels = LABELS.astype("<i4")
        labels[1, 1, 1] = value
        yield Variant(f"a value of {value}", variants_nrrd.nrrd(labels.tobytes(), type="int"),
                      f"is no label mask: it has a value of {told}{RANGE}")
    many = np.arange(10002, dtype="<u2").tobytes()
    yield Variant("many values", variants_nrrd.nrrd(many, type="ushort", sizes="10002 1 1"),
                  "is no label mask: it has more than 10 000 different values")
    data = LABELS.astype("u1").tobytes()
    oblique = "(2,0.1,0) (0,2.5,0) (0,0,3)"
    yield Variant("rotated", variants_nrrd.nrrd(data, type="uchar", space_directions=oblique),
                  ROTATED)
    yield Variant("cut short", variants_nrrd.nrrd(data[:-1], type="uchar"),
                  "is cut short, or its header lies: its grid needs 60 bytes of values, "
                  "the file has 59")


NO_SET = "does not tell its character set; texts beyond ASCII are taken as "


def name_rows():
    """Of one name; test_characters.py has every set of characters."""
    spinal = "Rückenmark"
    damaged = ("has texts with bytes that are no characters of its character set; U+FFFD stands for "
               "each")
    for name, declared, encoded, text, notes in (
        ("Latin-1", "ISO_IR 100", spinal.encode("latin_1"), spinal, ()),
        ("UTF-8", "ISO_IR 192", spinal.encode(), spinal, ()),
        ("no set, UTF-8", None, spinal.encode(), spinal, (NO_SET + "UTF-8",)),
        ("no set, Latin-1", None, spinal.encode("latin_1"), spinal, (NO_SET + "Latin-1",)),
        ("not its set", "ISO_IR 192", spinal.encode("latin_1"), "R\ufffdckenmark", (damaged,)),
    ):
        told = Told(text, 0, digest(np.zeros(0)), "ORGAN", contours=0, frame="1.2.3")
        yield Variant(f"a name, {name}", named([encoded], declared), Structures((told,), notes))


def segmentation(layers, kinds="list domain domain domain", order=None, **segments):
    """A NRRD of several layers [layer, z, y, x], with keys as segmentation tools write them."""
    array = np.moveaxis(np.array(layers, "u1"), 0, -1) if order is None else np.array(layers, "u1")
    sizes = words(array.shape[::-1])
    steps = ["none", *variants_nrrd.vectors(np.diag(SPACING)).split(" ")]
    steps = " ".join(steps if order is None else [*steps[1:], steps[0]])
    keys = "".join(f"{key}:={value}\n" for key, value in segments.items())
    return variants_nrrd.nrrd(array.tobytes(), type="uchar", dimension="4", sizes=sizes, kinds=kinds,
                              space_directions=steps, more=keys)


def segmentation_rows():
    first, second = np.where(LABELS == 200, 0, LABELS), (LABELS > 0).astype(int)
    keys = {
        "Segmentation_ContainedRepresentationNames": "Binary labelmap|",
        "Segment0_ID": "s0", "Segment0_Name": "Brain stem", "Segment0_LabelValue": "5",
        "Segment0_Layer": "0", "Segment0_Color": "0 0.2 1", "Segment0_Extent": "0 4 0 2 0 3",
        "Segment1_ID": "all", "Segment1_LabelValue": "1", "Segment1_Layer": "1",
    }
    digests = [digest(layer.astype("<i4")) for layer in (first, second)]
    told = (Told("Brain stem", 5, digests[0], colour="#0033ff"), Told("all", 1, digests[1]),
            Told("label 2 of layer 1", 2, digests[0]))
    grid = (list(LABELS.shape[::-1]), list(SPACING), list(ORIGIN))
    yield Variant("layers side by side", segmentation([first, second], **keys),
                  Structures(told, grid=grid))
    last = segmentation([first, second], "domain domain domain list", "last", **keys)
    yield Variant("layers one after another", last, Structures(told, grid=grid))
    yield Variant("values of another kind", segmentation([first, second], "vector domain domain domain"),
                  "has 2 values per voxel instead of one dose")
    data = LABELS.astype("u1").tobytes()
    names = {2: "A", 5: "B (5)", 200: "B (200)"}
    more = "Segment0_Name:=A\nSegment0_LabelValue:=2\nSegment1_Name:=B\nSegment1_LabelValue:=5\n" \
           "Segment2_Name:=B\nSegment2_LabelValue:=200\nSegment2_Color:=1 1 1\n"
    yield Variant("segments of one layer", variants_nrrd.nrrd(data, type="uchar", more=more),
                  mask(names=names, colours={200: "#ffffff"}))


#: Voxels [z, y, x] by the numbers of segments: two that lie apart, one that shares voxels with both, none.
SEGMENTS = {1: LABELS == 2, 4: LABELS == 5, 9: LABELS > 2, 10: LABELS < 0}
NAMES = {1: "Lung", 4: "Heart", 9: "", 10: "Lung"}
GRID = (list(LABELS.shape[::-1]), list(SPACING), list(ORIGIN))


def segments(masks=None, *, frame="1.2.3", warnings=(), grid=GRID):
    """The structures of a DICOM Segmentation of such voxels."""
    masks = masks or SEGMENTS
    apart = digest((masks[1] + 4 * masks[4]).astype("<i4"))
    told = ((1, "Lung (1)", apart), (4, "Heart", apart), (9, "segment 9", digest((9 * masks[9]).astype("<i4"))),
            (10, "Lung (10)", apart))
    return Structures(tuple(Told(name, number, sha256, frame=frame) for number, name, sha256 in told), warnings, grid)


def dicom_segmentation_rows():
    def of(masks=None, **options):
        return segmentations.contents(masks or SEGMENTS, names=NAMES, **options)

    for name, syntax in (("explicit", ExplicitVRLittleEndian), ("implicit", ImplicitVRLittleEndian),
                         ("deflated", DeflatedExplicitVRLittleEndian)):
        yield Variant(f"segments, {name}", of(syntax=syntax), segments())
        yield Variant(f"segments, {name}, gzip", gzip.compress(of(syntax=syntax)), segments())
    for number, orientation in enumerate(ORIENTATIONS):
        yield Variant(f"segments, orientation {number}", of(orientation=orientation), segments())
    yield Variant("segments, all frames", of(empty_frames=True), segments())
    yield Variant("segments, another order", of(reverse=True), segments())
    yield Variant("segments, no frame of reference", of(FrameOfReferenceUID=None), segments(frame=""))
    between = segmentations.measures(SPACING, between=False)
    yield Variant("segments, planes tell their distance", of(shared=between), segments())
    # Every second plane: the step tells that those between hold nothing, else they are as thick.
    upper = {number: mask & (np.arange(4) % 2 == 0)[:, None, None] for number, mask in SEGMENTS.items()}
    size = [*GRID[0][:2], 3]
    yield Variant("segments, planes left out", of(upper), segments(
        {n: mask[:3] for n, mask in upper.items()}, grid=(size, *GRID[1:])))
    note = "tells a Slice Thickness of 3 mm, but has frames no nearer than 6 mm; they are taken to fill that"
    yield Variant("segments, thin planes", of(upper, shared=segmentations.measures(SPACING, between=False)), segments(
        {n: mask[:3:2] for n, mask in upper.items()}, warnings=(note,),
        grid=([*GRID[0][:2], 2], [*SPACING[:2], 6.0], GRID[2])))
    yield from refused_segmentations(of)


def refused_segmentations(of):
    yield Variant("segments, fractions", of(SegmentationType="FRACTIONAL", BitsAllocated=8),
                  'is a DICOM Segmentation with a Segmentation Type of "FRACTIONAL", whose values are no structures; '
                  "save it as BINARY")
    yield Variant("segments, labels", of(SegmentationType="LABELMAP", SOPClassUID="1.2.840.10008.5.1.4.1.1.66.7"),
                  "is a DICOM Segmentation of labels (LABELMAP), which is not read; save it as BINARY, or as a label "
                  "mask in NRRD or NIfTI")
    yield Variant("segments, bytes", of(BitsAllocated=8),
                  "is a BINARY DICOM Segmentation whose voxels have more than one bit")
    yield Variant("segments, big endian", of(syntax=ExplicitVRBigEndian),
                  "is a DICOM Segmentation in big endian, in which the order of its bits is not clear; save it in "
                  "little endian")
    yield Variant("segments, none", of(SegmentSequence=Sequence([])), "is a DICOM Segmentation without segments")
    twice = Sequence([segmentations.segment(n, "A") for n in (4, 4)])
    yield Variant("segments, one number twice", of(SegmentSequence=twice),
                  "has a segment of the number 0, or two of one number (4)")
    few = Sequence([segmentations.segment(n, f"S{n}") for n in (1, 4)])
    apart = digest((SEGMENTS[1] + 4 * SEGMENTS[4]).astype("<i4"))
    yield Variant("segments, one is not defined", of(SegmentSequence=few), Structures(
        tuple(Told(f"S{n}", n, apart, frame="1.2.3") for n in (1, 4)),
        ("has frames of segments that it does not define (1); they are left out",), GRID))
    frames = sum(int(mask.any((1, 2)).sum()) for mask in SEGMENTS.values())
    bytes_of_voxels = -(-frames * LABELS[0].size // 8)
    for name, data in (("cut", b"\0" * 16), ("long", b"\0" * 30)):
        yield Variant(f"segments, {name}", of(PixelData=data),
                      f"is a DICOM Segmentation whose frames need {bytes_of_voxels} bytes, and whose Pixel Data has "
                      f"{len(data)}")
    yield Variant("segments, frames untold", of(NumberOfFrames=frames + 1),
                  f"tells of {frames} frames, and has {frames + 1}")
    yield Variant("segments, rotated", rewritten(of(), lambda made: turn_frames(made, [0.6, 0.8, 0, -0.8, 0.6, 0])),
                  ROTATED)
    tall = segmentations.measures((2, 2.5, 4))
    yield Variant("segments, another step", of(shared=tall),
                  "tells a Spacing Between Slices of 4 mm, but has frames 3 mm apart")
    for name, change, sentence in (
        ("a place twice", (0, 0, 0), "has two frames of segment 1 in one plane"),
        ("a frame beside", (0.5, 0, 3), "has frames that do not lie straight above one another in one grid; resample "
         "it first"),
        ("uneven frames", (0, 0, 1.5), "tells a Spacing Between Slices of 3 mm, but has frames 1.5 mm apart"),
        ("a frame far away", (0, 0, 30000), "has frames 30000 mm apart, with most planes between them left out"),
    ):
        yield Variant(f"segments, {name}", rewritten(of(), lambda made, by=change: move_frame(made, by)), sentence)
    for name, keyword, told in (("place", "PlanePositionSequence", "position"),
                                ("segment", "SegmentIdentificationSequence", "segment")):
        def drop(made, keyword=keyword):
            delattr(made.PerFrameFunctionalGroupsSequence[1], keyword)
        yield Variant(f"segments, no {name}", rewritten(of(), drop), f"has a frame that tells no {told} (frame 2)")
    flat = {1: LABELS[:1] == 2, 4: LABELS[:1] == 5, 9: LABELS[:1] > 2, 10: LABELS[:1] < 0}
    yield Variant("segments, a plane", of(flat), segments(flat, grid=([*GRID[0][:2], 1], *GRID[1:])))
    thin = segmentations.measures(SPACING, between=False, thickness=0)
    yield Variant("segments, a plane of no thickness", of(flat, shared=thin),
                  "has frames in one plane alone, and tells neither Spacing Between Slices nor Slice Thickness")


def rewritten(contents, change):
    """A file that pydicom reads, changes and writes."""
    made = pydicom.dcmread(io.BytesIO(contents))
    change(made)
    changed = io.BytesIO()
    made.save_as(changed)
    return changed.getvalue()


def turn_frames(made, cosines):
    made.SharedFunctionalGroupsSequence[0].PlaneOrientationSequence[0].ImageOrientationPatient = cosines


def move_frame(made, by):
    """The second frame lies so far from the first one."""
    first, second = (groups.PlanePositionSequence[0] for groups in made.PerFrameFunctionalGroupsSequence[:2])
    second.ImagePositionPatient = [f"{a + b:.10g}" for a, b in zip(first.ImagePositionPatient, by)]


ROWS = [
    *syntax_rows(), *contour_rows(), *refused_contour_rows(), *reference_rows(), *foreign_rows(),
    *name_rows(), *mask_rows(), *refused_mask_rows(), *segmentation_rows(), *dicom_segmentation_rows(),
]
