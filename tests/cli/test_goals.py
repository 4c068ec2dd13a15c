"""Goals of structures in `zarngi compare` and `zarngi dvh`."""

import csv
import io
import json
import re
import unittest

import doses
from documents import checked
from structure_files import box, write_structure_set
from support import ProgramTest, run

OK, BAD_INPUT, WRONG_USAGE, BELOW_LIMIT = 0, 1, 2, 3

# Of the grid of doses.blob(): x from -21.25 to 23.75, y from -16 to 14, z from 6.5 to 42.5 mm.
HEIGHTS = [11, 14, 17, 20, 23, 26, 29]
STRUCTURES = {
    "PTV_High": box((-6, 8), (-5, 5), HEIGHTS),
    "PTV_Low": box((-10, 12), (-8, 8), HEIGHTS),
    "Far": box((100, 120), (0, 10), HEIGHTS),
    "Tilted": [[(0, 0, 20), (5, 0, 21), (5, 5, 22)]],
}


class Goals(ProgramTest):
    def setUp(self):
        super().setUp()
        dose, other = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", dose)
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", other)
        self.structures = write_structure_set(self.folder / "s.dcm", STRUCTURES)

    def compared(self, *goals, more=()):
        """The exit status and the record, which is held to its schema."""
        asked = [word for goal in goals for word in ("--goal", goal)]
        result = run("compare", self.reference, self.evaluation, "--structures", self.structures, *asked,
                     *more, "--json", self.folder / "r.json")  # fmt: skip
        self.assertIn(result.returncode, (OK, BELOW_LIMIT), result.stderr)
        return result, checked(json.loads((self.folder / "r.json").read_text()))

    def test_figures_are_those_of_the_histograms(self):
        _, record = self.compared(
            "PTV*: D90% >= 1 Gy", "PTV*: D0.5cc < 300 cGy", "PTV*: V1Gy >= 50 %", "PTV*: Dmean > 1 Gy",
            "PTV*: V95% >= 95 %", "PTV*: V1Gy > 1 cc", "PTV*: D90% within 5 %", "PTV*: HI < 1", "PTV*: CI > 0.1",
            more=("--dvh", "D90,D0.5cc,V1Gy,V95%", "--prescription", "1.5"),
        )  # fmt: skip
        entries = {entry["name"]: entry for entry in record["structures"]["list"]}
        self.assertEqual(len(record["goals"]), 18)
        for goal in record["goals"]:
            for role in ("reference", "evaluation"):
                entry = entries[goal["structure"]]
                dose = entry["dvh"][role]
                metrics = dose["metrics"]
                volume = entry["volume"]
                figures = {
                    "PTV*: D90% >= 1 Gy": metrics["D90"], "PTV*: D0.5cc < 300 cGy": metrics["D0.5cc"] * 100,
                    "PTV*: V1Gy >= 50 %": metrics["V1Gy"], "PTV*: Dmean > 1 Gy": dose["mean"],
                    "PTV*: V95% >= 95 %": metrics["V95%"], "PTV*: V1Gy > 1 cc": metrics["V1Gy"] / 100 * volume,
                    "PTV*: D90% within 5 %": metrics["D90"],
                    "PTV*: HI < 1": (metrics["D2"] - metrics["D98"]) / metrics["D50"],
                }  # fmt: skip
                if goal["text"] in figures:
                    self.assertEqual(goal[role]["value"], figures[goal["text"]], goal["text"])

    def test_conformity_of_a_box_that_is_the_isodose(self):
        """A dose of two steps: the target is half of what has the dose, and lies in it."""
        dose = doses.blob(size=(30, 30, 30))
        dose.spacing, dose.origin = (1.0, 1.0, 1.0), (0.0, 0.0, 0.0)
        dose.values[:] = 0.1
        dose.values[5:15, 5:15, 5:25] = 2
        path = doses.write_nrrd(self.folder / "steps.nrrd", dose)
        half = write_structure_set(
            self.folder / "half.dcm", {"PTV": box((4.5, 14.5), (4.5, 14.5), range(5, 15))}
        )
        result = run("dvh", path, "--structures", half, "--prescription", "2", "--goal", "PTV: CI >= 0.5",
                     "--json", self.folder / "d.json")  # fmt: skip
        self.assertEqual(result.returncode, OK, result.stdout + result.stderr)
        (goal,) = json.loads((self.folder / "d.json").read_text())["goals"]
        self.assertAlmostEqual(goal["reference"]["value"], 0.5, 12)

    def test_status_and_table(self):
        for goals, status, told in (
            (["PTV_High: D50% >= 1 Gy"], OK, "1 of 1 met"),
            (["PTV*: D50% >= 1 Gy", "PTV_High: Dmean within 50 %"], OK, "3 of 3 met"),
            (["PTV_High: Dmax < 2.01 Gy"], BELOW_LIMIT, "0 of 1 met"),
            (["PTV_High: D50% >= 1 Gy", "PTV_High: Dmean within 0.001 %"], BELOW_LIMIT, "1 of 2 met"),
            (["PTV_High: D100cc >= 1 Gy"], BELOW_LIMIT, "not determined"),
            (["Far: Dmax <= 1 Gy"], BELOW_LIMIT, "not determined"),
            (["Tilted: Dmax <= 1 Gy"], BELOW_LIMIT, "not determined"),
        ):  # fmt: skip
            with self.subTest(goals):
                result, record = self.compared(*goals)
                self.assertEqual(result.returncode, status, result.stdout)
                self.assertIn(told, result.stdout)
                table = result.stdout.partition("\ngoals ")[2].splitlines()
                self.assertTrue(table and all(len(line) < 90 for line in table if not line.startswith("note")), table)
                verdicts = {goal["verdict"] for goal in record["goals"]}
                self.assertEqual(verdicts == {"pass"}, status == OK)

    def test_refused(self):
        pair = ("compare", self.reference, self.evaluation)
        with_structures = (*pair, "--structures", self.structures)
        for arguments, code, *texts in (
            ((*with_structures, "--goal", "GTV: D95% >= 1 Gy"), WRONG_USAGE, "--goal", '"GTV"', "PTV_High"),
            ((*with_structures, "--goal", "PTV*: D95% >= 1"), WRONG_USAGE, "--goal", "unit"),
            ((*with_structures, "--goal", "PTV*: V95% >= 95 %"), WRONG_USAGE, "--goal", "--prescription"),
            ((*with_structures, "--goal", "PTV*: CI >= 0.9"), WRONG_USAGE, "--goal", "--prescription"),
            ((*pair, "--goal", "PTV*: D95% >= 1 Gy"), WRONG_USAGE, "--goal", "--structures"),
            (("dvh", self.reference, "--goal", "PTV*: D95% >= 1 Gy"), WRONG_USAGE, "--structures"),
            (("dvh", self.reference, "--structures", self.structures, "--goal", "PTV*: D95% within 2 %"),
             WRONG_USAGE, "--goal", "two doses"),
        ):  # fmt: skip
            with self.subTest(arguments):
                self.assert_refused(run(*arguments), code, *texts)

    def test_names_that_no_structure_has_may_be_left_out(self):
        result, record = self.compared("GTV: D95% >= 1 Gy", "PTV_High: D95% >= 0 Gy", more=("--if-present",))
        self.assertEqual(result.returncode, OK)
        self.assertIn('"GTV"', result.stderr)
        self.assertEqual([goal["structure"] for goal in record["goals"]], ["PTV_High"])
        self.assertEqual(record["request"]["goals"], ["PTV_High: D95% >= 0 Gy"])
        result, record = self.compared(
            "PTV_High: D95% >= 0 Gy", more=("--if-present", "--structure", "GTV")
        )
        self.assertNotIn("goals", record)
        self.assertIn('no structure is shown, so "PTV_High: D95% >= 0 Gy" is left out', result.stderr)

    def test_relative_doses_have_no_gray(self):
        style = doses.DicomStyle(elements={"DoseUnits": "RELATIVE"})
        dose, other = doses.pair()
        paths = [doses.write_dicom(self.folder / f"{name}.dcm", values, style)
                 for name, values in (("a", dose), ("b", other))]  # fmt: skip
        pair = ("compare", *paths, "--norm", "2", "--structures", self.structures, "--ignore-frame")
        self.assert_refused(run(*pair, "--goal", "PTV*: D95% >= 1 Gy"), WRONG_USAGE, "--goal", "relative")
        document = self.results(*pair[1:], "--goal", "PTV_High: Dmean within 50 %")
        self.assertEqual(document["goals"][0]["unit"], "relative")

    def test_csv_and_anonymous(self):
        goals = ("PTV*: D50% >= 1 Gy", "PTV_High: Dmean within 50 %")
        result, _ = self.compared(*goals, more=("--csv", self.folder / "t.csv", "--anonymous", "pair-7"))
        self.assertEqual(result.returncode, OK, result.stderr)
        text = (self.folder / "t.csv").read_bytes().decode()
        rows = list(csv.DictReader(io.StringIO(text, newline="")))
        found = [(row["structure"], row["goal"], row["goal_verdict"]) for row in rows if row["goal"]]
        self.assertEqual(found, [("PTV_High", goals[0], "pass"), ("PTV_Low", goals[0], "pass"),
                                 ("PTV_High", goals[1], "pass")])  # fmt: skip
        self.assertTrue(all(None not in row and None not in row.values() for row in rows))
        self.assertNotIn("a.nrrd", text)

    def test_one_dose_is_what_it_is_in_a_pair(self):
        goals = ("PTV*: D95% >= 1 Gy", "PTV*: V1Gy > 1 cc", "*: Dmax < 2 Gy")
        asked = [word for goal in goals for word in ("--goal", goal)]
        result = run("dvh", self.reference, "--structures", self.structures, *asked, "--dvh", "D90",
                     "--json", self.folder / "d.json", "--csv", self.folder / "d.csv")  # fmt: skip
        self.assertEqual(result.returncode, BELOW_LIMIT)
        document = checked(json.loads((self.folder / "d.json").read_text()))
        _, record = self.compared(*goals, more=("--dvh", "D90"))
        for one, both in zip(document["structures"]["list"], record["structures"]["list"], strict=True):
            self.assertEqual(one["volume"], both["volume"])
            if both["dvh"]:
                self.assertEqual(one["dvh"]["reference"]["metrics"], both["dvh"]["reference"]["metrics"])
                self.assertIsNone(one["dvh"]["evaluation"])
        for one, both in zip(document["goals"], record["goals"], strict=True):
            self.assertEqual(one["reference"], both["reference"])
        rows = list(csv.DictReader((self.folder / "d.csv").open(newline="")))
        self.assertEqual(len(rows), 3 + len(document["goals"]))
        shown = run("dvh", self.reference, "--structures", self.structures, "--json", "-")
        self.assertEqual(checked(json.loads(shown.stdout))["goals"], [])

    def dvh(self, *arguments):
        result = run("dvh", self.reference, "--structures", self.structures, *arguments, "--json", self.folder / "d.json")
        self.assertIn(result.returncode, (OK, BELOW_LIMIT), result.stderr)
        return result, checked(json.loads((self.folder / "d.json").read_text()))

    def test_page_of_one_dose_holds_its_document(self):
        page = self.folder / "d.html"
        asked = ("--goal", "PTV*: D95% >= 1 Gy", "--report", page)
        result = run("dvh", self.reference, "--structures", self.structures, *asked)
        if "no report page" in result.stderr:
            self.skipTest("this build has no report page")
        _, document = self.dvh(*asked)
        told = json.loads(re.search(r'id="zarngi-data">(.*?)</script>', page.read_text(encoding="utf-8"))[1])
        self.assertEqual({**told, "created": ""}, {**document, "created": ""})
        self.assert_refused(run("dvh", self.reference, "--structures", self.structures, "--report", self.folder / "d.pdf"),
                            WRONG_USAGE, "--report", ".html")  # fmt: skip

    def test_one_dose_by_a_protocol(self):
        """Goals of one dose, without those of two; other goals change it, and so does another prescription."""
        protocol = json.loads(run("protocols", "tg-218").stdout)
        protocol.update(name="own", version="2", goals=["PTV*: D50% >= 1 Gy", "PTV*: D95% within 2 %", "GTV: Dmax < 9 Gy"])
        protocol["criteria"] = ["PTV*:2%/1mm", "Rectum:3%/3mm"]
        path = self.folder / "own.json"
        path.write_text(json.dumps(protocol))
        result, document = self.dvh("--protocol", path)
        self.assertEqual(result.returncode, OK)
        self.assertIn("protocol    own 2, Patient-specific", result.stdout)
        self.assertIn('"PTV*: D95% within 2 %" is of two doses, so it is left out', result.stderr)
        self.assertIn('no structure is called "GTV"', result.stderr)
        self.assertNotIn("Rectum", result.stderr)
        self.assertEqual({goal["text"] for goal in document["goals"]}, {"PTV*: D50% >= 1 Gy"})
        self.assertEqual((document["protocol"]["name"], document["protocol"]["changed"]), ("own", False))
        for more in (("--goal", "PTV*: D50% >= 1 Gy"), ("--prescription", "1")):
            self.assertTrue(self.dvh("--protocol", path, *more)[1]["protocol"]["changed"], more)
        self.assertIsNone(self.dvh()[1]["protocol"])

    def test_a_request_keeps_goals_as_they_were_written(self):
        goal = "PTV_High:d50%[Gy]  >= 1"
        _, record = self.compared(goal)
        self.assertEqual(record["request"]["goals"], [goal])
        again = run("compare", "--request", self.folder / "r.json", "--json", "-")
        self.assertEqual(json.loads(again.stdout)["goals"], record["goals"])


if __name__ == "__main__":
    unittest.main()
