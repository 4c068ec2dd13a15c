"""Writes small files of every format that the program reads, for the fuzzer of its readers to
start from: readers_seeds.py FOLDER"""

import gzip
import sys
import zlib
from pathlib import Path

import nibabel
import numpy
import pydicom
from PIL import Image
from pydicom.dataset import Dataset
from pydicom.sequence import Sequence
from pydicom.uid import (
    DeflatedExplicitVRLittleEndian,
    ExplicitVRBigEndian,
    ImplicitVRLittleEndian,
)

for room in ("cli", "files"):
    sys.path.insert(0, str(Path(__file__).resolve().parents[1] / room))

import doses  # noqa: E402
import segmentations  # noqa: E402
import structure_sets  # noqa: E402
import variants_film  # noqa: E402
import variants_measurements  # noqa: E402
import variants_planes  # noqa: E402
from doses import DicomStyle  # noqa: E402
from structure_sets import contour, polygon, roi  # noqa: E402

SIZE = (4, 3, 2)
WITHOUT_SPACE = {"space": None, "space_directions": None, "space_origin": None, "kinds": None}


def write_metaimages(folder, dose):
    doses.write_mha(folder / "plain.mha", dose)
    doses.write_mha(folder / "big_endian.mha", dose, dose.values.astype(">f4").tobytes(),
                    BinaryDataByteOrderMSB="True")
    for name, code in (("uchar", "u1"), ("short", "<i2"), ("double", "<f8")):
        doses.write_mha(folder / f"{name}.mha", dose, dose.values.astype(code).tobytes(),
                        ElementType=f"MET_{name.upper()}")
    packed = zlib.compress(dose.values.tobytes())
    doses.write_mha(folder / "packed.mha", dose, packed, CompressedData="True",
                    CompressedDataSize=str(len(packed)))
    doses.write_mha(folder / "turned.mha", dose, TransformMatrix="0 0 1 0 1 0 -1 0 0")
    doses.write_mha(folder / "at_end.mha", dose, HeaderSize="-1")
    doses.write_mha(folder / "long.mha", dose, dose.values.astype("<i4").tobytes(),
                    ElementType="MET_LONG", DistanceUnits="cm",
                    ElementToIntensityFunctionSlope="0.5")
    doses.write_mha(folder / "text.mha", dose, b" ".join(b"%d" % i for i in range(24)),
                    BinaryData="False", ElementType="MET_UCHAR")
    # The fuzzer gives a file of its own for any name.
    (folder / "detached.mhd").write_bytes(doses.meta_header(dose, "dose.raw"))


def write_nrrds(folder, dose):
    doses.write_nrrd(folder / "plain.nrrd", dose)
    doses.write_nrrd(folder / "packed.nrrd", dose, encoding="gzip")
    doses.write_nrrd(folder / "spacings.nrrd", dose, **WITHOUT_SPACE, spacings="2.5 2 3",
                     axis_mins="1 2 3")
    doses.write_nrrd(folder / "ushort.nrrd", dose, dose.values.astype(">u2").tobytes(),
                     type="ushort", endian="big", byte_skip="0")
    doses.write_nrrd(folder / "ras.nrrd", dose, space="right-anterior-superior",
                     space_units='"mm" "mm" "mm"')
    doses.write_nrrd(folder / "text.nrrd", dose, b" ".join(b"%d" % i for i in range(24)),
                     encoding="ascii", type="int", sample_units="cGy")
    doses.write_nrrd(folder / "skips.nrrd", dose, b"one\n\n  " + dose.values.tobytes(),
                     line_skip="2", byte_skip="2", dimension="4", sizes="1 4 3 2", kinds=None,
                     space_directions="none (2,0,0) (0,2,0) (0,0,2)")
    doses.write_nrrd(folder / "centerings.nrrd", dose, **WITHOUT_SPACE, spacings="2.5 2 3",
                     axis_mins="1 2 3", centerings="node cell ???", units='"mm" "cm" ""')
    header = doses.nrrd_header(dose, data_file="dose.raw")
    (folder / "detached.nhdr").write_bytes(header)


