"""Files that cannot be compared: one line that names the file and the reason, nothing written."""

import gzip
import resource
import unittest

import numpy
import pydicom
from pydicom.uid import ExplicitVRLittleEndian, ImplicitVRLittleEndian

import doses
from doses import CT_IMAGE, DicomStyle
from support import ProgramTest, run

GIGABYTE = 1 << 30


def limit_memory():
    """A header must not talk the program into a giant allocation."""
    resource.setrlimit(resource.RLIMIT_AS, (2 * GIGABYTE, 2 * GIGABYTE))


# A sanitized program needs more address space than any computer has memory.
LIMIT = limit_memory if run("--version", preexec_fn=limit_memory).returncode == 0 else None


class BadFiles(ProgramTest):
    def setUp(self):
        super().setUp()
        self.dose = doses.blob()
        self.good = doses.write_nrrd(self.folder / "good.nrrd", self.dose)

    def check(self, path, *reasons):
        """The file is refused in either place, and by info."""
        before = self.files()
        outputs = ("--json", self.folder / "out.json", "--gamma-map", self.folder / "out.mha")
        for arguments in (
            ("compare", path, self.good, *outputs),
            ("compare", self.good, path, *outputs),
            ("info", path),
        ):
            result = run(*arguments, preexec_fn=LIMIT)
            self.assert_refused(result, 1, str(path), *reasons)
            self.assertLess(len(result.stderr), 400)
            self.assertNotIn(": cannot be read: ", result.stderr, "the text of another library")
        self.assertEqual(self.files(), before)

    def check_table(self, table, write):
        for reason, changes in table:
            with self.subTest(changes=changes):
                self.check(write(**changes), reason)

    def test_not_an_image(self):
        empty = self.folder / "empty.nrrd"
        empty.write_bytes(b"")
        text = self.folder / "text.dcm"
        text.write_text("This is no dose.\n" * 100)
        noise = self.folder / "noise.mha"
        noise.write_bytes(numpy.random.default_rng(1).bytes(5000))
        for path, reason in (
            (self.folder / "absent.nrrd", "no such file"),
            (self.folder, "is a folder"),
            (empty, "is empty"),
            (text, "is not a dose file"),
            (noise, "is not a dose file"),
        ):
            with self.subTest(path.name):
                self.check(path, reason)

    def test_unreadable(self):
        path = doses.write_nrrd(self.folder / "secret.nrrd", self.dose)
        path.chmod(0)
        try:
            path.read_bytes()
        except PermissionError:
            self.check(path, "cannot be opened")
        else:
            self.skipTest("this user may read everything")

    def test_metaimage_headers(self):
        self.check_table(
            [
                ("voxel size", {"ElementSpacing": "0 2 3"}),
                ("voxel size", {"ElementSpacing": "2 -2 3"}),
                ("voxel size", {"ElementSpacing": "2 nan 3"}),
                ("voxel size", {"ElementSpacing": "2 inf 3"}),
                ("voxel size", {"ElementSpacing": "2 1e30 3"}),
                ("voxel size", {"ElementSpacing": "two 2 3"}),
                ("no voxel size", {"ElementSpacing": None}),
                ("origin", {"Offset": "nan 0 0"}),
                ("origin", {"Offset": "0 1e300 0"}),
                ("grid size", {"DimSize": "0 15 12"}),
                ("grid size", {"DimSize": "-18 15 12"}),
                ("grid size", {"DimSize": "18.5 15 12"}),
                ("too large", {"DimSize": "2000000 2000000 2000000"}),
                ("too large", {"DimSize": "1300 1300 1300"}),
                ("is cut short", {"DimSize": "18 15 13"}),
                ("is cut short", {"DimSize": "1000 1000 1000"}),
                ("is cut short", {"DimSize": "1000 1000 1000", "CompressedData": "True"}),
                ("", {"CompressedData": "True"}),
                ("not three-dimensional", {"NDims": "2", "DimSize": "18 15",
                                           "ElementSpacing": "2 2", "Offset": "0 0",
                                           "TransformMatrix": "1 0 0 1"}),
                ("", {"NDims": "1000000000"}),
                ("", {"NDims": "-3"}),
                ("", {"DimSize": None}),
                ("", {"DimSize": "18 15"}),
                ("rotated", {"TransformMatrix": "0.8 0.6 0 -0.6 0.8 0 0 0 1"}),
                ("orientation", {"TransformMatrix": "nan 0 0 0 1 0 0 0 1"}),
                ("values per voxel", {"ElementNumberOfChannels": "3", "DimSize": "6 15 12"}),
                ("", {"ElementType": "MET_SOMETHING"}),
                ("unknown type", {"ElementType": "MET_OTHER"}),
                ("", {"ElementType": None}),
            ],
            lambda **changes: doses.write_mha(self.folder / "bad.mha", self.dose, **changes),
        )

    def test_metaimage_without_a_place_of_its_data(self):
        path = doses.write_mha(self.folder / "bad.mha", self.dose)
        contents = path.read_bytes()
        for line in (b"ElementDataFile\n", b"ElementDataFile\0\0\n", b"ElementDataFile = \n"):
            with self.subTest(line):
                path.write_bytes(contents.replace(b"ElementDataFile = LOCAL\n", line))
                self.check(path)

    def test_nrrd_headers(self):
        self.check_table(
            [
                ("voxel size", {"space_directions": "(0,0,0) (0,2,0) (0,0,3)"}),
                ("", {"space_directions": "(nan,0,0) (0,2,0) (0,0,3)"}),
                ("voxel size", {"space_directions": "(1e30,0,0) (0,2,0) (0,0,3)"}),
                ("rotated", {"space_directions": "(2,1,0) (-1,2,0) (0,0,3)"}),
                ("no voxel size", {"space_directions": None, "space_origin": None,
                                   "space": None, "kinds": None}),
                ("voxel size", {"space_directions": None, "space_origin": None,
                                "space": None, "kinds": None, "spacings": "2 0 3"}),
                ("voxel size", {"space_directions": None, "space_origin": None,
                                "space": None, "kinds": None, "spacings": "2 nan 3"}),
                ("", {"space_origin": "(nan,0,0)"}),
                ("origin", {"space_origin": "(0,1e200,0)"}),
                ("grid size", {"sizes": "0 15 12"}),
                ("grid size", {"sizes": "-1 15 12"}),
                ("too large", {"sizes": "100000 100000 100000"}),
                ("", {"sizes": "99999999999999999999 1 1"}),
                ("is cut short", {"sizes": "18 15 13"}),
                ("is cut short", {"sizes": "1000 1000 1000"}),
                ("is cut short", {"sizes": "1000 1000 1000", "encoding": "gzip"}),
                ("", {"sizes": "18 15"}),
                ("", {"dimension": "2", "sizes": "18 180", "kinds": None}),
                ("", {"dimension": "1000"}),
                ("", {"type": "block"}),
                ("", {"type": None}),
                ("encoding", {"encoding": "bzip2"}),
                ("not in mm", {"space_units": '"cm" "cm" "cm"'}),
                ("missing", {"data_file": "absent.raw"}),
                ("several files", {"data_file": "LIST"}),
            ],
            lambda **changes: doses.write_nrrd(self.folder / "bad.nrrd", self.dose, **changes),
        )

    def test_nifti_headers(self):
        nan = float("nan")
        for reason, position, code, numbers in (
            ("grid size", 42, "h", [0]),
            ("grid size", 42, "h", [-18]),
            ("", 42, "h", [20000, 20000, 20000]),
            ("is cut short", 46, "h", [13]),
            ("not three-dimensional", 40, "h", [2]),
            ("", 40, "h", [4, 18, 15, 4, 3]),
            ("", 40, "h", [300]),
            ("voxel size", 80, "f", [0.0]),
            ("voxel size", 84, "f", [-2.0]),
            ("voxel size", 88, "f", [nan]),
            ("origin", 292, "f", [nan]),
            ("no position", 252, "h", [0, 0]),
            ("not in mm", 123, "b", [1]),
            ("not in mm", 123, "b", [3]),
            ("origin", 292, "f", [1e30]),
            ("orientation", 284, "f", [-1.7e38]),
            ("voxel size", 80, "f", [1e30]),
            ("", 70, "h", [9999]),
            ("", 70, "h", [128]),
            ("", 0, "i", [12345]),
            ("data position", 108, "f", [nan]),
            ("", 108, "f", [1e30]),
            ("", 108, "f", [-1e30]),
            ("an intercept", 112, "f", [2.0, nan]),
        ):
            with self.subTest(position=position, numbers=numbers):
                path = doses.write_nifti(self.folder / "bad.nii", self.dose)
                self.check(doses.patch_nifti(path, position, code, *numbers), reason)

    def test_nifti_with_two_positions(self):
        for position, number in ((268, 20.5), (280, -2.51), (324, 8.02), (76, -1.0)):
            with self.subTest(position=position):
                path = doses.write_nifti(self.folder / "bad.nii", self.dose)
                doses.patch_nifti(path, 252, "h", 1, 2)
                self.assertEqual(run("info", path).returncode, 0)
                self.check(doses.patch_nifti(path, position, "f", number),
                           "two different positions")

    def test_oblique_nifti(self):
        turn = numpy.array([[0.8, -0.6, 0, 0], [0.6, 0.8, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]])
        path = doses.write_nifti(self.folder / "bad.nii", self.dose, turn=turn)
        self.check(path, "rotated")

    def test_dicom_elements(self):
        uneven = [0, 3, 6, 9, 12, 15, 18, 22, 24, 27, 30, 33]
        self.check_table(
            [
                ("evenly spaced", {"GridFrameOffsetVector": uneven}),
                ("voxel size", {"GridFrameOffsetVector": [0] * 12}),
                ("begins neither", {"GridFrameOffsetVector": [5 + 3 * i for i in range(12)]}),
                ("11 numbers instead of 12", {"GridFrameOffsetVector": uneven[:11]}),
                ("no Grid Frame Offset", {"GridFrameOffsetVector": None}),
                ("rotated", {"ImageOrientationPatient": [0.8, 0.6, 0, -0.6, 0.8, 0]}),
                ("rotated", {"ImageOrientationPatient": [1, 0, 0, 1, 0, 0]}),
                ("5 numbers", {"ImageOrientationPatient": [1, 0, 0, 0, 1]}),
                ("no Image Orientation", {"ImageOrientationPatient": None}),
                ("no Image Position", {"ImagePositionPatient": None}),
                ("no Pixel Spacing", {"PixelSpacing": None}),
                ("voxel size", {"PixelSpacing": [0, 2]}),
                ("voxel size", {"PixelSpacing": [2, -2]}),
                ("no Dose Units", {"DoseUnits": None}),
                ('"CGY"', {"DoseUnits": "CGY"}),
                ("no Dose Grid Scaling", {"DoseGridScaling": None}),
                ("Dose Grid Scaling of 0", {"DoseGridScaling": "0"}),
                ("Dose Grid Scaling of -1", {"DoseGridScaling": "-1"}),
                ("modality CT", {"SOPClassUID": CT_IMAGE, "Modality": "CT"}),
                ("without a dose grid", {"PixelData": None}),
                ("is cut short", {"NumberOfFrames": 13,
                                  "GridFrameOffsetVector": [3 * i for i in range(13)]}),
                ("Number of Frames", {"NumberOfFrames": 0}),
                ("Number of Frames", {"NumberOfFrames": -5}),
                ("", {"NumberOfFrames": 2000000000}),
                ("0 voxels", {"Rows": 0}),
                ("is cut short", {"Columns": 60000}),
                ("no Rows", {"Rows": None}),
                ("64 bits", {"BitsAllocated": 64}),
                ("sample", {"SamplesPerPixel": 3}),
            ],
            lambda **elements: doses.write_dicom(
                self.folder / "bad.dcm", self.dose, self.dicom_style(elements)
            ),
        )

    @staticmethod
    def dicom_style(elements):
        return DicomStyle(elements=elements)

    def test_dicom_numbers_that_are_none(self):
        for keyword, old, new in (
            ("ImagePositionPatient", b"-20.0\\-15.0\\8.0", b"-20.x\\-15.0\\8.0"),
            ("PixelSpacing", b"2.0\\2.5", b"2.0\\nan"),
            ("GridFrameOffsetVector", b"0.0\\3.0\\6.0", b"0.0\\x.0\\6.0"),
        ):
            with self.subTest(keyword):
                path = doses.write_dicom(self.folder / "bad.dcm", self.dose)
                contents = path.read_bytes()
                self.assertIn(old, contents)
                path.write_bytes(contents.replace(old, new))
                self.check(path, "has a ")

    def test_dicom_element_of_unknown_type(self):
        """A reader may take its value for a length and ask for as much memory."""
        contents = doses.write_dicom(self.folder / "bad.dcm", self.dose).read_bytes()
        for old, new in ((b"UI", b"KI"), (b"PN", b"B "), (b"DS", b"\0\0")):
            with self.subTest(new=new):
                path = self.folder / "bad.dcm"
                path.write_bytes(contents.replace(old, new, 2))
                self.check(path, "no elements of type")

    def test_dicom_mark_with_a_length(self):
        """GDCM asks for as much memory."""
        style = DicomStyle(compress=True)
        contents = doses.write_dicom(self.folder / "bad.dcm", self.dose, style).read_bytes()
        mark = contents.rindex(b"\xfe\xff\xdd\xe0") + 4
        path = self.folder / "bad.dcm"
        path.write_bytes(contents[:mark] + b"\0\0\0\x40" + contents[mark + 4 :])
        self.check(path, "damaged")

    def test_dicom_item_outside_a_sequence(self):
        """GDCM then takes the file for one of mixed syntaxes and asks for as much memory."""
        contents = doses.write_dicom(self.folder / "bad.dcm", self.dose).read_bytes()
        element = contents.index(b"\xe0\x7f\x10\x00")
        path = self.folder / "bad.dcm"
        for length in (0, 8):
            item = b"\xfe\xff\x00\xe0" + bytes([length, 0, 0, 0]) + length * b"f"
            path.write_bytes(contents[:element] + item + contents[element:])
            self.check(path, "outside a sequence")

    def test_dicom_sequences(self):
        """Whatever is nested must end within what holds it."""
        for is_open in (False, True):
            fraction, plan = pydicom.Dataset(), pydicom.Dataset()
            fraction.ReferencedFractionGroupNumber = 1
            plan.ReferencedFractionGroupSequence = [fraction]
            plan.is_undefined_length_sequence_item = is_open
            plans = pydicom.Sequence([plan])
            plans.is_undefined_length = is_open
            for syntax in (ExplicitVRLittleEndian, ImplicitVRLittleEndian):
                style = DicomStyle(syntax=syntax, elements={"ReferencedRTPlanSequence": plans})
                path = doses.write_dicom(self.folder / "bad.dcm", self.dose, style)
                self.assertEqual(run("info", path).returncode, 0)
                contents = path.read_bytes()
                number = contents.index(b"\x0c\x30\x22\x00") + 4  # of the fraction group
                with self.subTest(syntax=syntax, is_open=is_open):
                    length = number + (2 if syntax == ExplicitVRLittleEndian else 0)
                    patched = contents[:length] + b"\x53\x00" + contents[length + 2 :]
                    path.write_bytes(patched)
                    self.check(path)

    def test_relative_doses(self):
        style = DicomStyle(elements={"DoseUnits": "RELATIVE"})
        relative = doses.write_dicom(self.folder / "relative.dcm", self.dose, style)
        gray = doses.write_dicom(self.folder / "gray.dcm", self.dose)
        self.assert_refused(run("compare", relative, relative), 1, "relative doses", "--norm")
        self.assert_refused(run("compare", relative, gray, "--norm", 2), 1, "the other one Gy")
        document = self.results(relative, relative, "--norm", 2)
        self.assertEqual(document["criteria"][0]["passRate"], 100)
        self.assertEqual(document["doseUnit"], "relative")

    def test_doses_that_are_no_numbers(self):
        for value in (numpy.nan, numpy.inf):
            self.dose.values[3, 4, 5] = value
            path = doses.write_nrrd(self.folder / "bad.nrrd", self.dose)
            self.check(path, "not finite")

    def test_cut_anywhere(self):
        """Every length a transfer may stop at is refused, in every format."""
        for write, name in (
            (doses.write_nrrd, "whole.nrrd"),
            (doses.write_mha, "whole.mha"),
            (doses.write_nifti, "whole.nii"),
            (doses.write_nifti, "whole.nii.gz"),
            (doses.write_dicom, "whole.dcm"),
        ):
            contents = write(self.folder / name, self.dose).read_bytes()
            cut = self.folder / name.replace("whole", "cut")
            for share in (0.001, 0.02, 0.05, 0.1, 0.3, 0.9, 0.999):
                with self.subTest(name, share=share):
                    cut.write_bytes(contents[: int(len(contents) * share)])
                    self.check(cut)

    def test_damaged_compressed_data(self):
        values = self.dose.values.tobytes()
        damaged = bytearray(gzip.compress(values))
        damaged[len(damaged) // 2] ^= 0xFF
        header = doses.nrrd_header(self.dose, encoding="gzip")
        path = self.folder / "bad.nrrd"
        path.write_bytes(header + bytes(damaged))
        self.check(path)
        path.write_bytes(header + gzip.compress(values[: len(values) // 2]))
        self.check(path)


    def test_random_damage(self):
        """Some bytes overwritten: a clear answer, or a result if the damage does not matter."""
        random = numpy.random.default_rng(20)
        refused = 0
        for write, name in (
            (doses.write_nrrd, "bad.nrrd"),
            (doses.write_mha, "bad.mha"),
            (doses.write_nifti, "bad.nii"),
            (doses.write_nifti, "bad.nii.gz"),
            (doses.write_dicom, "bad.dcm"),
        ):
            contents = write(self.folder / name, self.dose).read_bytes()
            header = 1300 if name == "bad.dcm" else 352
            for round_ in range(25):
                damaged = bytearray(contents)
                for _ in range(random.integers(1, 5)):
                    damaged[random.integers(0, header)] = random.choice([0, 32, 45, 57, 127, 255])
                path = self.folder / name
                path.write_bytes(bytes(damaged))
                result = run("info", path, preexec_fn=LIMIT)
                with self.subTest(name, round=round_):
                    self.assertIn(result.returncode, (0, 1), result.stderr)
                    if result.returncode == 1:
                        self.assert_refused(result, 1, str(path))
                        refused += 1
        self.assertGreater(refused, 50)


class NothingToCompare(ProgramTest):
    def test_no_dose_above_the_cut_off(self):
        dose = doses.blob()
        dose.values[:] = 0
        empty = doses.write_nrrd(self.folder / "empty.nrrd", dose)
        good = doses.write_nrrd(self.folder / "good.nrrd", doses.blob())
        out = self.folder / "out.json"
        result = run("compare", empty, good, "--json", out)
        self.assert_refused(result, 1, "no reference voxel lies above the cut-off")
        result = run("compare", good, empty, "--norm", 1000, "--json", out)
        self.assert_refused(result, 1, "no reference voxel lies above the cut-off")
        self.assertFalse(out.exists())

    def test_grids_that_do_not_overlap(self):
        near, far = doses.blob(), doses.blob()
        far.origin = (500.0, 500.0, 500.0)
        a = doses.write_nrrd(self.folder / "a.nrrd", near)
        b = doses.write_nrrd(self.folder / "b.nrrd", far)
        (criterion,) = self.results(a, b)["criteria"]
        self.assertEqual(criterion["passRate"], 0)
        self.assertEqual(criterion["unreached"], criterion["tested"])
        self.assertIsNone(criterion["mean"])
        self.assertIn("no evaluation dose within reach", run("compare", a, b).stdout)


if __name__ == "__main__":
    unittest.main()
