"""One pair of doses, written in every format: always the same result."""

import dataclasses
import unittest

import numpy

import doses
from doses import DicomStyle
from pydicom.uid import ImplicitVRLittleEndian
from support import ProgramTest, run

CRITERIA = ("-c", "2%/1mm", "-c", "1%L/2mm")


def counts(document):
    return [(c["tested"], c["passed"], c["min"], c["mean"], c["max"]) for c in document["criteria"]]


class Formats(ProgramTest):
    def setUp(self):
        super().setUp()
        self.reference, self.evaluation = doses.pair()
        self.expected = self.results_of(doses.write_nrrd, "nrrd")
        tested, passed = self.expected["criteria"][0]["tested"], self.expected["criteria"][0]["passed"]
        self.assertTrue(0 < passed < tested, "the pair must tell a good reader from a bad one")

    def results_of(self, write, extension, *styles, **options):
        files = [
            write(self.folder / f"{name}.{extension}", dose, *styles, **options)
            for name, dose in (("a", self.reference), ("b", self.evaluation))
        ]
        return self.results(*files, *CRITERIA)

    def assert_same(self, document):
        self.assertEqual(counts(document), counts(self.expected))
        for name in ("reference", "evaluation"):
            for member in ("size", "spacing", "origin"):
                numpy.testing.assert_allclose(
                    document["grids"][name][member], self.expected["grids"][name][member], atol=1e-9
                )

    def test_grid_is_told_as_written(self):
        grid = self.expected["grids"]["reference"]
        self.assertEqual(grid["size"], list(self.reference.size))
        self.assertEqual(grid["spacing"], list(self.reference.spacing))
        self.assertEqual(grid["origin"], list(self.reference.origin))
        peak = numpy.unravel_index(self.reference.values.argmax(), self.reference.values.shape)
        position = [
            o + s * int(i)
            for o, s, i in zip(self.reference.origin, self.reference.spacing, reversed(peak))
        ]
        self.assertEqual(grid["maximum"]["position"], position)
        self.assertEqual(grid["maximum"]["dose"], float(self.reference.values.max()))

    def test_volume_formats(self):
        for name, write, extension, options in (
            ("MetaImage", doses.write_mha, "mha", {}),
            ("MetaImage and raw", doses.write_mhd, "mhd", {}),
            ("NRRD, gzip", doses.write_nrrd, "nrrd", {"encoding": "gzip"}),
            ("NRRD, spacings", doses.write_nrrd, "nrrd", {
                "space": None, "space_directions": None, "space_origin": None, "kinds": None,
                "spacings": "2.5 2 3", "axis_mins": None,
            }),
            ("NIfTI", doses.write_nifti, "nii", {}),
            ("NIfTI, gzip", doses.write_nifti, "nii.gz", {}),
        ):
            with self.subTest(name):
                document = self.results_of(write, extension, **options)
                if "spacings" in options:
                    # Without an origin both grids begin at 0: the same shift, the same result.
                    self.assertEqual(document["grids"]["reference"]["origin"], [0, 0, 0])
                    self.assertEqual(document["criteria"][0]["tested"],
                                     self.expected["criteria"][0]["tested"])
                else:
                    self.assert_same(document)

    def test_nrrd_in_another_space(self):
        """Right-anterior-superior: the same voxels, the signs of x and y turned."""
        def write(path, dose):
            s, o = dose.spacing, dose.origin
            return doses.write_nrrd(
                path, dose, space="right-anterior-superior",
                space_directions=f"({-s[0]},0,0) (0,{-s[1]},0) (0,0,{s[2]})",
                space_origin=f"({-o[0]},{-o[1]},{o[2]})",
            )
        self.assert_same(self.results_of(write, "nrrd"))

    def test_axes_flipped_and_permuted(self):
        """Stored z fastest, x backwards; the header says so."""
        def write(path, dose):
            stored = dose.values[:, :, ::-1].transpose(2, 1, 0)
            last = dose.origin[0] + dose.spacing[0] * (dose.size[0] - 1)
            turned = doses.Dose(stored, tuple(reversed(dose.spacing)), (last, *dose.origin[1:]))
            return doses.write_mha(path, turned, TransformMatrix="0 0 1 0 1 0 -1 0 0")
        self.assert_same(self.results_of(write, "mha"))

    def test_nifti_of_scaled_integers(self):
        for dose, name in ((self.reference, "a"), (self.evaluation, "b")):
            doses.write_nifti(self.folder / f"{name}.nii", dose, scaled_to=numpy.int16)
        document = self.results(self.folder / "a.nii", self.folder / "b.nii", *CRITERIA)
        peak = float(self.reference.values.max())
        self.assertAlmostEqual(document["grids"]["reference"]["maximum"]["dose"], peak, delta=1e-4)

    def test_dicom(self):
        styles = [DicomStyle(bits=bits, position=position, descending=descending)
                  for bits in (16, 32)
                  for position in doses.POSITIONS
                  for descending in (False, True)]
        styles += [DicomStyle(position=position, descending=descending, absolute_offsets=True)
                   for position in ("HFS", "FFS", "HFP", "FFP") for descending in (False, True)]
        styles += [DicomStyle(syntax=ImplicitVRLittleEndian), DicomStyle(compress=True)]
        for style in styles:
            with self.subTest(style=style):
                self.assert_same(self.results_of(doses.write_dicom, "dcm", style))

    def test_formats_can_be_mixed(self):
        a = doses.write_dicom(self.folder / "a.dcm", self.reference, DicomStyle(position="FFP"))
        b = doses.write_nifti(self.folder / "b.nii.gz", self.evaluation)
        self.assert_same(self.results(a, b, *CRITERIA))

    def test_contents_decide_the_format(self):
        a = doses.write_dicom(self.folder / "dose", self.reference)
        b = doses.write_nrrd(self.folder / "b.img", self.evaluation)
        self.assert_same(self.results(a, b, *CRITERIA))

    def test_files_that_differ_by_extension_only(self):
        """The NIfTI library would look for the data of one in the other."""
        plain = doses.write_nifti(self.folder / "a.nii", self.reference)
        zipped = doses.write_nifti(self.folder / "a.nii.gz", self.evaluation)
        document = self.results(plain, zipped, *CRITERIA)
        self.assert_same(document)
        for name, dose in (("reference", self.reference), ("evaluation", self.evaluation)):
            maximum = document["grids"][name]["maximum"]["dose"]
            self.assertEqual(maximum, float(dose.values.max()))

    def test_digest_of_the_raw_file(self):
        document = self.results_of(doses.write_mhd, "mhd")
        self.assertEqual(document["files"]["reference"]["data"]["name"], "a.raw")
        self.assertEqual(document["files"]["reference"]["data"]["bytes"],
                         self.reference.values.size * 4)


