"""A program whose sentences are numbers ends as the program does, and its records say the same."""

import json
import os
import subprocess
import unittest

import doses
from structure_files import box, write_structure_set
from support import PROGRAM, ProgramTest

NUMBERED = os.environ.get("ZARNGI_NUMBERED")


@unittest.skipUnless(NUMBERED, "the program whose sentences are numbers is not built")
class Numbered(ProgramTest):
    def setUp(self):
        super().setUp()
        dose, other = doses.pair()
        doses.write_nrrd(self.folder / "a.nrrd", dose)
        doses.write_nrrd(self.folder / "b.nrrd", other)
        write_structure_set(self.folder / "s.dcm", {"PTV": box((-6, 8), (-5, 5), range(5, 45, 3))})
        (self.folder / "text.txt").write_text("no dose at all")
        whole = (self.folder / "a.nrrd").read_bytes()
        (self.folder / "cut.nrrd").write_bytes(whole[: len(whole) // 2])
        (self.folder / "kept.json").write_text("kept")
        (self.folder / "wrong.json").write_text('{"format": "zarngi-request"}')

    def told(self, program, *arguments):
        done = subprocess.run([program, *arguments], cwd=self.folder, capture_output=True, text=True, timeout=300)
        return done.returncode, done.stderr

    def test_refusals(self):
        pair = ("compare", "a.nrrd", "b.nrrd")
        with_structures = (*pair, "--structures", "s.dcm")
        for status, arguments in (
            (1, ("compare", "a.nrrd", "gone.nrrd")), (1, ("compare", "a.nrrd", "text.txt")),
            (1, ("compare", "cut.nrrd", "b.nrrd")), (1, ("info", "text.txt")), (1, ("info", "gone.nrrd")),
            (2, (*pair, "-c", "foo")), (2, (*pair, "-c", "PTV:2%/2mm")), (2, (*pair, "--action", "99")),
            (2, (*with_structures, "--within", "NOBODY")), (2, (*with_structures, "--structure", "A=")),
            (2, (*pair, "--norm-at", "1,x")), (2, (*pair, "--request", "wrong.json")),
            (1, (*pair, "--norm-at", "9999,0,0")), (2, (*pair, "--evaluation-scale", "none")),
            (2, (*pair, "--sweep", "3%")), (1, (*pair, "--reference-add", "gone.nrrd")),
        ):  # fmt: skip
            with self.subTest(arguments):
                code, words = self.told(PROGRAM, *arguments)
                self.assertEqual((code, len(words.splitlines())), (status, 1), words)
                code, number = self.told(NUMBERED, *arguments)
                self.assertEqual(code, status)
                self.assertRegex(number, r"^zarngi: \d+( \(zarngi( \w+)? --help tells more\))?\n$")
        self.assertEqual((self.folder / "kept.json").read_text(), "kept")

    def test_records(self):
        arguments = ("compare", "a.nrrd", "b.nrrd", "--structures", "s.dcm", "-c", "3%/3mm", "-c", "PTV:2%/2mm",
                     "--structure", "PTV", "--structure", "Nobody", "--if-present", "--fail-below", "100")  # fmt: skip
        records = []
        for program in (PROGRAM, NUMBERED):
            code, _ = self.told(program, *arguments, "--json", "record.json")
            self.assertEqual(code, 3)
            records.append(json.loads((self.folder / "record.json").read_text()))
        plain, numbered = records
        self.assertEqual(numbered["structures"]["list"][0]["name"], "PTV")
        self.assertEqual(len(numbered["warnings"]), len(plain["warnings"]))
        self.assertTrue(all(text.isdecimal() for text in numbered["warnings"]))
        for one, other in zip(plain["criteria"], numbered["criteria"]):
            self.assertEqual({**one, "seconds": 0}, {**other, "seconds": 0})


if __name__ == "__main__":
    unittest.main()
