"""Runs the program as a user would."""

import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from documents import checked, read_document

PROGRAM = os.environ["ZARNGI"]
DATA = Path(os.environ["ZARNGI_TEST_DATA"])
#: Options that write what the schema describes.
DOCUMENTS = ("--json", "--save-request")


def run(*arguments, **options):
    result = subprocess.run(
        [PROGRAM, *map(str, arguments)],
        capture_output=True,
        text=True,
        timeout=120,
        check=False,
        **options,
    )
    if arguments[:1] in (("compare",), ("dvh",)) and result.returncode == 0:
        check_documents(result, arguments, Path(options.get("cwd") or "."))
    return result


def check_documents(result, arguments, folder):
    """Those that a command wrote into files and to standard output."""
    for option, place in zip(arguments, arguments[1:]):
        if option in DOCUMENTS and place == "-":
            checked(json.loads(result.stdout))
        elif option in DOCUMENTS and (folder / place).is_file():
            read_document(folder / place)


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
