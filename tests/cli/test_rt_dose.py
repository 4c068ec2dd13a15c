"""RT Doses that the program writes, read by others: dciodvfy, drtdump, pydicom."""

import json
import subprocess
import unittest

import numpy
import pydicom

import doses
from support import ProgramTest, run


def complaints(path):
    """What dciodvfy finds wrong, which breaks off at pixel data of 32 bits: it gets the lower half."""
    copy = pydicom.dcmread(path)
    copy.BitsAllocated = copy.BitsStored = 16
    copy.HighBit = 15
    copy.PixelData = copy.PixelData[: len(copy.PixelData) // 2]
    copy.save_as(path.with_name("copy-for-judge"))
    checked = subprocess.run(["dciodvfy", path.with_name("copy-for-judge")], capture_output=True, text=True,
                             check=False)
    path.with_name("copy-for-judge").unlink()
    told = (checked.stdout + checked.stderr).splitlines()
    assert "RTDose" in told, told
    # It does not know yet that differences are signed.
    known = "Unrecognized enumerated value <0x1> for value 1 of attribute <Pixel Representation>"
    return [line for line in told if line.startswith("Error") and known not in line]


class RtDose(ProgramTest):
    def setUp(self):
        super().setUp()
        self.dose, self.other = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", self.dose)
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", self.other)

    def convert(self, *arguments, output="made.dcm"):
        made = run("convert", *arguments[:1], self.folder / output, *arguments[1:])
        self.assertEqual((made.returncode, made.stdout), (0, ""), made.stderr)
        return self.folder / output

    def check(self, path, values, dose=None):
        """That all judges take it, and that it holds the values at their places."""
        dose = dose or self.dose
        self.assertEqual(complaints(path), [])
        subprocess.run(["drtdump", path], check=True, capture_output=True)
        read = pydicom.dcmread(path)
        step = float(read.DoseGridScaling)
        stored = read.pixel_array.astype(float) * step
        self.assertLessEqual(numpy.abs(stored - values).max(), step / 2 * (1 + 1e-9))
        largest = numpy.abs(values).max()
        self.assertLess(step, largest / (2**31 if read.PixelRepresentation else 2**32) * (1 + 1e-6))
        self.assertEqual(list(read.ImagePositionPatient), list(dose.origin))
        self.assertEqual([*read.PixelSpacing[::-1], read.SliceThickness], list(dose.spacing))
        self.assertEqual(list(read.ImageOrientationPatient), [1, 0, 0, 0, 1, 0])
        self.assertEqual(read.GridFrameOffsetVector[1], dose.spacing[2])
        return read

    def test_a_dose_is_what_it_was(self):
        made = self.convert(self.reference)
        read = self.check(made, self.dose.values)
        self.assertEqual((read.DoseUnits, read.DoseType, read.PatientName), ("GY", "PHYSICAL", ""))
        again = self.convert(self.reference, output="again.dcm")
        self.assertEqual(made.read_bytes(), again.read_bytes())
        other = pydicom.dcmread(self.convert(self.evaluation, output="other.dcm"))
        for name in ("SOPInstanceUID", "SeriesInstanceUID", "StudyInstanceUID"):
            self.assertNotEqual(read[name].value, other[name].value)
        record = self.results(self.reference, made, "-c", "0.0001%/0.1mm", "--dco", "0")
        self.assertEqual(record["criteria"][0]["passRate"], 100)

    def test_a_factor_and_every_format(self):
        for ending, tells_unit in ((".dcm", True), (".mha", False), (".nrrd", True), (".nii.gz", False)):
            made = self.convert(self.reference, "--scale", "1/4", output="made" + ending)
            told = json.loads(run("info", "--json", made).stdout)
            self.assertAlmostEqual(told["grid"]["maximum"]["dose"], self.dose.values.max() / 4, places=7)
            self.assertEqual(told["tellsUnit"], tells_unit, ending)

    def test_nrrd_tells_the_unit_that_the_file_told(self):
        relative = doses.DicomStyle(elements={"DoseUnits": "RELATIVE"})
        absent = "tells no unit of dose; its values are taken for Gy"
        for source, warnings in (
            (doses.write_dicom(self.folder / "gray.dcm", self.dose), []),
            (doses.write_dicom(self.folder / "relative.dcm", self.dose, relative),
             ['its sample units are "relative", taken for Gy']),
            (doses.write_mha(self.folder / "untold.mha", self.dose), [absent]),
        ):
            with self.subTest(source.name):
                made = self.convert(source, output="made.nrrd")
                told = json.loads(run("info", "--json", made).stdout)
                self.assertEqual((told["warnings"], told["tellsUnit"]), (warnings, not warnings))

    def test_a_turned_dose_lies_where_it_lay(self):
        style = doses.DicomStyle(position="FFS", descending=True)
        turned = doses.write_dicom(self.folder / "turned.dcm", self.dose, style)
        made = self.convert(turned)
        record = self.results(turned, made, "-c", "0.01%/0.1mm")
        self.assertEqual(record["criteria"][0]["passRate"], 100)
        self.assertEqual(record["grids"]["reference"]["origin"], record["grids"]["evaluation"]["origin"])

    def test_whose_it_is_only_where_it_is_asked_for(self):
        whose = {"PatientName": "Nobody^At^All", "PatientID": "4711", "StudyInstanceUID": "1.2.3.9",
                 "StudyID": "S7", "FrameOfReferenceUID": "1.2.3.4", "PatientSex": "O"}  # fmt: skip
        like = doses.write_dicom(self.folder / "like.dcm", self.other, doses.DicomStyle(elements=whose))
        made = self.check(self.convert(self.reference, "--like", like), self.dose.values)
        for name, value in whose.items():
            self.assertEqual(str(made[name].value), value, name)
        self.assertNotEqual(made.SOPInstanceUID, pydicom.dcmread(like).SOPInstanceUID)
        plain = self.convert(like, output="plain.dcm")
        self.assertEqual(complaints(plain), [])
        for text in (b"Nobody", b"4711", b"1.2.3.9"):
            self.assertNotIn(text, plain.read_bytes())

    def test_gamma_and_difference(self):
        gamma, difference = self.folder / "gamma.dcm", self.folder / "difference.dcm"
        for name in ("gamma.nrrd", "difference.nrrd", gamma, difference):
            option = "--gamma-map" if "gamma" in str(name) else "--difference"
            made = run("compare", self.reference, self.evaluation, "-c", "1%/1mm", option, self.folder / name)
            self.assertIn(made.returncode, (0, 3), made.stderr)
        self.assertEqual(self.files(), sorted(
            ["a.nrrd", "b.nrrd", "gamma.nrrd", "gamma.dcm", "gamma-tested.nrrd", "difference.nrrd", "difference.dcm"]
        ))  # fmt: skip
        mask = json.loads(run("info", "--json", "--structures", self.folder / "gamma-tested.nrrd").stdout)
        tested = (self.dose.values > numpy.float32(0.1) * self.dose.values.max()).sum()
        volume = tested * numpy.prod(self.dose.spacing) / 1000
        self.assertAlmostEqual(mask["structures"][0]["volume"], volume, places=6)
        native = pydicom.dcmread(gamma)
        comment = "gamma 1%/1mm, values of 3 are 3 or above"
        self.assertEqual((native.DoseUnits, native.DoseComment), ("RELATIVE", comment))
        self.assertEqual(complaints(gamma), [])
        values = native.pixel_array * float(native.DoseGridScaling)
        self.assertEqual(values[self.dose.values <= 0.1 * self.dose.values.max()].max(), 0)
        self.assertLessEqual(values.max(), 3)
        expected = (self.other.values - self.dose.values).astype(numpy.float32)
        read = self.check(difference, expected)
        self.assertEqual((read.DoseType, read.PixelRepresentation), ("ERROR", 1))
        refused = run("compare", self.reference, difference)
        self.assert_refused(refused, 1, "Dose Type ERROR")

    def test_what_cannot_be_is_refused(self):
        points = self.folder / "points.csv"
        points.write_text("x (mm),y,z,dose (Gy)\n0,0,20,1.5\n4,1,20,1.4\n0,3,21,1.6\n")
        below = doses.write_nrrd(self.folder / "below.nrrd", doses.Dose(self.dose.values - 1))
        foreign = self.folder / "notes.txt"
        foreign.write_text("no dose at all")
        rows = [
            ((points, "made.dcm"), 1, "single points"),
            ((below, "made.dcm"), 1, "doses below 0"),
            ((foreign, "made.dcm"), 1, "is not a dose file"),
            ((self.reference, "made.txt"), 2, "does not end in .dcm"),
            ((self.reference, "made.mha", "--like", self.reference), 2, "--like is for RT Doses"),
            ((self.reference, "made.dcm", "--like", self.reference), 1, "is no DICOM file"),
            ((self.reference, "made.dcm", "--scale", "0"), 2, "--scale: "),
            ((self.reference, "a.nrrd"), 2, "would overwrite an input file"),
        ]
        before = self.files()
        for (source, name, *options), code, text in rows:
            with self.subTest(text):
                made = run("convert", source, self.folder / name, *options)
                self.assertEqual(made.returncode, code, made.stderr)
                self.assertIn(text, made.stderr.splitlines()[-1])
                self.assertEqual(self.files(), before)
        planar = run("compare", points, self.reference, "--difference", self.folder / "d.dcm")
        self.assert_refused(planar, 2, "--difference needs a grid")


if __name__ == "__main__":
    unittest.main()
