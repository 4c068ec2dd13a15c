"""The command line: what it refuses, what it says, and its exit codes."""

import os
import pty
import re
import select
import signal
import subprocess
import time
import unittest
from pathlib import Path

import numpy

import doses
from support import PROGRAM, ProgramTest, run

ROOT = Path(__file__).resolve().parents[2]
OK, BAD_INPUT, WRONG_USAGE, BELOW_LIMIT = 0, 1, 2, 3


class Pair(ProgramTest):
    def setUp(self):
        super().setUp()
        reference, evaluation = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", reference)
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", evaluation)

    def compare(self, *arguments):
        return run("compare", self.reference, self.evaluation, *arguments)

    def criterion(self, *arguments):
        (criterion,) = self.results(self.reference, self.evaluation, *arguments)["criteria"]
        return criterion


class Usage(Pair):
    def test_refused(self):
        for reason, arguments in (
            ("--dd", ["--dd", "0"]),
            ("--dd", ["--dd", "-3"]),
            ("--dd", ["--dd", "nan"]),
            ("--dd", ["--dd", "3%"]),
            ("--dta", ["--dta", "1e-60"]),
            ("--dta", ["--dta"]),
            ("--dco", ["--dco", "inf"]),
            ("--norm", ["--norm", "0"]),
            ("--max-gamma", ["--max-gamma", "0"]),
            ("--step", ["--step", "-1"]),
            ("--threads", ["--threads", "0"]),
            ("--threads", ["--threads", "1.5"]),
            ("--verbose", ["--verbose", "6"]),
            ("--tolerance", ["--tolerance", "101"]),
            ("--action", ["--action", "96"]),
            ("--fail-below", ["--fail-below", "-1"]),
            ("3%/2mm", ["--criteria", "3/2"]),
            ("3%/2mm", ["--criteria", "3%2mm"]),
            ("3%/2mm", ["--criteria", "3%X/2mm"]),
            ("3%/2mm", ["--criteria", "0%/2mm"]),
            ("3%/2mm", ["--criteria", "3%/-2mm"]),
            ("3%/2mm", ["--criteria", ""]),
            ("given twice", ["-c", "3%/2mm", "-c", "3%G/2mm"]),
            ("--criteria", ["-c", "3%/2mm", "--dd", "3"]),
            ("--criteria", ["-c", "3%/2mm", "--local"]),
            ("--gamma-map", ["--gamma-map", self.folder / "gamma.mhd"]),
            ("--gamma-map", ["--gamma-map", self.folder / "gamma"]),
            ("--report", ["--report", self.folder / "report.pdf"]),
            ("overwrite an input", ["--gamma-map", self.reference]),
            ("overwrite an input", ["--json", self.folder / "." / "b.nrrd"]),
            ("two outputs", ["--json", self.folder / "x", "--csv", self.folder / "x"]),
            ("--frobnicate", ["--frobnicate"]),
            ("c.nrrd", ["c.nrrd"]),
        ):
            with self.subTest(arguments=arguments):
                self.assert_refused(self.compare(*arguments), WRONG_USAGE, reason)
        self.assertEqual(self.files(), ["a.nrrd", "b.nrrd"])

    def test_incomplete(self):
        for arguments in ([], ["compare"], ["compare", self.reference], ["info"], ["nothing"]):
            with self.subTest(arguments=arguments):
                self.assert_refused(run(*arguments), WRONG_USAGE)
        self.assert_refused(run("comapre", "a", "b"), WRONG_USAGE, '"comapre" is not a command')

    def test_help_fits_two_screens(self):
        for arguments in (["--help"], ["compare", "--help"], ["info", "-h"], ["demo", "-h"]):
            with self.subTest(arguments=arguments):
                result = run(*arguments)
                self.assertEqual((result.returncode, result.stderr), (OK, ""))
                lines = result.stdout.splitlines()
                self.assertLess(len(lines), 100)  # two screens
                self.assertLessEqual(max(map(len, lines)), 80)
        self.assertEqual(run("--version").stdout, "zarngi 4.10.0\n")


