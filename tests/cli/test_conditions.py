"""What is not as usual, and what makes a comparison doubtful, is told beside the results."""

import csv
import dataclasses
import json
import unittest

import numpy

import doses
from structure_files import box, write_structure_set
from support import ProgramTest, run
from test_measurements import cut, write_matrix

OK, BAD_INPUT, WRONG_USAGE = 0, 1, 2
HEIGHTS = [11, 14, 17, 20, 23, 26, 29]


class Pair(ProgramTest):
    def setUp(self):
        super().setUp()
        self.dose, self.other = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", self.dose)
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", self.other)
        self.structures = write_structure_set(
            self.folder / "s.dcm", {"PTV": box((-6, 8), (-5, 5), HEIGHTS)}, frame="1.2.3.4"
        )


class Conditions(Pair):
    def told(self, reference, evaluation, *arguments):
        """By name."""
        conditions = self.results(reference, evaluation, *arguments)["conditions"]
        return {condition["name"]: condition["text"] for condition in conditions}

    def test_each_is_told(self):
        for arguments, told in (
            ([], {}),
            (["--dco", "10", "--max-gamma", "3", "--evaluation-scale", "1"], {}),
            (["--dco", "5"], {"cut-off": "cut-off 5 %"}),
            (["--evaluation-scale", "1.05"], {"evaluation-scale": "evaluation times 1.05"}),
            (["--reference-scale", "1/2", "--step", "0.5"],
             {"reference-scale": "reference times 1/2", "step": "search step 0.5 mm"}),
            (["--evaluation-add", self.evaluation, "--refuse", "maxima-ratio"],
             {"evaluation-sum": "evaluation summed from 2 files"}),
            (["--slices", "--nearest"],
             {"nearest": "doses of the nearest voxel, not interpolated",
              "slices": "interpolated within slices only"}),
            (["--max-gamma", "2"], {"search-limit": "gamma searched up to 2"}),
            (["--norm", "1.5"], {"normalisation": "percentages of 1.5 Gy (given)"}),
            (["--pass-rate-only"], {"pass-rate-only": "pass rate only"}),
            (["--structures", self.structures, "--within", "PTV"], {"within": "tested only in PTV"}),
        ):  # fmt: skip
            with self.subTest(arguments=arguments):
                self.assertEqual(self.told(self.reference, self.evaluation, *arguments), told)
                result = run("compare", self.reference, self.evaluation, *arguments)
                line = "; ".join(told.values())
                self.assertEqual("\nconditions  " in result.stdout, bool(told))
                self.assertIn(line, result.stdout)

    def test_assumptions_and_places_are_told(self):
        unitless = doses.write_nrrd(self.folder / "c.nrrd", self.dose, sample_units=None, space_origin=None)
        told = self.told(unitless, self.evaluation)
        self.assertEqual(told["assumed-dose-unit"], "doses taken for Gy (reference)")
        self.assertEqual(told["assumed-position"], "position assumed (reference)")
        x, y, values, at = cut(self.dose, "axial", 5)
        plane = write_matrix(self.folder / "p.txt", x, y, values)
        place = ",".join(map(str, at))
        told = self.told(plane, self.evaluation, "--plane", "axial", "--at", place)
        self.assertEqual(told["plane"], f"plane axial through {at[0]:g}, {at[1]:g}, {at[2]:g} mm")

    def test_csv_tells_them_in_each_row(self):
        out = self.folder / "r.csv"
        run("compare", self.reference, self.evaluation, "--dco", "5", "--sweep", "1:2%/1:2mm", "--csv", out)
        with open(out, newline="", encoding="utf-8") as file:
            self.assertEqual({row["conditions"] for row in csv.DictReader(file)}, {"cut-off 5 %"})