def write_niftis(folder, dose):
    for name in ("plain.nii", "packed.nii.gz", "qform.nii", "scaled.nii"):
        doses.write_nifti(folder / name, dose, scaled_to=numpy.int16 if name == "scaled.nii" else None)
    packed = (folder / "packed.nii.gz").read_bytes()
    (folder / "packed.nii.gz").write_bytes(gzip.compress(gzip.decompress(packed), mtime=0))
    doses.patch_nifti(folder / "qform.nii", 252, "h", 1, 0)
    image = nibabel.Nifti1Image(dose.values.T, numpy.diag([-2.5, -2, 3, 1]))
    (folder / "two.nii").write_bytes(nibabel.Nifti2Image.from_image(image).to_bytes())
    nibabel.save(nibabel.Nifti1Pair(dose.values.T, numpy.diag([-2.5, -2, 3, 1])),
                 folder / "pair.hdr")
    (folder / "pair.img").unlink()
    header = image.header.as_byteswapped(">")
    swapped = nibabel.Nifti1Image(dose.values.T, image.affine, header)
    (folder / "swapped.nii").write_bytes(swapped.to_bytes())


def write_dicoms(folder, dose):
    fixed = {"SOPInstanceUID": "1.2.3"}
    styles = {
        "plain": DicomStyle(elements=fixed),
        "wide": DicomStyle(bits=32, position="FFP", descending=True, elements=fixed),
        "absolute": DicomStyle(absolute_offsets=True, elements=fixed),
        "implicit": DicomStyle(syntax=ImplicitVRLittleEndian, elements=fixed),
        "packed": DicomStyle(compress=True, elements=fixed),
        "relative": DicomStyle(elements={**fixed, "DoseUnits": "RELATIVE"}),
        "single": DicomStyle(elements={**fixed, "NumberOfFrames": 1}),
    }
    for name, style in styles.items():
        doses.write_dicom(folder / f"{name}.dcm", dose, style)
    for name, is_open in (("nested", False), ("open", True)):
        plan, fraction = Dataset(), Dataset()
        fraction.ReferencedFractionGroupNumber = 1
        plan.ReferencedFractionGroupSequence = Sequence([fraction])
        plan.is_undefined_length_sequence_item = is_open
        sequence = Sequence([plan])
        sequence.is_undefined_length = is_open
        elements = {**fixed, "ReferencedRTPlanSequence": sequence}
        doses.write_dicom(folder / f"{name}.dcm", dose, DicomStyle(elements=elements))
    preamble_and_meta = (folder / "implicit.dcm").read_bytes().index(b"\x08\x00\x16\x00")
    (folder / "packed.dcm.gz").write_bytes(
        gzip.compress((folder / "plain.dcm").read_bytes(), mtime=0))
    data = pydicom.dcmread(folder / "plain.dcm")
    for name, syntax in (("deflated", DeflatedExplicitVRLittleEndian),
                         ("big", ExplicitVRBigEndian)):
        data.file_meta.TransferSyntaxUID = syntax
        data.is_little_endian = syntax != ExplicitVRBigEndian
        data.save_as(folder / f"{name}.dcm")
    (folder / "bare.dcm").write_bytes((folder / "implicit.dcm").read_bytes()[preamble_and_meta:])


def write_tables(folder):
    """Planes and points, small."""
    head = b"File Revision:\tD\r\nRows:\t2\r\nCols:\t3\r\nShift X:\t0.5\tmm\r\n\r\n"
    rows = b"Ycm\tROW\t\r\n0.5\t2\t0\t31.5\t0\r\n0.0\t1\t30.25\t0\t29\r\n"
    end = b"\tCOL\t1\t2\t3\r\n\tXcm\t-0.5\t0.0\t0.5\r\n\r\n"
    sections = (name + b"\r\n" + rows + end for name in (b"Raw Counts", b"Dose Counts", b"Data Flags"))
    (folder / "array.txt").write_bytes(head + b"".join(sections) + b"B48A7897")
    (folder / "plane.snc").write_bytes(
        b"*Version:\t1.0.2\r\n*Dose Units:\tcGy\r\n*Coordinate Units:\tmm\r\n*Hole Value:\t-1\r\n"
        b"*Y\\X\t-1\t0\t1\t\r\n1\t1.5\t-1\t2\t\r\n0\t3\t4\t5\t\r\n")
    (folder / "matrix.csv").write_bytes(b"dose in Gy, mm\n;-2;0;2\n3;1,5;;2\n0;1;2;3\n")
    (folder / "matrix.txt").write_bytes(b"# cGy cm\n  -2 0 2\n3 1.5 4 2\n0 1 2 3\n")
    (folder / "raster.csv").write_bytes(b"x (mm),y,dose (Gy)\n0,0,1\n5,0,2\n0,5,3\n10,5,4\n10,0,1\n")
    (folder / "points.csv").write_bytes(b"# x y z dose [mm, cGy]\n1 2 3 100\n-4.5 6e1 7 90\n")