class Warnings(ProgramTest):
    def test_different_frames_of_reference(self):
        reference, evaluation = doses.pair()
        a = doses.write_dicom(self.folder / "a.dcm", reference)
        other = DicomStyle(elements={"FrameOfReferenceUID": "9.8.7", "DoseType": "EFFECTIVE"})
        b = doses.write_dicom(self.folder / "b.dcm", evaluation, other)
        result = run("compare", a, b)
        self.assertEqual(result.returncode, 0)
        lines = result.stderr.splitlines()
        self.assertEqual(len(lines), 2)
        self.assertIn("warning: the files have different frames of reference", lines[0])
        self.assertIn("PHYSICAL and EFFECTIVE", lines[1])
        self.assertEqual(self.results(a, a)["warnings"], [])

    def test_no_position(self):
        reference, evaluation = doses.pair()
        a = doses.write_nrrd(self.folder / "a.nrrd", reference, space_origin=None)
        b = doses.write_nrrd(self.folder / "b.nrrd", evaluation, space_origin=None)
        warnings = self.results(a, b)["warnings"]
        self.assertEqual([w.split(": ")[0] for w in warnings], [str(a), str(b)])
        self.assertEqual(self.results(doses.write_nrrd(a, reference), a)["warnings"], [])

    def test_values_that_may_be_no_doses(self):
        """What `info` says of a file, the comparison says of it, on the terminal and in the record."""
        reference, evaluation = doses.pair()
        below, apart = reference.values.copy(), evaluation.values.copy()
        below[2:4, 5, 6:9] = -0.25
        apart[4, 5, 6:9] = 5000
        told = {
            doses.write_mha(self.folder / "unit.mha", evaluation):
                "tells no unit of dose; its values are taken for Gy",
            doses.write_nrrd(self.folder / "below.nrrd", dataclasses.replace(reference, values=below)):
                "holds 6 values below 0, which no dose is, down to -0.25 Gy",
            doses.write_nrrd(self.folder / "apart.nrrd", dataclasses.replace(reference, values=apart)):
                f"its maximum of 5000 Gy is more than 100 times the 99.9th percentile of its positive "
                f"doses ({numpy.sort(apart[apart > 0])[-4]:.6g} Gy); 3 of 3 240 stand apart",
            doses.write_nrrd(self.folder / "LETd.nrrd", reference):
                'its name ends in "LET"; its values are taken for doses all the same',
        }  # fmt: skip
        good = doses.write_dicom(self.folder / "good.dcm", reference)
        for path, sentence in told.items():
            self.assertIn(f"\nwarning             {sentence}\n", run("info", path).stdout)
            for files in ((path, good), (good, path), (good, good, "--reference-add", path)):
                with self.subTest(files=[str(f) for f in files]):
                    result = run("compare", *files)
                    # Warnings with names are of the pair.
                    told = [line for line in result.stderr.splitlines() if " warning (" not in line]
                    self.assertEqual(told, [f"zarngi: warning: {path}: {sentence}"])
                    self.assertEqual(self.results(*files)["warnings"], [f"{path}: {sentence}"])

    def test_differences_between_doses(self):
        reference, evaluation = doses.pair()
        error = DicomStyle(elements={"DoseType": "ERROR"})
        a = doses.write_dicom(self.folder / "a.dcm", reference, error)
        b = doses.write_dicom(self.folder / "b.dcm", evaluation)
        for files in ((a, b), (b, a), (b, b, "--evaluation-add", a)):
            with self.subTest(files=[str(f) for f in files]):
                self.assert_refused(run("compare", *files), 1, f"{a}: holds differences between",
                                    "Dose Type ERROR", "--allow-error-doses")
                warnings = self.results(*files, "--allow-error-doses")["warnings"]
                self.assertIn(f"{a}: is of the Dose Type ERROR: it holds differences between doses",
                              warnings)


class Info(ProgramTest):
    def test_tells_geometry_and_keeps_the_patient_to_itself(self):
        dose = doses.blob()
        style = DicomStyle(elements={"RTPlanLabel": "PlanA"})
        path = doses.write_dicom(self.folder / "a.dcm", dose, style)
        result = run("info", path)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertNotIn("warning", result.stdout)
        for text in ("18 x 15 x 12 voxels", "2.5 x 2 x 3 mm", "-20, -15, 8 mm", "RTDOSE", "PLAN",
                     "PlanA", "1.2.3.4", "units               Gy\n"):
            self.assertIn(text, result.stdout)
        self.assertNotIn("ecret", result.stdout)
        told = run("info", path, "--patient").stdout
        self.assertIn("Secret^Patient", told)
        self.assertIn("secret-id", told)

    def test_no_patient_data_in_any_output(self):
        path = doses.write_dicom(self.folder / "a.dcm", doses.blob())
        run("compare", path, path, "--json", self.folder / "r.json", "--csv", self.folder / "r.csv")
        for name in ("r.json", "r.csv"):
            self.assertNotIn("ecret", (self.folder / name).read_text())


if __name__ == "__main__":
    unittest.main()
