"""Protocols: those that are shipped, those of a department, and what records tell of them."""

import json
import unittest

import doses
from documents import checked
from structure_files import box, write_structure_set
from support import ProgramTest, run

HEIGHTS = [11, 14, 17, 20, 23, 26, 29]
NAMES = ["head-neck", "prostate", "tg-119", "tg-218"]


class Protocols(ProgramTest):
    def setUp(self):
        super().setUp()
        dose, other = doses.pair()
        self.pair = [doses.write_nrrd(self.folder / "a.nrrd", dose), doses.write_nrrd(self.folder / "b.nrrd", other)]
        self.path = self.folder / "r.json"

    def record(self, *arguments, code=0):
        result = run("compare", *self.pair, *arguments, "--json", self.path)
        self.assertEqual(result.returncode, code, result.stderr)
        self.printed = result.stdout
        return checked(json.loads(self.path.read_text()))

    def saved(self, document, name="own.json"):
        path = self.folder / name
        path.write_text(json.dumps(document))
        return path

    def shipped(self, name):
        return json.loads(run("protocols", name).stdout)

    def test_the_list(self):
        listed = json.loads(run("protocols", "--json").stdout)
        self.assertEqual([one["name"] for one in listed], NAMES)
        printed = run("protocols").stdout
        for one in listed:
            with self.subTest(one["name"]):
                document = checked(self.shipped(one["name"]))
                for member in ("name", "version", "title", "source"):
                    self.assertEqual(document[member], one[member])
                    self.assertTrue(one[member])
                self.assertIn(one["title"], printed)
                self.assertIn(one["source"], printed)
                told = self.record("--protocol", one["name"])["protocol"]
                self.assertEqual(told, {**one, "changed": False})

    def test_what_tg218_asks(self):
        record = self.record("--protocol", "tg-218")
        (criterion,) = record["criteria"]
        self.assertEqual((criterion["label"], criterion["cutoffPercent"], criterion["local"]), ("3%/2mm", 10, False))
        self.assertEqual(criterion["limits"], {"tolerance": 95, "action": 90})
        self.assertIn("protocol    tg-218 1, Patient-specific quality assurance of IMRT\n", self.printed)

    def test_what_was_changed_is_told(self):
        """Another header, other files and names that are left out change no protocol."""
        digest = self.record("--protocol", "tg-218")["protocol"]["sha256"]
        for more, isChanged in (
            (["--dco", "11"], True), (["-c", "3%/3mm"], True), (["--goal", "PTV: D95% >= 1 Gy"], True),
            (["--dco", "10"], False), (["-c", "3%/2mm"], False), (["--header", "comment=x", "--identify"], False),
        ):  # fmt: skip
            with self.subTest(more):
                told = self.record("--protocol", "tg-218", *more)["protocol"]
                self.assertEqual((told["sha256"], told["changed"]), (digest, isChanged))
                self.assertEqual(", changed\n" in self.printed, isChanged)
        again = run("compare", "--request", self.path, "--json", "-")
        self.assertEqual(json.loads(again.stdout)["protocol"], told)

    def test_a_protocol_of_a_department(self):
        own = {**self.shipped("tg-218"), "name": "Ours", "version": "3", "cutOff": 20}
        own["header"] = {"machine": "LINAC 2", "patientName": "Doe"}
        first = self.record("--protocol", self.saved(own))
        self.assertEqual((first["protocol"]["name"], first["protocol"]["version"]), ("Ours", "3"))
        self.assertEqual((first["header"]["machine"], first["header"]["patientName"]), ("LINAC 2", None))
        self.assertFalse(first["protocol"]["changed"])
        record = self.path.rename(self.folder / "record.json")
        self.assertEqual(self.record("--protocol", record)["protocol"], first["protocol"])
        self.assertEqual(self.record("--request", self.saved(own))["protocol"]["sha256"], first["protocol"]["sha256"])
        nameless = self.record("--protocol", self.saved({**own, "name": "", "version": ""}, "lung.json"))["protocol"]
        self.assertEqual((nameless["name"], nameless["version"]), ("lung", "1"))
        saved = self.folder / "again.json"
        self.record("--protocol", self.saved(own), "--save-request", saved)
        self.assertEqual(json.loads(saved.read_text())["sha256"], "")

    def test_structures_that_are_not_there_are_told(self):
        structures = write_structure_set(self.folder / "s.dcm", {"PTV_High": box((-6, 8), (-5, 5), HEIGHTS)})
        own = {**self.shipped("head-neck"), "goals": ["PTV_*: Dmax >= 0.1 Gy", "SpinalCord: Dmax <= 50 Gy"]}
        record = self.record("--protocol", self.saved(own), "--structures", structures)
        self.assertEqual([goal["structure"] for goal in record["goals"]], ["PTV_High"])
        told = [text for text in record["warnings"] if "SpinalCord" in text]
        self.assertEqual(told, ['no structure is called "SpinalCord", so it is left out'])
        self.assertFalse(record["protocol"]["changed"])
        without = self.record("--protocol", "head-neck")
        self.assertNotIn("goals", without)
        self.assertTrue(any("Parotid_*" in text for text in without["warnings"]))
        self.assertFalse(without["protocol"]["changed"])

    def test_refused(self):
        whole = self.shipped("tg-218")
        for given, code, texts in (
            ("tg-217", 2, ['"tg-217" is no file and no shipped protocol', *NAMES]),
            (self.saved({**whole, "formatVersion": 4}), 2, ["own.json: ", "formatVersion is not one of 1 to 3", *NAMES]),
            (self.saved({**whole, "cutOf": 1}, "odd.json"), 2, ["odd.json: ", "cutOf is not known"]),
            (self.saved([], "list.json"), 2, ["list.json: "]),
        ):  # fmt: skip
            with self.subTest(given):
                result = run("compare", *self.pair, "--protocol", given, "--json", self.path)
                self.assert_refused(result, code, *texts)
                self.assertFalse(self.path.exists())
        self.assert_refused(run("protocols", "tg-217"), 2, *NAMES)
        both = run("compare", *self.pair, "--protocol", "tg-218", "--request", self.saved(whole))
        self.assertEqual(both.returncode, 2)


if __name__ == "__main__":
    unittest.main()
