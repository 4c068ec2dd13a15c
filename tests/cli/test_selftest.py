"""The acceptance test of an installation, which can pass and fail."""

import html
import json
import os
import unittest

from support import ProgramTest, run


class SelfTest(ProgramTest):
    def record(self, **options):
        place, page = self.folder / "record.json", self.folder / "record.html"
        result = run("selftest", "--json", place, "--report", page, **options)
        return result, json.loads(place.read_text()), page.read_text()

    def test_this_build_passes(self):
        result, record, page = self.record()
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertIs(record["passed"], True)
        self.assertEqual({case["part"] for case in record["cases"]},
                         {"search", "gamma", "files", "structures"})
        tested = [path["name"] for path in record["vectorPaths"] if path["tested"]]
        self.assertIn("portable", tested)
        for path in tested:
            cases = [case for case in record["cases"] if case["name"].endswith(", by " + path)]
            self.assertGreaterEqual(len(cases), 12)
        self.assertEqual([file["name"] for file in record["installation"]["files"]][0], "zarngi")
        self.assertEqual(record["signature"], {"name": "", "date": ""})
        self.assertEqual(page.count("<td>passed</td>"), len(record["cases"]))
        for part in (*record["installation"]["files"], *record["cases"]):
            for text in part.values():
                if isinstance(text, str):
                    self.assertIn(html.escape(text, quote=False).replace('"', "&quot;"), page)
        self.assertIn("<td>Signature</td>", page)

    def test_two_records_are_not_one_file(self):
        place = self.folder / "record"
        self.assert_refused(run("selftest", "--json", place, "--report", place), 2, "is named for two outputs")

    def test_one_wrong_bit_fails(self):
        environment = {**os.environ, "LD_PRELOAD": os.environ["ONE_WRONG_BIT"]}
        result, record, page = self.record(env=environment)
        self.assertEqual(result.returncode, 5, result.stdout)
        self.assertIn("must not be used", result.stdout)
        self.assertIs(record["passed"], False)
        wrong = [case for case in record["cases"] if not case["passed"]]
        self.assertEqual({case["part"] for case in wrong}, {"search"})
        self.assertEqual(result.stdout.count("FAILED"), len(wrong))
        self.assertEqual(page.count("<td>FAILED</td>"), len(wrong))
        self.assertIn("must not be used", page)

    def test_the_record_on_standard_output(self):
        result = run("selftest", "--json", "-")
        self.assertIs(json.loads(result.stdout)["passed"], True)
        self.assertIn("cases passed", result.stderr)


if __name__ == "__main__":
    unittest.main()
