"""Rates without statistical noise, as the program tells them."""

import csv
import io
import json
import unittest

import numpy

import doses
from structure_files import box, write_structure_set
from support import ProgramTest, run

WRONG_USAGE = 2
MAXIMUM = 60.0


def pair(spacing=3.0):
    """A smooth dose, and one that is a little wider, higher and moved: doses without noise."""
    axes = [numpy.arange(n) * spacing - (n - 1) * spacing / 2 for n in (40, 36, 34)]
    x, y, z = numpy.meshgrid(*axes, indexing="ij")

    def dose(shift, width, factor):
        edge = [1 / (1 + numpy.exp((abs(a - shift) - width * half) / 4)) for a, half in ((x, 38), (y, 34), (z, 30))]
        return (MAXIMUM * factor * numpy.prod(edge, axis=0)).transpose(2, 1, 0)

    return dose(0, 1, 1), dose(0.9, 1.004, 1.012)


def uncertainty(dose, part):
    """That of a simulation whose noise at the maximum is this part of it."""
    return part * MAXIMUM * numpy.sqrt(numpy.clip(dose, 0, None) / MAXIMUM)


class Noise(ProgramTest):
    def setUp(self):
        super().setUp()
        self.reference, self.evaluation = pair()

    def write(self, name, values, **style):
        dose = doses.Dose(numpy.ascontiguousarray(values, "<f4"), (3.0, 3.0, 3.0), (-58.5, -52.5, -49.5))
        return doses.write_nrrd(self.folder / name, dose, **style)

    def noisy(self, part=0.015, seed=7):
        """Options: the reference with noise, the evaluation without; and the file of uncertainties."""
        told = uncertainty(self.reference, part)
        noise = numpy.random.default_rng(seed).normal(size=told.shape) * told
        return [
            self.write("noisy.nrrd", numpy.clip(self.reference + noise, 0, None)),
            self.write("evaluation.nrrd", self.evaluation),
            "--reference-uncertainty", self.write("u.nrrd", told), "--uncertainty-unit", "gray",
            "--norm", str(MAXIMUM), "-c", "3%/2mm", "-c", "2%/2mm",
        ]  # fmt: skip

    def test_finds_the_rate_of_the_doses_without_noise(self):
        true = self.results(self.write("a.nrrd", self.reference), self.write("b.nrrd", self.evaluation),
                            "--norm", str(MAXIMUM), "-c", "3%/2mm", "-c", "2%/2mm")  # fmt: skip
        found = self.results(*self.noisy(), "--noise")
        for without, criterion in zip(true["criteria"], found["criteria"]):
            estimate = criterion["withoutNoise"]
            self.assertEqual(estimate["kind"], "told")
            self.assertLess(criterion["passRate"], without["passRate"] - 0.5)
            self.assertLessEqual(estimate["lower"], without["passRate"])
            self.assertGreaterEqual(estimate["upper"], without["passRate"])
            missing = without["passRate"] - criterion["passRate"]
            self.assertLess(abs(estimate["passRate"] - without["passRate"]), max(1, missing / 2))
        whole = found["noise"]["differences"][0]
        self.assertEqual(whole["voxels"], found["criteria"][0]["tested"])
        self.assertAlmostEqual(found["noise"]["flat"]["scatter"], 1, delta=0.1)
        self.assertLess(abs(found["noise"]["flat"]["correlation"]), 0.1)
        self.assertEqual(found["noise"]["notes"], [])

    def test_changes_no_result_and_is_the_same_whatever_the_threads(self):
        arguments = self.noisy()
        plain = self.results(*arguments)
        records = [self.results(*arguments, "--noise", "--threads", threads) for threads in (1, 3)]
        again = self.results(*arguments, "--noise", "--noise-seed", 2)
        estimates = [[c.pop("withoutNoise") for c in r["criteria"]] for r in (*records, again)]
        for record in (plain, *records):
            for criterion in record["criteria"]:
                criterion.pop("seconds")
            self.assertEqual(record["criteria"], plain["criteria"])
        self.assertEqual(estimates[0], estimates[1])
        self.assertNotEqual(estimates[0], estimates[2])
        self.assertEqual(again["request"]["noise"], {"seed": 2})

    def test_percent_fraction_and_gray_are_told_apart(self):
        files = [self.write("a.nrrd", self.reference), self.write("b.nrrd", self.evaluation)]
        percents = numpy.where(self.reference > 0, 2.0, 1.0)
        given = {
            "percentage": ["2%"],
            "percent": [self.write("p.nrrd", percents), "--uncertainty-unit", "percent"],
            "fraction": [self.write("f.nrrd", percents / 100), "--uncertainty-unit", "fraction"],
            "gray": [self.write("g.nrrd", self.evaluation * 0.02), "--uncertainty-unit", "gray"],
        }
        records = {name: self.results(*files, "--noise", "--evaluation-uncertainty", *options)
                   for name, options in given.items()}  # fmt: skip
        noise = {record["criteria"][0]["withoutNoise"]["noise"] for record in records.values()}
        self.assertLess(max(noise) - min(noise), 0.01 * max(noise))
        told = records["fraction"]["doses"]["evaluation"]["uncertainty"]
        self.assertEqual(told["file"]["name"], "f.nrrd")
        self.assertAlmostEqual(records["percentage"]["doses"]["evaluation"]["uncertainty"]["median"], 2, places=4)

    def test_is_told_in_table_and_spreadsheet_by_structure(self):
        structures = write_structure_set(
            self.folder / "s.dcm", {"PTV": box((-20, 20), (-20, 20), range(-20, 20, 3)), "Dot": box((-3, 3), (-3, 3), (0, 3))}
        )
        arguments = [*self.noisy(), "--noise", "--structures", structures]
        result = run("compare", *arguments, "--csv", "-")
        rows = list(csv.DictReader(io.StringIO(result.stdout)))
        kinds = {row["structure"]: row["without_noise"] for row in rows}
        self.assertEqual((kinds[""], kinds["PTV"], kinds["Dot"]), ("told", "told", "too few voxels"))
        table = run("compare", *arguments).stdout
        self.assertRegex(table, r"2%/2mm +[\d.]+ %; without statistical noise about [\d.]+ %, [\d.]+ to [\d.]+\n")
        self.assertIn("  PTV", table)

    def test_a_record_is_computed_again_and_a_protocol_names_no_file(self):
        record = self.folder / "record.json"
        run("compare", *self.noisy(), "--noise", "--json", record, "--save-request", self.folder / "protocol.json")
        first, protocol = (json.loads((self.folder / name).read_text()) for name in ("record.json", "protocol.json"))
        again = self.folder / "again.json"
        result = run("compare", "--request", record, "--json", again)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        second = json.loads(again.read_text())
        self.assertEqual(*([c["withoutNoise"] for c in one["criteria"]] for one in (first, second)))
        self.assertEqual(protocol["reference"]["uncertainty"], None)
        self.assertEqual((protocol["noise"], protocol["units"]["uncertainty"]), ({"seed": 1}, "gray"))
        self.write("u.nrrd", uncertainty(self.reference, 0.01))
        result = run("compare", "--request", record, "--json", again)
        self.assertIn("u.nrrd: is another file than that of the record", result.stderr)

    def test_too_much_noise_gives_no_figure(self):
        found = self.results(*self.noisy(part=0.05), "--noise")
        estimate = found["criteria"][1]["withoutNoise"]
        self.assertEqual((estimate["kind"], estimate["passRate"]), ("too noisy", None))
        self.assertIn("too noisy to tell", estimate["sentence"])

    def test_correlated_noise_and_wrong_uncertainties_are_noted(self):
        files = self.noisy(part=0.015)
        noise = numpy.random.default_rng(3).normal(size=self.reference.shape)
        smooth = sum(numpy.roll(noise, shift, axis) for axis in range(3) for shift in (0, 1)) / 6
        told = uncertainty(self.reference, 0.015)
        files[0] = self.write("smooth.nrrd", self.reference + told * smooth / smooth.std())
        (note,) = self.results(*files, "--noise")["noise"]["notes"]
        self.assertIn("neighbouring voxels is correlated", note)
        files = self.noisy(part=0.015)
        files[3] = self.write("half.nrrd", told / 2)
        (note,) = self.results(*files, "--noise")["noise"]["notes"]
        self.assertIn("times as much as their uncertainties tell", note)

    def test_bad_uncertainties_are_refused(self):
        files = self.noisy()[:2]
        told = uncertainty(self.reference, 0.02)
        negative = told.copy()
        negative[0, 0, 0] = -1
        u = "--reference-uncertainty"
        gray = ["--uncertainty-unit", "gray"]
        self.write("told.nrrd", told)
        cases = {
            "nothing told": (["--noise"], 1, "tells the uncertainties of its doses", u),
            "negative": ([u, self.write("n.nrrd", negative), *gray], 1, "n.nrrd", "-1"),
            "another grid": ([u, self.write("s.nrrd", told[1:]), *gray], 1, "s.nrrd", "another grid"),
            "percent as gray": ([u, self.write("p.nrrd", numpy.full(told.shape, 90.0)), *gray], 1, "p.nrrd",
                                "as large as the doses", "--uncertainty-unit"),
            "percent as fraction": ([u, self.write("q.nrrd", numpy.full(told.shape, 2.0)),
                                     "--uncertainty-unit", "fraction"], 1, "q.nrrd"),
            "no unit": ([u, self.folder / "told.nrrd"], WRONG_USAGE, "--uncertainty-unit"),
            "unknown unit": ([u, self.folder / "told.nrrd", "--uncertainty-unit", "cGy"], WRONG_USAGE, "cGy"),
            "no percentage": ([f"{u}=-2%"], WRONG_USAGE, u, "percentage"),
            "too many percent": ([u, "200%"], WRONG_USAGE, "200%"),
            "no file": ([u, self.folder / "none.nrrd", *gray], 1, "none.nrrd"),
            "seed": ([u, "2%", "--noise", "--noise-seed", "1.5"], WRONG_USAGE, "--noise-seed"),
            "rotated": ([u, "2%", "--noise", "--rotate"], WRONG_USAGE, "--noise", "--rotate"),
        }  # fmt: skip
        for name, (options, code, *texts) in cases.items():
            with self.subTest(name):
                self.assert_refused(run("compare", *files, *options), code, *texts)


if __name__ == "__main__":
    unittest.main()