class Manuals(unittest.TestCase):
    """What the program can do is what its manuals and its completion say."""

    def test_every_option_is_documented(self):
        told = "".join(run(name, "--help").stdout for name in ("compare", "info", "convert"))
        options = set(re.findall(r"--[a-z][a-z-]+", told)) - {"--help"}
        self.assertGreater(len(options), 15)
        page = (ROOT / "docs/man/zarngi.1").read_text().replace("\\-", "-")
        self.assertEqual(options - set(re.findall(r"--[a-z][a-z-]+", page)), set())
        self.assertEqual(set(re.findall(r"--[a-z][a-z-]+", page)) - options, set())

    def test_completion(self):
        script = ROOT / "cli/completion/zarngi"

        def complete(*words):
            line = " ".join(f"'{word}'" for word in words)
            code = (f"source '{script}'; COMP_WORDS=(zarngi {line}); "
                    f"COMP_CWORD={len(words)}; _zarngi; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
            result = subprocess.run(["bash", "-c", code], capture_output=True, text=True,
                                    check=True)
            return set(result.stdout.split())

        self.assertEqual(complete("com"), {"compare"})
        self.assertEqual(complete("info", "--p"), {"--patient", "--pixel-size"})
        self.assertEqual(complete("compare", "-c", "2%L"), {"2%L/2mm"})
        told = set(re.findall(r"--[a-z][a-z-]+", run("compare", "--help").stdout))
        self.assertEqual(complete("compare", "--"), told)


class ExitCodes(Pair):
    def test_limit(self):
        rate = self.criterion("-c", "1%/1mm")["passRate"]
        self.assertTrue(5 < rate < 95, rate)
        for limit, code in ((rate - 1, OK), (rate + 1, BELOW_LIMIT), (0, OK), (100, BELOW_LIMIT)):
            arguments = ("-c", "1%/1mm", "--fail-below", f"{limit:.6f}", "--csv",
                         self.folder / "r.csv")
            with self.subTest(limit=limit):
                self.assertEqual(self.compare(*arguments).returncode, code)
                self.assertTrue((self.folder / "r.csv").exists(), "results are written either way")
        several = self.compare("-c", "10%/5mm", "-c", "1%/1mm", "--fail-below", f"{rate + 1}")
        self.assertEqual(several.returncode, BELOW_LIMIT)

    def test_verdicts(self):
        rate = self.criterion("-c", "1%/1mm")["passRate"]
        for tolerance, action, verdict in (
            (rate - 1, 0, "pass"),
            (rate + 1, rate - 1, "investigate"),
            (100, rate + 1, "fail"),
        ):
            limits = ("--tolerance", f"{tolerance:.6f}", "--action", f"{action:.6f}")
            with self.subTest(verdict):
                self.assertEqual(self.criterion("-c", "1%/1mm", *limits)["verdict"], verdict)
                self.assertIn(f"verdict     {verdict}",
                              self.compare("-c", "1%/1mm", *limits).stdout)


class Options(Pair):
    def test_defaults_are_told(self):
        criterion = self.criterion()
        self.assertEqual(
            [criterion[name] for name in ("label", "cutoffPercent", "gammaSearchMax", "mode",
                                          "interpolation", "rotation", "slices", "limits")],
            ["3%/2mm", 10, 3, "gamma-map", True, False, False, {"tolerance": 95, "action": 90}],
        )
        self.assertAlmostEqual(criterion["stepSize"], 0.2, places=6)

    def test_each_option_reaches_the_computation(self):
        base = self.criterion("-c", "2%/1mm")
        for arguments, differs in (
            (["--dco", "50"], "tested"),
            (["--norm", "1"], "tested"),
            (["--nearest"], "mean"),
            (["--slices"], "mean"),
            (["--step", "0.5"], "mean"),
            (["--max-gamma", "1"], "max"),
            (["--rotate"], "mean"),
        ):
            with self.subTest(arguments=arguments):
                self.assertNotEqual(self.criterion("-c", "2%/1mm", *arguments)[differs],
                                    base[differs])
        fast = self.criterion("-c", "2%/1mm", "--pass-rate-only")
        self.assertEqual((fast["passed"], fast["mean"]), (base["passed"], None))
        local = self.criterion("--dd", "2", "--dta", "1", "--local")
        self.assertEqual((local["label"], local["local"]), ("2%L/1mm", True))
        self.assertLess(local["passed"], base["passed"])

    def test_criteria_do_not_disturb_one_another(self):
        labels = ["3%/2mm", "2%L/1mm", "1%/3mm"]
        arguments = [word for label in labels for word in ("-c", label)]
        together = self.results(self.reference, self.evaluation, *arguments)["criteria"]
        for criterion in together:
            alone = self.criterion("-c", criterion["label"])
            for timed in (alone, criterion):
                del timed["seconds"]
            self.assertEqual(criterion, alone)

    def test_threads_do_not_matter(self):
        results = [self.criterion("-c", "2%/1mm", "--threads", n) for n in (1, 2, 5)]
        for result in results:
            del result["seconds"]
        self.assertEqual(results[0], results[1])
        self.assertEqual(results[0], results[2])

    def test_library_reports(self):
        quiet = self.compare("--verbose", "0").stdout
        self.assertNotIn("Num tested", quiet)
        told = self.compare("--verbose", "5").stdout
        passed = re.search(r"Num passed voxels: (\d+)", told).group(1)
        self.assertIn(f"passed      {passed}\n", told)

    def test_table_of_several(self):
        lines = self.compare("-c", "3%/2mm", "-c", "1%/1mm").stdout.splitlines()
        header = next(i for i, line in enumerate(lines) if line.startswith("criterion"))
        for name in ("tested", "failed", "pass rate", "mean", "P95", "P99", "max", "seconds"):
            self.assertIn(name, lines[header])
        self.assertTrue(lines[header + 1].startswith("3%/2mm "))
        self.assertTrue(lines[header + 2].startswith("1%/1mm "))


class SlowPair(ProgramTest):
    """Doses without a common value: the search goes on until it is stopped."""

    def setUp(self):
        super().setUp()
        size = (60, 60, 60)
        low, high = (doses.Dose(numpy.full(size, dose, numpy.float32), (2.0, 2.0, 2.0))
                     for dose in (1.0, 50.0))
        low.values[0, 0, 0] = 1.5
        reference = doses.write_nrrd(self.folder / "a.nrrd", low)
        evaluation = doses.write_nrrd(self.folder / "b.nrrd", high)
        self.command = [
            PROGRAM, "compare", str(reference), str(evaluation), "-c", "1%/1mm", "--max-gamma",
            "1000", "--step", "0.02", "--json", str(self.folder / "out.json"),
            "--gamma-map", str(self.folder / "out.nii.gz"),
        ]

    def wait_until_writing(self):
        deadline = time.monotonic() + 30
        while len(self.files()) < 4 and time.monotonic() < deadline:
            time.sleep(0.02)
        self.assertEqual(len(self.files()), 4, "two inputs and two files being written")


class Interruption(SlowPair):
    def test_leaves_nothing(self):
        for number in (signal.SIGINT, signal.SIGQUIT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number.name):
                process = subprocess.Popen(self.command, stdout=subprocess.DEVNULL,
                                           stderr=subprocess.PIPE)
                self.wait_until_writing()
                start = time.monotonic()
                process.send_signal(number)
                _, errors = process.communicate(timeout=30)
                self.assertLess(time.monotonic() - start, 5, "the search would go on for hours")
                self.assertEqual((process.returncode, errors), (-number, b""))
                self.assertEqual(self.files(), ["a.nrrd", "b.nrrd"])

    def test_leaves_nothing_however_early(self):
        process = subprocess.run(self.command, capture_output=True, timeout=30, check=False, env={
            **os.environ, "LD_PRELOAD": os.environ["SIGNAL_ON_CREATION"],
            "ASAN_OPTIONS": "verify_asan_link_order=0"})
        self.assertEqual((process.returncode, process.stderr), (-signal.SIGINT, b""))
        self.assertEqual(self.files(), ["a.nrrd", "b.nrrd"])

    def test_keeps_older_results(self):
        older = self.folder / "out.json"
        older.write_text("older")
        process = subprocess.Popen(self.command, stdout=subprocess.DEVNULL)
        deadline = time.monotonic() + 30
        while len(self.files()) < 5 and time.monotonic() < deadline:
            time.sleep(0.02)
        process.send_signal(signal.SIGINT)
        process.wait(timeout=30)
        self.assertEqual(older.read_text(), "older")
        self.assertEqual(self.files(), ["a.nrrd", "b.nrrd", "out.json"])


class ProgressLine(SlowPair):
    def run_on_terminal(self, expected):
        """What the program writes to a terminal on standard error until the expected is there."""
        controller, terminal = pty.openpty()
        process = subprocess.Popen(self.command, stdout=subprocess.PIPE, stderr=terminal,
                                   env={**os.environ, "TERM": "xterm"})
        os.close(terminal)
        shown = ""
        deadline = time.monotonic() + 60
        while not re.search(expected, shown) and time.monotonic() < deadline:
            if select.select([controller], [], [], 1)[0]:
                shown += os.read(controller, 1 << 16).decode()
        process.send_signal(signal.SIGINT)
        output, _ = process.communicate(timeout=30)
        os.close(controller)
        return shown, output.decode()

    def test_shown_on_a_terminal_only(self):
        line = r"\r1%/1mm \[[#.]{24}\] shell \d+ of at most 1000, \d+ s"
        shown, output = self.run_on_terminal(line)
        self.assertRegex(shown, line)
        self.assertNotIn("searching", output)
        piped = subprocess.Popen(self.command, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.wait_until_writing()
        time.sleep(1)
        piped.send_signal(signal.SIGINT)
        self.assertEqual(piped.communicate(timeout=30)[1], b"")


class Unwritable(Pair):
    def test_found_before_the_computation(self):
        (self.folder / "taken.json").mkdir()
        for option, name in (
            ("--json", "absent/r.json"),
            ("--csv", "a.nrrd/r.csv"),
            ("--gamma-map", "absent/r.mha"),
            ("--json", "taken.json"),
        ):
            with self.subTest(name):
                result = self.compare(option, self.folder / name)
                self.assert_refused(result, BAD_INPUT, name, "cannot be written")
                self.assertEqual(result.stdout, "")

    def test_standard_output(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            result = subprocess.run([PROGRAM, "info", self.reference], stdout=full,
                                    stderr=subprocess.PIPE, text=True, check=False)
        self.assertEqual((result.returncode, result.stderr),
                         (BAD_INPUT, "zarngi: standard output cannot be written\n"))

    def test_closed_pipe(self):
        reader, writer = os.pipe()
        os.close(reader)
        process = subprocess.run(
            [PROGRAM, "compare", self.reference, self.evaluation, "--json", self.folder / "r.json"],
            stdout=writer, stderr=subprocess.PIPE, check=False)
        os.close(writer)
        self.assertEqual((process.returncode, process.stderr), (-signal.SIGPIPE, b""))
        self.assertEqual(self.files(), ["a.nrrd", "b.nrrd"])


if __name__ == "__main__":
    unittest.main()
