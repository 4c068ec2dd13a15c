"""Runs the program as a user would."""

import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

PROGRAM = os.environ["ZARNGI"]
DATA = Path(os.environ["ZARNGI_TEST_DATA"])


def run(*arguments, **options):
    return subprocess.run(
        [PROGRAM, *map(str, arguments)],
        capture_output=True,
        text=True,
        timeout=120,
        check=False,
        **options,
    )


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zarngi-test-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def results(self, reference, evaluation, *arguments):
        """The JSON document of a comparison that must succeed."""
        document = self.folder / "results-of-test.json"
        result = run("compare", reference, evaluation, *arguments, "--json", document)
        self.assertEqual(result.returncode, 0, result.stderr)
        return json.loads(document.read_text())

    def assert_refused(self, result, code, *texts):
        """One line on standard error with all the texts, and the exit code."""
        self.assertEqual(result.returncode, code, result.stdout + result.stderr)
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
        self.assertTrue(result.stderr.startswith("zarngi: "), result.stderr)
        for text in texts:
            self.assertIn(text, result.stderr)

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())