class Gate(Pair):
    def gate(self, reference, evaluation, *arguments):
        return [doubt["name"] for doubt in self.results(reference, evaluation, *arguments)["gate"]]

    def assert_gated(self, name, reference, evaluation, *arguments):
        """Told by its name, alone, and refused by it."""
        self.assertEqual(self.gate(reference, evaluation, *arguments), [name])
        files = self.files()
        told = run("compare", reference, evaluation, *arguments)
        self.assertIn(f"zarngi: warning ({name}): ", told.stderr)
        refused = run("compare", reference, evaluation, *arguments, "--refuse", name,
                      "--refuse", "guessed-reference", "--json", self.folder / "x.json")  # fmt: skip
        self.assertEqual(refused.returncode, BAD_INPUT, refused.stderr)
        self.assertIn(f"(--refuse {name})", refused.stderr.splitlines()[-1])
        self.assertEqual(self.files(), files)

    def test_plain_pairs_raise_no_doubt(self):
        self.assertEqual(self.gate(self.reference, self.evaluation), [])

    def test_equal_doses(self):
        copy = doses.write_mha(self.folder / "copy.mha", self.dose)
        self.assert_gated("identical-doses", self.reference, copy)
        self.assert_gated("identical-doses", self.reference, self.reference, "--evaluation-scale", "1.01")

    def test_patients(self):
        def dicom(name, dose, patient):
            return doses.write_dicom(self.folder / name, dose, doses.DicomStyle(elements={"PatientID": patient}))

        one = dicom("one.dcm", self.dose, "7")
        self.assert_gated("other-patient", one, dicom("two.dcm", self.other, "8"))
        same = dicom("same.dcm", self.other, "7")
        self.assertEqual(self.gate(one, same), [])
        self.assertEqual(self.gate(one, dicom("none.dcm", self.other, None)), [])
        import pydicom

        data = pydicom.dcmread(self.structures)
        data.PatientID = "9"
        data.save_as(self.structures)
        self.assert_gated("other-patient-structures", one, same, "--structures", self.structures)
        told = run("compare", one, same, "--structures", self.structures, "--json", "-")
        self.assertNotIn('"9"', told.stdout)
        self.assertNotIn("Patient ID 9", told.stderr)

    def test_maxima(self):
        for factor, is_near in ((100, True), (0.01, True), (60, True), (30, False), (400, False)):
            with self.subTest(factor=factor):
                arguments = ("--evaluation-scale", str(factor), "-c", "3%/1mm")
                found = self.gate(self.reference, self.evaluation, *arguments)
                self.assertEqual(found, ["maxima-ratio"] if is_near else [])

    def test_negative_doses(self):
        below = dataclasses.replace(self.other, values=self.other.values.copy())
        below.values[0, 0, 0] = -0.25
        self.assert_gated("negative-doses", self.reference, doses.write_nrrd(self.folder / "n.nrrd", below))

    def test_where_the_evaluation_is_not(self):
        """What fails is hot, cold, without a dose in reach, or on neither side: it adds up."""
        part = dataclasses.replace(self.other, values=self.other.values[:, :, :9])
        cropped = doses.write_nrrd(self.folder / "part.nrrd", part)
        self.assert_gated("unreached", self.reference, cropped)
        record = self.results(self.reference, cropped)
        (criterion,) = record["criteria"]
        self.assertGreater(criterion["unreached"], criterion["tested"] // 100)
        rest = criterion["failed"] - criterion["hot"] - criterion["cold"] - criterion["unreached"]
        self.assertGreaterEqual(rest, 0)
        stdout = run("compare", self.reference, cropped).stdout
        self.assertIn(f"{criterion['unreached']} without evaluation dose in reach", stdout)
        self.assertEqual(f"{rest} on neither side" in stdout, rest > 0)
        self.assertIn("unreached", {c["name"] for c in record["conditions"]})

    def test_little_overlap(self):
        away = dataclasses.replace(self.other, origin=(8.0, -15.0, 8.0))
        moved = doses.write_nrrd(self.folder / "away.nrrd", away)
        found = self.gate(self.reference, moved)
        self.assertIn("little-overlap", found)

    def test_names_are_checked(self):
        self.assert_refused(run("compare", self.reference, self.evaluation, "--refuse", "identical"),
                            WRONG_USAGE, "--refuse", "identical-doses")  # fmt: skip

    def test_requests_keep_them(self):
        saved = self.folder / "q.json"
        run("compare", self.reference, self.evaluation, "--refuse", "maxima-ratio", "--save-request", saved)
        self.assertEqual(json.loads(saved.read_text())["refuse"], ["maxima-ratio"])
        result = run("compare", self.reference, self.evaluation, "--request", saved, "--evaluation-scale", "100")
        self.assert_refused(result, BAD_INPUT, "(--refuse maxima-ratio)")


class Judged(Pair):
    def test_structures_judge_their_criterion(self):
        """By the worst of them, as the rates of the structures are told elsewhere."""
        contours = {"PTV1": box((-6, 8), (-5, 5), HEIGHTS), "PTV2": box((-18, -12), (-8, 8), HEIGHTS)}
        structures = write_structure_set(self.folder / "t.dcm", contours, frame="1.2.3.4")
        arguments = ("--structures", structures, "-c", "3%/3mm", "-c", "PTV*:1%/1mm", "--tolerance", "PTV*:60",
                     "--action", "PTV*:1")  # fmt: skip
        record = self.results(self.reference, self.evaluation, *arguments)
        whole, of_structures = record["criteria"]
        self.assertIsNone(whole["judged"])
        rates = {found["name"]: found["passRate"] for found in of_structures["structures"]}
        self.assertNotEqual(rates["PTV1"], rates["PTV2"])
        worst = min(rates, key=rates.get)
        verdicts = {found["name"]: found["verdict"] for found in of_structures["structures"]}
        self.assertEqual(of_structures["judged"], worst)
        self.assertEqual(of_structures["verdict"], verdicts[worst])
        stdout = run("compare", self.reference, self.evaluation, *arguments).stdout
        (row,) = [line for line in stdout.splitlines() if line.startswith("PTV*:1%/1mm") and "%" not in line[12:]][:1]
        self.assertIn(f"{rates[worst]:.4f}", row)
        self.assertTrue(row.endswith(verdicts[worst]), row)
        self.assertIn(f"PTV*:1%/1mm: that of {worst}\n", stdout)

    def test_beyond_the_limit_of_the_search(self):
        narrow = ("-c", "1%/1mm", "--max-gamma", "1.5")
        (criterion,) = self.results(self.reference, self.evaluation, *narrow)["criteria"]
        self.assertGreater(criterion["max"], 1.5)
        self.assertGreater(criterion["beyondLimit"], 0)
        stdout = run("compare", self.reference, self.evaluation, *narrow).stdout
        self.assertIn("maximum above 1.5\n", stdout)
        self.assertIn("mean at most ", stdout)
        (wide,) = self.results(self.reference, self.evaluation, "-c", "1%/1mm", "--max-gamma", "30")["criteria"]
        self.assertEqual(wide["beyondLimit"], 0)
        self.assertLessEqual(wide["mean"], criterion["mean"])  # so "at most" is right

    def test_cut_off_of_0_tests_what_has_a_dose(self):
        (criterion,) = self.results(self.reference, self.evaluation, "--dco", "0")["criteria"]
        self.assertEqual(criterion["tested"], int(numpy.count_nonzero(self.dose.values > 0)))
        self.assertEqual(criterion["cutoffDose"], 0)

    def test_decimal_commas(self):
        point = self.results(self.reference, self.evaluation, "-c", "2.5%/1.5mm", "--dco", "10.5")
        comma = self.results(self.reference, self.evaluation, "-c", "2,5%/1,5mm", "--dco", "10,5",
                             "--evaluation-scale", "1,00", "--tolerance", "95,0")  # fmt: skip
        for member in ("label", "tested", "passRate", "cutoffDose", "mean"):
            self.assertEqual(point["criteria"][0][member], comma["criteria"][0][member])
        self.assert_refused(run("compare", self.reference, self.evaluation, "--dco", "1,000"), WRONG_USAGE, '"1,000"')


if __name__ == "__main__":
    unittest.main()
