"""Structures in `zarngi compare`: which are shown, what is told of them, and what is refused."""

import csv
import gzip
import io
import json
import unittest

import numpy

import doses
from structure_files import box, rectangle, write_label_mask, write_structure_set
from support import DATA, ProgramTest, run

OK, BAD_INPUT, WRONG_USAGE, BELOW_LIMIT = 0, 1, 2, 3

# Of the grid of doses.blob(): x from -21.25 to 23.75, y from -16 to 14, z from 6.5 to 42.5 mm.
HEIGHTS = [11, 14, 17, 20, 23, 26, 29]
STRUCTURES = {
    "PTV_High": box((-6, 8), (-5, 5), HEIGHTS),
    "PTV_Low": box((-10, 12), (-8, 8), HEIGHTS),
    "Box-Left": box((-20, -10), (-8, 8), HEIGHTS),
    "Dose 52[cGy]": box((-4, 4), (-4, 4), HEIGHTS[2:5]),
    "Body": box((-40, 40), (-30, 30), range(-10, 60, 3)),
    "Far": box((100, 120), (0, 10), HEIGHTS),
    "Point": [[(0, 0, 20)]],
    "Tilted": [[(0, 0, 20), (5, 0, 21), (5, 5, 22)]],
}


def gammas(path):
    """The values of a gamma map, written as .nrrd."""
    return numpy.frombuffer(gzip.decompress(path.read_bytes().partition(b"\n\n")[2]), "<f4")