def write_films(folder):
    """Pixels without coordinates, of an even number of bytes: the fuzzer gives units to such files."""
    def write(name, contents):
        (folder / name).write_bytes(contents + b"\n" * (len(contents) % 2))

    write("pixels.txt", variants_film.matrix())
    short, changes = variants_film.SHORT, {}
    for name, pack, code in (("plain", bytes, 1), ("deflated", zlib.compress, 8)):
        changes = {variants_film.COMPRESSION: (short, [code])}
        write(f"{name}.tif", variants_film.tiff(order=">", pack=pack, changes=changes))
    changes[variants_film.PREDICTOR] = (short, [3])
    write("predicted.tif", variants_film.tiff(pack=zlib.compress, changes=changes))
    for name in ("tiff_lzw", "packbits"):
        Image.fromarray(variants_film.WHOLE).save(folder / f"{name}.tif", compression=name)
        write(f"{name}.tif", (folder / f"{name}.tif").read_bytes())


def write_simulations(folder):
    """Simulated doses; the fuzzer's own file of 600 bytes is that of the binary one, as any other."""
    (folder / "dose.3ddose").write_bytes(b"2 2 2\n0 1 2\n0 .5 1.0\n-1 0 1\n4*0 1e-3 2 3 4\n4*.9999999 4*.5\n")
    (folder / "packed.3ddose").write_bytes(
        gzip.compress((folder / "dose.3ddose").read_bytes(), mtime=0))
    head = (b"# TOPAS Version: 3.9\n# X in 5 bins of 0.5 cm\n# Y in 1 bin  of 2 cm\n"
            b"# Z in 5 bins of 4 mm\n# DoseToMedium ( Gy ) : ")
    statistics = b"Sum   Histories_with_Scorer_Active   Standard_Deviation\n"
    rows = b"".join(b"%d, 0, %d, 1e-%d, 100, 2e-9\n" % (i % 5, i // 5, i) for i in range(25))
    (folder / "dose.csv").write_bytes(head + statistics + rows)
    (folder / "sparse.csv").write_bytes(
        head + b"Mean\n# Showing only rows that have sum > 0\n"
        b"# Using single index calculated as X * NY * NZ + Y * NZ + Z\n3, 2.5\n7, -1\n")
    (folder / "dose.binheader").write_bytes(head + statistics + b"# Binary file: dose.bin\n")


def write_planes_of_makers(folder):
    """Arrays and planes as programs of their makers write them, small."""
    holed, holes = variants_measurements.HOLED, variants_measurements.HOLES
    counts = variants_measurements.section("Corrected Counts", holed, 8000)
    array = variants_measurements.array(
        counts, variants_measurements.section("Dose Counts", holed), variants_measurements.flags(),
        head="Dose per Count:\t0.0125\r\n")
    (folder / "flags.txt").write_bytes(array)
    (folder / "profiles.mcc").write_bytes(variants_planes.ptw(
        variants_planes.profiles(holed, measured=holes)))
    (folder / "diagonals.mcc").write_bytes(variants_planes.ptw(variants_planes.star()))
    (folder / "star.opg").write_bytes(variants_planes.opg(holed, device="StarTrack"))
    (folder / "film.opg").write_bytes(variants_planes.opg(
        x=[x / 10 for x in variants_measurements.X], y=[y / 10 for y in variants_measurements.Y],
        separator=",", told='","', digits=3, length="cm", device="Film", scale=400,
        keys={"Data Factor": "2.5", "Data Unit": "mGy"}))
    (folder / "plane.all").write_bytes(variants_planes.qa())


def write_planes(folder, dose):
    plane = doses.Dose(dose.values[:1], dose.spacing, dose.origin)
    doses.write_dicom(folder / "plane.dcm", plane, DicomStyle(elements={"SOPInstanceUID": "1.2.3"}))
    data = pydicom.dcmread(folder / "plane.dcm")
    for keyword in ("SliceThickness", "GridFrameOffsetVector"):
        if keyword in data:
            delattr(data, keyword)
    data.save_as(folder / "plane.dcm")
    data.Modality, data.SOPClassUID = "RTIMAGE", "1.2.840.10008.5.1.4.1.1.481.1"
    data.RescaleSlope, data.RescaleIntercept, data.RescaleType = 0.5, 1, "CGY"
    data.ImagePlanePixelSpacing, data.RTImagePosition = [2, 2.5], [-5, 5]
    data.GantryAngle, data.IsocenterPosition, data.PatientPosition = 30, [1, 2, 3], "HFS"
    data.RadiationMachineSAD = data.RTImageSID = 1000
    data.save_as(folder / "image.dcm")


def two_structures():
    """A ring on two planes, and all that counts for nothing."""
    ring = [contour(polygon(4, radius, z=z), NumberOfContourPoints=4)
            for radius in (3, 9) for z in (0.0, 2.5)]
    others = [contour("1\\2\\3", "POINT"), contour(polygon(3), "OPEN_PLANAR"),
              contour(polygon(2)), contour(polygon(3, z=1e-3), "CLOSEDPLANAR_XOR")]
    return structure_sets.structure_set([roi(1, "A", ring), roi(2, "A", others), roi(3, "", None)])


def write_segments(folder):
    masks = {1: numpy.eye(3, 5, dtype=bool)[None].repeat(3, 0), 2: numpy.arange(45).reshape(3, 3, 5) > 9}
    (folder / "segments.dcm").write_bytes(segmentations.contents(masks))
    (folder / "segments-turned.dcm").write_bytes(segmentations.contents(
        masks, ImplicitVRLittleEndian, orientation=((2, -1), (0, 1), (1, -1)), empty_frames=True))


def write_structures(folder, dose):
    for name, syntax in (("implicit", ImplicitVRLittleEndian), ("big", ExplicitVRBigEndian),
                         ("deflated", DeflatedExplicitVRLittleEndian)):
        contents = structure_sets.file_of(two_structures(), syntax)
        (folder / f"structures-{name}.dcm").write_bytes(contents)
    contents = structure_sets.file_of(two_structures(), open_ends=True)
    (folder / "structures-open.dcm").write_bytes(contents)
    called = [b"\x1b$B\x40\x54\x1b(B", b"\x1b$)C\xb0\xa1^\xb0", b"\x1b-F\xe1\x1b$", b"\x1b$(D\x30\x21\x1b"]
    for name, declared in (("called", ["ISO 2022 IR 13", "ISO 2022 IR 87"]), ("chinese", "GB18030"),
                           ("utf8", "ISO_IR 192"), ("untold", None)):
        names = [*called, "\u810a\u9ad3 \U00020bb7".encode("gb18030" if name == "chinese" else "utf-8"),
                 b"\x81\x30\x81", b"\xf0\x90\x80", b"\xff"]
        (folder / f"names-{name}.dcm").write_bytes(structure_sets.named(names, declared))
    labels = (dose.values > dose.values.mean()).astype("<i2") * 2
    segments = (b"Segment0_Name:=A\nSegment0_LabelValue:=2\nSegment0_Color:=0.5 1 0\n"
                b"Segment1_ID:=B\nSegment1_Layer:=0\n\n")
    header = doses.nrrd_header(dose, type="short", endian="little", encoding="raw")
    (folder / "mask.nrrd").write_bytes(header.removesuffix(b"\n") + segments + labels.tobytes())
    header = doses.nrrd_header(
        dose, type="uchar", encoding="raw", dimension="4", sizes="2 4 3 2",
        kinds="list domain domain domain",
        space_directions="none (2,0,0) (0,2,0) (0,0,2)")
    layers = numpy.stack([labels, labels // 2], -1).astype("u1")
    (folder / "layers.nrrd").write_bytes(header.removesuffix(b"\n") + segments + layers.tobytes())


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    dose = doses.blob(size=SIZE)
    for write in (write_metaimages, write_nrrds, write_niftis, write_dicoms, write_structures,
                  write_planes):
        write(folder, dose)
    write_tables(folder)
    write_films(folder)
    write_segments(folder)
    write_simulations(folder)
    write_planes_of_makers(folder)


if __name__ == "__main__":
    main()
