"""Explanations and rates by criterion, as the program tells them."""

import csv
import io
import math
import unittest

import numpy

import doses
from structure_files import box, write_structure_set
from support import ProgramTest, run

WRONG_USAGE = 2
SHIFT = (1.5, -2.0, 0.0)


def moved(shift=(0, 0, 0), factor=1.0):
    """A smooth dose; `shift` and `factor` make an evaluation equal to the one without."""
    size, spacing = (44, 40, 30), 2.0
    axes = [(numpy.arange(n) - (n - 1) / 2) * spacing for n in size]
    x, y, z = (a + s for a, s in zip(numpy.meshgrid(*axes, indexing="ij"), shift))
    values = 50 * numpy.exp(-(((x - 2) / 20) ** 4) - ((y + 2) / 18) ** 4 - (z / 16) ** 4) / factor
    return doses.Dose(
        numpy.ascontiguousarray(values.transpose(2, 1, 0), "<f4"),
        (spacing,) * 3,
        tuple(float(axis[0]) for axis in axes),
    )


class Explanation(ProgramTest):
    def setUp(self):
        super().setUp()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", moved())
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", moved(SHIFT, 1.02))

    def test_changes_no_result(self):
        plain = self.results(self.reference, self.evaluation, "-c", "2%/1mm")
        explained = self.results(
            self.reference, self.evaluation, "-c", "2%/1mm", "--explain", "--sweep", "1:2%/1mm"
        )
        explanation, (sweep,) = explained.pop("explanation"), explained.pop("sweeps")
        for document in (plain, explained):
            for criterion in document["criteria"]:
                del criterion["seconds"]
        self.assertEqual(plain["criteria"], explained["criteria"])
        (criterion,) = plain["criteria"]
        self.assertAlmostEqual(
            explanation["before"]["passRate"], criterion["passRate"], places=4
        )
        self.assertEqual(explanation["before"]["failed"], criterion["failed"])
        self.assertEqual(sweep["parts"][0]["passRates"][1][0], criterion["passRate"])
        for found, known in zip(explanation["best"]["shift"], SHIFT):
            self.assertAlmostEqual(found, known, delta=0.1)
        self.assertAlmostEqual(
            explanation["best"]["shiftLength"], math.hypot(*explanation["best"]["shift"])
        )

    def test_is_told_in_the_table_and_the_spreadsheet(self):
        result = run("compare", self.reference, self.evaluation, "-c", "2%/1mm", "--explain",
                     "--sweep", "1:3%L/1:0.5:2mm", "--fail-below", "99", "--csv", "-")
        self.assertEqual(result.returncode, 3, result.stderr)
        self.assertIn("1.5 mm left, 2.0 mm anterior", result.stderr)
        self.assertIn("pass rates by criterion, local", result.stderr)
        rows = list(csv.DictReader(io.StringIO(result.stdout)))
        self.assertEqual(len(rows), 1 + 3 * 3)
        self.assertEqual(rows[0]["explained_by"], "shift")
        self.assertAlmostEqual(float(rows[0]["shift_y_mm"]), -2, delta=0.1)
        self.assertEqual([row["criterion"] for row in rows[1:4]], ["1%L/1mm", "1%L/1.5mm", "1%L/2mm"])
        self.assertEqual({row["verdict"] for row in rows[1:]}, {""})
        rates = [float(row["pass_rate_percent"]) for row in rows[1:]]
        self.assertEqual(rates[:3], sorted(rates[:3]))

    def test_of_a_structure(self):
        structures = self.folder / "s.dcm"
        heights = numpy.arange(-29.0, 30.0, 2.0)
        write_structure_set(structures, {"Left": box((0, 30), (-30, 30), heights)})
        document = self.results(
            self.reference, self.evaluation, "-c", "Left:3%/2mm", "-c", "2%/1mm", "-c", "1%/2mm",
            "--structures", structures, "--ignore-frame", "--explain", "--explain-structure", "Left", "--sweep", "2%/1mm",
        )
        explanation, (sweep,) = document["explanation"], document["sweeps"]
        (part,) = document["criteria"][1]["structures"]
        self.assertEqual(explanation["criterion"], "2%/1mm")  # the first that is for all voxels
        self.assertEqual(explanation["structure"], "Left")
        self.assertEqual(explanation["tested"], part["tested"])
        self.assertEqual(explanation["before"]["failed"], part["failed"])
        self.assertEqual(sweep["parts"][1]["structure"], "Left")
        self.assertAlmostEqual(sweep["parts"][1]["passRates"][0][0], part["passRate"])

    def test_refuses_what_makes_no_sense(self):
        for options, text in (
            (["--explain", "--rotate"], "--rotate"),
            (["--explain-range", "3"], "--explain"),
            (["--explain", "--explain-range", "0"], "1 to 100"),
            (["--explain", "--explain-range", "1000"], "1 to 100"),
            (["--explain", "--explain-structure", "PTV"], "needs --structures"),
            (["--sweep", "5:1%/1mm"], "does not rise"),
            (["--sweep", "3%"], "is not of the form"),
        ):
            with self.subTest(options):
                result = run("compare", self.reference, self.evaluation, *options)
                self.assert_refused(result, WRONG_USAGE, text)


if __name__ == "__main__":
    unittest.main()