class Structures(ProgramTest):
    def setUp(self):
        super().setUp()
        self.doses = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", self.doses[0])
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", self.doses[1])
        self.structures = write_structure_set(
            self.folder / "s.dcm", STRUCTURES, kinds={"Point": "POINT"}
        )

    def compare(self, *arguments):
        return run("compare", self.reference, self.evaluation, *arguments)

    def document(self, *arguments):
        return self.results(
            self.reference, self.evaluation, "--structures", self.structures, *arguments
        )

    def names(self, *arguments):
        return [entry["name"] for entry in self.document(*arguments)["structures"]["list"]]

    def mask(self, document, name):
        """The voxels of a box by its contours, worked here: [z, y, x]."""
        place = [
            numpy.arange(n) * s + o
            for n, s, o in zip(self.doses[0].size, self.doses[0].spacing, self.doses[0].origin)
        ]
        contours = numpy.array(STRUCTURES[name])
        low, high = contours.min(axis=(0, 1)), contours.max(axis=(0, 1))
        thickness = 3
        x, y, z = (
            (axis >= low[i] - d) & (axis < high[i] + d)
            for i, (axis, d) in enumerate(zip(place, (0, 0, thickness / 2)))
        )
        return z[:, None, None] & y[None, :, None] & x[None, None, :]

    def test_selection(self):
        shown = ["PTV_High", "PTV_Low", "Box-Left", "Dose 52[cGy]", "Body", "Far", "Point"]
        for names, arguments in (
            (shown, []),
            (["PTV_High", "PTV_Low"], ["--structure", "ptv_*"]),
            (["Body", "PTV_High"], ["--structure", "BODY", "--structure", "*high"]),
            (["Dose 52[cGy]"], ["--structure", "Dose 52[cGy]"]),
            (shown[2:], ["--exclude", "PTV*"]),
            (["PTV_Low"], ["--structure", "PTV*", "--exclude", "PTV_High", "--exclude", "Body"]),
            (["ring"], ["--structure", "ring=PTV_Low-PTV_High"]),
            (["Body", "ring"], ["--structure", "b?dy", "--structure", "ring = Body - PTV*"]),
        ):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.names(*arguments), names)

    def test_combined(self):
        high, low, left = (
            self.mask(None, name) for name in ("PTV_High", "PTV_Low", "Box-Left")
        )
        for expression, mask in (
            ("PTV_Low-PTV_High", low & ~high),
            ("PTV_Low - PTV_High | Box-Left", (low & ~high) | left),
            ("PTV_Low & Box-Left", low & left),
            ("PTV_High | PTV_Low & Box-Left", high | (low & left)),
            ("PTV_Low - (PTV_High | box-left)", low & ~(high | left)),
            ('"PTV_Low"-\'Box-Left\'', low & ~left),
            ("Box-Left | PTV*", left | low | high),
        ):
            with self.subTest(expression=expression):
                (entry,) = self.document("--structure", f"x={expression}")["structures"]["list"]
                self.assertEqual(entry["expression"], expression)
                self.assertEqual(entry["voxels"], mask.sum())

    def test_counts_and_doses_are_those_of_the_voxels(self):
        gamma_map = self.folder / "gamma.nrrd"
        document = self.document("--gamma-map", gamma_map, "-c", "2%/1mm")
        gamma = gammas(gamma_map).reshape(self.doses[0].values.shape)
        (criterion,) = document["criteria"]
        rows = {row["name"]: row for row in criterion["structures"]}
        outside = numpy.ones(gamma.shape, bool)
        for name in ("PTV_High", "PTV_Low", "Box-Left", "Dose 52[cGy]"):
            inside = gamma[self.mask(document, name)]
            tested = inside[inside >= 0].astype(float)
            row = rows[name]
            self.assertEqual(row["tested"], tested.size)
            self.assertEqual(row["passed"], (tested <= 1).sum())
            self.assertEqual(row["hot"] + row["cold"], row["failed"])
            self.assertEqual(row["passRate"], 100 * row["passed"] / row["tested"])
            self.assertAlmostEqual(row["mean"], tested.mean(), 12)
            self.assertAlmostEqual(row["p99"], numpy.percentile(tested, 99), 12)
            self.assertEqual(row["max"], tested.max())
            self.assertEqual(sum(row["histogram"]["counts"]), tested.size)
        for name in ("PTV_High", "PTV_Low", "Box-Left", "Body"):
            outside &= ~self.mask(document, name)
        self.assertEqual(criterion["outsideStructures"]["tested"], (gamma[outside] >= 0).sum())
        self.assertEqual(rows["Far"]["verdict"], "none")
        self.assertIsNone(rows["Far"]["passRate"])

    def test_what_has_no_volume_or_lies_outside_is_told(self):
        result = self.compare("--structures", self.structures)
        document = self.document()["structures"]
        entries = {entry["name"]: entry for entry in document["list"]}
        for name, text in (
            ("Far", "lies wholly outside of the dose grid"),
            ("Far", "holds no voxel of the dose grid"),
            ("Point", "has no closed contours"),
            ("Point", "1 point left out"),
            ("Body", "is cut by the edge of the dose grid"),
            ("Body", "planes below or above the dose grid"),
        ):
            with self.subTest(name=name, text=text):
                self.assertIn(text, "; ".join(entries[name]["notes"]))
                self.assertIn(f"{name}: ", result.stdout)
                self.assertIn(text, result.stdout)
        self.assertEqual(entries["Point"]["leftOut"]["points"], 1)
        self.assertIsNone(entries["Point"]["dvh"])
        self.assertEqual([entry["name"] for entry in document["refused"]], ["Tilted"])
        self.assertIn("warning: Tilted: ", result.stderr)
        # 45 of 80 mm along x, 30 of 60 mm along y, 36 of 72 mm along z.
        self.assertAlmostEqual(entries["Body"]["outsideShare"], 1 - 45 / 80 / 2 * 36 / 72, 9)

    def test_table_fits_a_terminal_and_is_sorted(self):
        result = self.compare(
            "--structures", self.structures, "-c", "2%/1mm", "--dvh", "D1cc,V1Gy,V95%,D99"
        )
        self.assertEqual(result.returncode, OK, result.stderr)
        lines = [
            line
            for line in result.stdout.splitlines()
            if not line.startswith(("note", "left out"))
        ]
        self.assertLessEqual(max(map(len, lines)), 100)
        start = next(i for i, line in enumerate(lines) if line.startswith("2%/1mm  "))
        rows = lines[start + 1 : start + 9]
        rates = [float(row[14:].split()[4]) for row in rows if "nothing tested" not in row][:-1]
        self.assertEqual(rates, sorted(rates))
        self.assertEqual(rows[-1][:11], "outside all")
        self.assertIn("Far             nothing tested", lines)

    def test_csv(self):
        table = self.folder / "t.csv"
        plain = self.folder / "plain.csv"
        self.compare("--csv", plain)
        self.compare("--structures", self.structures, "--csv", table, "-c", "3%/2mm",
                     "-c", "PTV*:2%/1mm", "--dvh", "V1Gy")
        (head, _), rows = (
            list(csv.reader(io.StringIO(plain.read_text()))),
            list(csv.DictReader(io.StringIO(table.read_text()))),
        )
        self.assertEqual(list(rows[0])[: len(head)], head)
        self.assertNotIn("structure", head)
        self.assertEqual(
            [row["structure"] for row in rows if row["criterion"] == "PTV*:2%/1mm"],
            ["", "PTV_High", "PTV_Low"],
        )
        self.assertEqual(rows[0]["structure"], "")
        by_name = {row["structure"]: row for row in rows if row["criterion"] == "3%/2mm"}
        self.assertEqual(by_name["Far"]["verdict"], "none")
        self.assertEqual(by_name["Far"]["pass_rate_percent"], "")
        self.assertGreater(float(by_name["PTV_High"]["reference_V1Gy"]), 50)
        self.assertIn("outside of all structures", by_name)

    def test_limits(self):
        # At 2 %/1 mm part of the voxels of PTV_Low fail, all of those of Far are untested.
        fails = ["--structures", self.structures, "-c", "2%/1mm"]
        for code, arguments in (
            (OK, ["--fail-below", "PTV_Low:1"]),
            (BELOW_LIMIT, ["--fail-below", "PTV_Low:99.9"]),
            (BELOW_LIMIT, ["--fail-below", "Far:0"]),
            (BELOW_LIMIT, ["--fail-below", "1", "--fail-below", "ptv*:99.9"]),
            (OK, ["--fail-below", "PTV*:99.9", "--fail-below", "PTV_*:1"]),
        ):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.compare(*fails, *arguments).returncode, code)
        # A plain number is about all voxels, of a criterion for structures about these.
        scoped = ["--structures", self.structures, "-c", "PTV_Low:2%/1mm"]
        self.assertEqual(self.compare(*scoped, "--fail-below", "99.9").returncode, BELOW_LIMIT)
        self.assertEqual(self.compare(*scoped, "--fail-below", "1").returncode, OK)

        document = self.document("-c", "2%/1mm", "--tolerance", "99", "--tolerance", "PTV_Low:2",
                                 "--action", "PTV_Low:1", "--action", "98")
        limits = {entry["name"]: entry["limits"] for entry in document["structures"]["list"]}
        self.assertEqual(limits["PTV_Low"], {"tolerance": 2, "action": 1})
        self.assertEqual(limits["Body"], {"tolerance": 99, "action": 98})
        verdicts = {row["name"]: row["verdict"] for row in document["criteria"][0]["structures"]}
        self.assertEqual(verdicts["PTV_Low"], "pass")
        self.assertEqual(verdicts["Body"], "fail")

    def test_criteria_of_structures(self):
        document = self.document("-c", "3%/2mm", "-c", "PTV*:2%/1mm", "-c", "Far:2%/1mm")
        (everything, some) = document["criteria"]
        self.assertEqual((everything["for"], some["for"]), ([], ["PTV*", "Far"]))
        self.assertNotIn(None, everything["structures"])
        self.assertEqual(
            [row["name"] for row in some["structures"] if row], ["PTV_High", "PTV_Low", "Far"]
        )
        self.assertIsNone(some["outsideStructures"])

    def test_a_criterion_for_everything_and_for_structures(self):
        """Each has its verdict, in either order, and a map of its own."""
        path = self.folder / "gamma.nrrd"
        for asked in (["2%/1mm", "PTV*:2%/1mm"], ["PTV*:2%/1mm", "2%/1mm"]):
            options = [part for one in asked for part in ("-c", one)]
            document = self.document(*options, "--explain", "--gamma-map", path)
            self.assertEqual(document["request"]["criteria"], asked)
            some, everything = sorted(document["criteria"], key=lambda one: not one["for"])
            self.assertEqual((some["for"], everything["for"]), (["PTV*"], []))
            rates = [row["passRate"] for row in some["structures"] if row]
            self.assertIn(some["judged"], ("PTV_High", "PTV_Low"))
            self.assertEqual(min(rates), next(r["passRate"] for r in some["structures"] if r and r["name"] == some["judged"]))
            self.assertIsNone(everything["judged"])
            maps = [gammas(self.folder / f"gamma-2G-1mm{more}.nrrd") for more in ("", "-again")]
            self.assertTrue((maps[0] == maps[1]).all())

    def test_within_gives_the_same_gammas(self):
        maps = {}
        for key, arguments in (("whole", []), ("part", ["--within", "PTV_Low - PTV_High"])):
            path = self.folder / f"{key}.nrrd"
            document = self.document("--gamma-map", path, "-c", "2%/1mm", *arguments)
            maps[key] = gammas(path).reshape(self.doses[0].values.shape)
            self.assertEqual(document["within"], arguments[1] if arguments else None)
        inside = self.mask(None, "PTV_Low") & ~self.mask(None, "PTV_High")
        self.assertEqual(maps["part"][inside].tobytes(), maps["whole"][inside].tobytes())
        self.assertTrue((maps["part"][~inside] == -1).all())

    def test_refused(self):
        self.assertEqual(self.compare().returncode, OK)
        needs = "needs --structures"
        files = ["--structures", self.structures]
        for code, texts, arguments in (
            (WRONG_USAGE, ["--structure", needs], ["--structure", "PTV"]),
            (WRONG_USAGE, ["--within", needs], ["--within", "PTV"]),
            (WRONG_USAGE, ["--tolerance", needs], ["--tolerance", "PTV:98"]),
            (WRONG_USAGE, ["--criteria", needs], ["-c", "PTV:2%/1mm"]),
            (WRONG_USAGE, ["--structure", "XYZ*", "PTV_High"], [*files, "--structure", "XYZ*"]),
            (WRONG_USAGE, ["--exclude", "XYZ"], [*files, "--exclude", "XYZ"]),
            (WRONG_USAGE, ["--exclude", "no structure is left"], [*files, "--exclude", "*"]),
            (WRONG_USAGE, ["--within", "XYZ"], [*files, "--within", "XYZ"]),
            (BAD_INPUT, ["--within", "Far", "no voxel"], [*files, "--within", "Far"]),
            (WRONG_USAGE, ["--within", "Tilted"], [*files, "--within", "Tilted"]),
            (WRONG_USAGE, ["--tolerance", "XYZ"], [*files, "--tolerance", "XYZ:98"]),
            (WRONG_USAGE, ["--tolerance", "101"], [*files, "--tolerance", "PTV*:101"]),
            (WRONG_USAGE, ["--tolerance", "twice"], ["--tolerance", "96", "--tolerance", "97"]),
            (WRONG_USAGE, ["--action 97", "PTV_Low"], [*files, "--action", "PTV_Low:97"]),
            (WRONG_USAGE, ["--fail-below", "XYZ"], [*files, "--fail-below", "XYZ:98"]),
            (WRONG_USAGE, ["--criteria", "XYZ"], [*files, "-c", "XYZ:2%/1mm"]),
            (WRONG_USAGE, ["--criteria", "names no"], [*files, "-c", ":2%/1mm"]),
            (WRONG_USAGE, ["--dvh", "D120"], [*files, "--dvh", "D95,D120"]),
            (WRONG_USAGE, ["--dvh", "V20"], [*files, "--dvh", "V20"]),
            (WRONG_USAGE, ["--prescription"], [*files, "--prescription", "0"]),
            (WRONG_USAGE, ["given twice"], [*files, *files]),
            (WRONG_USAGE, ["is missing"], [*files, "--structure", "x=PTV_High-"]),
            (WRONG_USAGE, ["not closed"], [*files, "--structure", "x=(PTV_High"]),
            (WRONG_USAGE, ["not closed"], [*files, "--structure", "x='PTV_High"]),
            (WRONG_USAGE, ["operator"], [*files, "--structure", "x=(PTV_High) PTV_Low"]),
            (WRONG_USAGE, ["another name"], [*files, "--structure", "Body=PTV_High"]),
            (WRONG_USAGE, ["Tilted"], [*files, "--structure", "x=Body-Tilted"]),
            (WRONG_USAGE, ["overwrite"], [*files, "--json", self.structures]),
            (BAD_INPUT, ["none.dcm"], ["--structures", self.folder / "none.dcm"]),
        ):
            with self.subTest(arguments=arguments):
                self.assert_refused(self.compare(*arguments), code, *texts)
        self.assertEqual(self.files(), ["a.nrrd", "b.nrrd", "s.dcm"])

    def test_frames_of_reference(self):
        dose = doses.write_dicom(self.folder / "dose.dcm", self.doses[0])
        frame = doses.pydicom.dcmread(dose).FrameOfReferenceUID
        same = write_structure_set(self.folder / "same.dcm", STRUCTURES, frame=frame)
        warnings = lambda *arguments: " ".join(self.results(dose, dose, *arguments)["warnings"])
        self.assertNotIn("Frame of Reference", warnings("--structures", same))
        self.assert_refused(
            run("compare", dose, dose, "--structures", self.structures),
            BAD_INPUT, "s.dcm", "Frame of Reference", "--ignore-frame",
        )
        ignored = warnings("--structures", self.structures, "--ignore-frame")
        self.assertIn("another Frame of Reference", ignored)
        self.assertIn("the reference tells none", " ".join(self.document()["warnings"]))

    def test_several_files(self):
        other = write_structure_set(
            self.folder / "t.dcm", {"Body": STRUCTURES["Body"], "New": STRUCTURES["PTV_High"]}
        )
        names = self.names("--structures", other)
        self.assertEqual(names[4], "Body (s.dcm)")
        self.assertEqual(names[-2:], ["Body (t.dcm)", "New"])
        both = ["--structures", other, "--structure"]
        self.assertEqual(self.names(*both, "body"), ["Body (s.dcm)", "Body (t.dcm)"])
        self.assertEqual(self.names(*both, "Body (t.dcm)"), ["Body (t.dcm)"])

    def test_label_masks_agree_with_contours(self):
        labels = numpy.zeros(self.doses[0].values.shape)
        labels[self.mask(None, "PTV_Low")] = 1
        labels[self.mask(None, "PTV_High")] = 2
        mask = write_label_mask(self.folder / "m.nrrd", self.doses[0], labels)
        document = self.results(self.reference, self.evaluation, "--structures", mask,
                                "--structures", self.structures)
        rows = {row["name"]: row for row in document["criteria"][0]["structures"]}
        kept = ("tested", "passed", "mean", "max")
        self.assertEqual(*([rows[name][k] for k in kept] for name in ("label 2", "PTV_High")))
        self.assertFalse(any("m.nrrd" in warning for warning in document["warnings"]))

    def test_threads_change_nothing(self):
        one, two = (self.document("--threads", n) for n in (1, 2))
        for document in (one, two):
            for key in ("created", "command", "threads", "timings"):
                del document[key]
            del document["criteria"][0]["seconds"]
        self.assertEqual(json.dumps(one), json.dumps(two))


