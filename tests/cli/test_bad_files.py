"""Comparisons that cannot be: one line that names the file and the reason, nothing written."""

import unittest

import doses
from doses import DicomStyle
from support import ProgramTest, run


class BadFiles(ProgramTest):
    """What the readers refuse, and in which words, is in the tables of tests/files."""

    def setUp(self):
        super().setUp()
        self.dose = doses.blob()
        self.good = doses.write_nrrd(self.folder / "good.nrrd", self.dose)

    def check(self, path, reason):
        """The file is refused in either place, and by info."""
        before = self.files()
        outputs = ("--json", self.folder / "out.json", "--gamma-map", self.folder / "out.mha")
        for arguments in (
            ("compare", path, self.good, *outputs),
            ("compare", self.good, path, *outputs),
            ("info", path),
        ):
            self.assert_refused(run(*arguments), 1, f"zarngi: {path}: ", reason)
        self.assertEqual(self.files(), before)

    def test_refused_in_either_place(self):
        for write, name in (
            (doses.write_nrrd, "cut.nrrd"),
            (doses.write_mha, "cut.mha"),
            (doses.write_nifti, "cut.nii"),
            (doses.write_dicom, "cut.dcm"),
        ):
            with self.subTest(name):
                path = write(self.folder / name, self.dose)
                path.write_bytes(path.read_bytes()[:-1])
                self.check(path, "is cut short")
        self.check(self.folder / "absent.nrrd", "no such file")
        self.check(self.folder, "is a folder")

    def test_relative_doses(self):
        style = DicomStyle(elements={"DoseUnits": "RELATIVE"})
        relative = doses.write_dicom(self.folder / "relative.dcm", self.dose, style)
        gray = doses.write_dicom(self.folder / "gray.dcm", self.dose)
        self.assert_refused(run("compare", relative, relative), 1, "relative doses", "--norm")
        self.assert_refused(run("compare", relative, gray, "--norm", 2), 1, "the other one Gy")
        document = self.results(relative, relative, "--norm", 2)
        self.assertEqual(document["criteria"][0]["passRate"], 100)
        self.assertEqual(document["doseUnit"], "relative")


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
        self.assertIn("without evaluation dose in reach", run("compare", a, b).stdout)


if __name__ == "__main__":
    unittest.main()