# Structure, voxels, tested; passed and mean gamma at 3 %/3 mm and at 2 %/2 mm.
REAL_ROWS = (
    ("BODY", 515448, 86948, 78555, "0.435467", 63826, "0.648561"),
    ("BRAIN", 71327, 47834, 43651, "0.435011", 34783, "0.647789"),
    ("BRSTEM", 2005, 1203, 1007, "0.612540", 655, "0.913652"),
    ("CTV", 4450, 4450, 4450, "0.066039", 4450, "0.098858"),
    ("Dose 5200[cGy]", 6, 6, 6, "0.824002", 0, "1.231557"),
    ("GTV", 546, 546, 546, "0.045870", 546, "0.068805"),
    ("Lens - left", 10, 0, 0, None, 0, None),
    ("Lens - right", 11, 0, 0, None, 0, None),
    ("Optic Chiasm", 72, 72, 69, "0.317976", 61, "0.471075"),
    ("Optic Nerve - Rt", 146, 0, 0, None, 0, None),
    ("Optic Nerve-Lt", 111, 111, 111, "0.134153", 111, "0.201202"),
    ("Orbit - left", 550, 370, 370, "0.144768", 370, "0.217118"),
    ("Orbit - right", 565, 5, 5, "0.954028", 0, "1.428015"),
    ("PTV1", 8128, 8128, 7972, "0.184883", 7451, "0.276102"),
    ("optBRAIN", 50060, 27839, 25788, "0.433101", 20677, "0.645893"),
    ("optOptic", 1439, 556, 553, "0.172389", 540, "0.257766"),
)
# Structure, pass rates.
REAL_RATES = {
    "BODY": ("90.347104", "73.407094"),
    "BRAIN": ("91.255174", "72.716060"),
    "BRSTEM": ("83.707398", "54.447215"),
    "Optic Chiasm": ("95.833333", "84.722222"),
    "PTV1": ("98.080709", "91.670768"),
    "optBRAIN": ("92.632638", "74.273501"),
    "optOptic": ("99.460432", "97.122302"),
}
# Structure, volume (cc), mean, D95, D2 (Gy).
REAL_DOSES = (
    ("BRAIN", "1114.77", "20.76", "1.07", "61.46"),
    ("BRSTEM", "31.45", "13.55", "0.96", "41.13"),
    ("CTV", "70.06", "61.07", "60.53", "61.79"),
    ("GTV", "8.49", "60.99", "60.71", "61.48"),
    ("Optic Chiasm", "1.15", "13.16", "9.69", "18.29"),
    ("PTV1", "126.78", "60.93", "59.85", "61.85"),
    ("optBRAIN", "781.91", "10.05", "1.00", "33.32"),
)


def research_platform():
    """Volume and mean dose of each structure in the table of another system."""
    with (DATA / "head_neck_dvh_cerr.csv").open() as file:
        rows = list(csv.reader(file))
    figures = {}
    for column in range(0, len(rows[0]) - 1, 2):
        name = rows[0][column].split("_DvhArray")[0]
        volume = float(rows[0][column + 1].split("of ")[1].split(" cc")[0])
        cells = [(row[column], row[column + 1]) for row in rows[1:]]
        dose, share = numpy.array([pair for pair in cells if all(pair)], float).T
        figures[name] = (volume, dose, share / 100)
    return figures


@unittest.skipUnless(DATA.is_dir(), f"no measured dose distributions in {DATA}")
class RealStructures(ProgramTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.pair = [DATA / f"head_neck_day{day}.nrrd" for day in (1, 2)]
        cls.arguments = ["--structures", DATA / "head_neck_structures.dcm"]

    def document(self, *arguments):
        return self.results(*self.pair, *self.arguments, *arguments)

    def test_gamma(self):
        document = self.document("-c", "3%/3mm", "-c", "2%/2mm")
        listed = document["structures"]["list"]
        found = [[row["name"] for row in criterion["structures"]] for criterion in
                 document["criteria"]]
        self.assertEqual(found, [[row[0] for row in REAL_ROWS]] * 2)
        for i, (name, voxels, tested, *figures) in enumerate(REAL_ROWS):
            self.assertEqual(listed[i]["voxels"], voxels)
            for j, (passed, mean) in enumerate((figures[:2], figures[2:])):
                with self.subTest(name=name, criterion=j):
                    row = document["criteria"][j]["structures"][i]
                    self.assertEqual((row["tested"], row["passed"]), (tested, passed))
                    if mean is None:
                        self.assertIsNone(row["mean"])
                        continue
                    self.assertEqual(f"{row['mean']:.6f}", mean)
                    if name in REAL_RATES:
                        self.assertEqual(f"{row['passRate']:.6f}", REAL_RATES[name][j])

    def test_doses(self):
        listed = {row["name"]: row for row in self.document()["structures"]["list"]}
        for name, volume, *figures in REAL_DOSES:
            with self.subTest(name=name):
                dose = listed[name]["dvh"]["reference"]
                metrics = dose["metrics"]
                self.assertEqual(f"{listed[name]['volume']:.2f}", volume)
                found = [dose["mean"], metrics["D95"], metrics["D2"]]
                self.assertEqual([f"{value:.2f}" for value in found], figures)
                self.assertEqual(listed[name]["subPoints"], [3, 3, 3])
        self.assertEqual(listed["BODY"]["subPoints"], [1, 1, 1])

    def test_doses_agree_with_a_research_platform(self):
        letters = lambda name: "".join(filter(str.isalnum, name)).lower()
        listed = {letters(row["name"]): row for row in self.document()["structures"]["list"]}
        others = research_platform()
        self.assertEqual(set(map(letters, others)), set(listed))
        for name, (volume, dose, share) in others.items():
            entry = listed[letters(name)]
            with self.subTest(name=name):
                # Both as they are printed, to a hundredth of a cc.
                difference = abs(round(entry["volume"], 2) - round(volume, 2))
                self.assertLess(difference, max(0.002 * volume, 0.03) + 1e-9)
                mean = (numpy.diff(dose) * (share[1:] + share[:-1]) / 2).sum()
                self.assertAlmostEqual(entry["dvh"]["reference"]["mean"], mean, delta=0.15)

    def test_within(self):
        maps = {}
        for key, arguments in (("whole", []), ("part", ["--within", "PTV1"])):
            path = self.folder / f"{key}.nrrd"
            document = self.document("--gamma-map", path, "-c", "3%/3mm", *arguments)
            maps[key] = gammas(path)
            row = next(r for r in document["criteria"][0]["structures"] if r["name"] == "PTV1")
            self.assertEqual(row["tested"], 8128)
        inside = maps["part"] >= 0
        self.assertEqual(inside.sum(), 8128)
        self.assertEqual(maps["part"][inside].tobytes(), maps["whole"][inside].tobytes())


if __name__ == "__main__":
    unittest.main()
