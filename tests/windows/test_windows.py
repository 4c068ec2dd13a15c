"""The program for Windows, under Wine: what it writes is what the one built here writes."""

import csv
import json
import os
import re
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

import pydicom
from pydicom.encaps import encapsulate
from pydicom.uid import JPEGLSLossless

import doses
from support import DATA, ProgramTest
from test_real_data import ROWS

WINDOWS = os.environ["ZARNGI_WINDOWS"]
ON_SSE2_ALONE = os.environ["ZARNGI_WINDOWS_SSE2"]
HERE = os.environ["ZARNGI"]
FOLDER = Path(os.environ["ZARNGI_WINDOWS_FOLDER"])
SETUP = FOLDER.parent / f"{FOLDER.name}-setup.exe"
#: Of the data table, all of them unless fewer are asked for.
MEASURED = ROWS[: int(os.environ.get("ZARNGI_WINDOWS_ROWS", len(ROWS)))]
#: Members that tell when, where and by which words a record was made.
OF_THE_RUN = ("created", "command", "seconds", "timings", "path", "threads")

#: Options of comparisons whose records have to be equal.
COMPARISONS = (
    ["-c", "3%/2mm"],
    ["-c", "2%/1mm", "-c", "3%L/2mm", "--dco", "5"],
    ["-c", "2%/2mm", "--nearest"],
    ["-c", "2%/2mm", "--pass-rate-only"],
    ["-c", "3%/2mm", "--explain"],
    ["-c", "2%/1mm", "--structures", "structures.dcm", "--structure", "P*", "--dvh", "D95,V50%"],
)


def run(program, *arguments, text=False, **options):
    return subprocess.run(
        [program, *map(str, arguments)],
        capture_output=True, text=text, timeout=300, check=False, **options,
    )


def without_the_run(value):
    """A document without what differs from run to run, and with slashes of one kind."""
    if isinstance(value, dict):
        return {name: without_the_run(part) for name, part in value.items() if name not in OF_THE_RUN}
    if isinstance(value, str):
        return value.replace("\\", "/")
    return [without_the_run(part) for part in value] if isinstance(value, list) else value


def rows_without_the_run(path):
    with path.open(newline="") as file:
        return [without_the_run(row) for row in csv.DictReader(file)]


def without_times(output):
    """A table without what tells how long it took: a line, or the column of seconds."""
    lines, seconds = [], slice(0, 0)
    for line in output.splitlines():
        if b" seconds " in line:
            seconds = slice(line.index(b"seconds"), line.index(b"seconds") + len("seconds"))
        elif not line:
            seconds = slice(0, 0)
        if not line.startswith(b"time "):
            lines.append(line[: seconds.start] + line[seconds.stop :])
    return lines


def on_drive(path):
    """A path of this system as a Windows program calls it."""
    return "Z:" + str(path).replace("/", "\\")


class BitsTest(ProgramTest):
    def both(self, *arguments, windows=WINDOWS, **options):
        """Standard output and written files of both programs, in folders of their own."""
        results = []
        for name, program in (("here", HERE), ("there", windows)):
            folder = self.folder / name
            folder.mkdir(exist_ok=True)
            result = run(program, *arguments, cwd=folder, **options)
            results.append((result, folder))
        (here, _), (there, _) = results
        self.assertEqual(there.returncode, here.returncode, there.stderr)
        return results

    def assert_same_files(self, here, there):
        names = sorted(path.name for path in here.iterdir())
        self.assertEqual(sorted(path.name for path in there.iterdir()), names)
        for name in names:
            mine, other = (folder / name for folder in (here, there))
            if name.endswith(".json"):
                self.assertEqual(without_the_run(json.loads(other.read_text())),
                                 without_the_run(json.loads(mine.read_text())), name)
            elif name.endswith(".csv"):
                self.assertEqual(rows_without_the_run(other), rows_without_the_run(mine), name)
            elif not name.endswith(".html"):  # which holds the record, and packed maps
                self.assertEqual(other.read_bytes(), mine.read_bytes(), name)

    def test_demo(self):
        (here, mine), (there, other) = self.both("demo", "d")
        self.assertEqual(without_times(there.stdout.replace(b"d\\", b"d/")), without_times(here.stdout))
        self.assert_same_files(mine / "d", other / "d")
        for arguments in COMPARISONS:
            with self.subTest(arguments=arguments):
                (here, _), (there, _) = self.both(
                    "compare", "d/reference.mha", "d/evaluation.mha",
                    *[a.replace("structures.dcm", "d/structures.dcm") for a in arguments],
                    "--json", "r.json", "--csv", "r.csv", "--gamma-map", "g.nii.gz")
                self.assertEqual(without_times(there.stdout), without_times(here.stdout))
                self.assertEqual(there.stderr, here.stderr)
                for name in ("r.json", "r.csv", "g*.nii.gz"):  # a map for each criterion
                    self.assertTrue(list(other.glob(name)), name)
                for folder in (mine, other):
                    (folder / "files").mkdir(exist_ok=True)
                    for path in folder.iterdir():
                        if path.is_file():
                            path.rename(folder / "files" / path.name)
                self.assert_same_files(mine / "files", other / "files")

    def test_the_oldest_processors(self):
        files = [doses.write_mha(self.folder / f"{name}.mha", dose) for name, dose in zip("ab", doses.pair())]
        (_, mine), (_, other) = self.both("compare", *files, "-c", "2%/1mm", "--json", "r.json",
                                          "--gamma-map", "g.nii.gz", windows=ON_SSE2_ALONE)
        self.assert_same_files(mine, other)

    @unittest.skipUnless(DATA.is_dir(), f"no measured dose distributions in {DATA}")
    def test_measured_doses(self):
        for reference, evaluation, arguments, *_ in MEASURED:
            with self.subTest(reference=reference, arguments=arguments):
                (here, mine), (there, other) = self.both(
                    "compare", DATA / reference, DATA / evaluation, *arguments,
                    "--json", "r.json", *([] if "arccheck" in reference else ["--gamma-map", "g.mha"]))
                self.assertEqual(without_times(there.stdout), without_times(here.stdout))
                self.assert_same_files(mine, other)

    def test_a_document_on_standard_output_has_its_own_line_ends(self):
        run(HERE, "demo", "d", cwd=self.folder)
        result = run(WINDOWS, "compare", "d/reference.mha", "d/evaluation.mha", "-c", "3%/2mm",
                     "--json", "-", cwd=self.folder)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertNotIn(b"\r", result.stdout + result.stderr)
        json.loads(result.stdout)
        self.assertIn(b"3%/2mm", result.stderr)


class PlacesTest(ProgramTest):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        run(HERE, "demo", "d", cwd=folder.name)
        cls.demo = Path(folder.name) / "d"

    def setUp(self):
        super().setUp()
        self.doses = self.folder / "d"
        shutil.copytree(self.demo, self.doses)

    def compare(self, reference, *outputs, **options):
        return run(WINDOWS, "compare", reference, self.doses / "evaluation.mha", "-c", "3%/2mm",
                   *outputs, text=True, cwd=self.folder, **options)

    def test_names_in_any_letters(self):
        content = (self.doses / "reference.mha").read_bytes()
        for name in ("with blank.mha", "Köpfe.mha", "Доза.mha", "剂量.mha", "a'b&c%d.mha", "long" * 50 + ".mha"):
            with self.subTest(name):
                place = self.folder / "Füße 剂" / name
                place.parent.mkdir(exist_ok=True)
                place.write_bytes(content)
                output = place.with_suffix(".json")
                result = self.compare(place, "--json", output)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertIn(name, result.stdout)
                document = json.loads(output.read_text(encoding="utf-8"))
                self.assertEqual(document["files"]["reference"]["name"], name)

    def test_paths_of_every_form(self):
        reference = self.doses / "reference.mha"
        for path in (on_drive(reference), "d\\reference.mha", ".\\d/reference.mha", reference,
                     "\\\\?\\" + on_drive(reference)):
            with self.subTest(str(path)):
                result = self.compare(path)
                self.assertEqual(result.returncode, 0, result.stderr)

    def test_a_path_longer_than_the_system_once_took(self):
        folder = self.folder
        for _ in range(6):
            folder /= "f" * 60
        folder.mkdir(parents=True)
        reference = folder / "reference.mha"
        reference.write_bytes((self.doses / "reference.mha").read_bytes())
        result = self.compare(on_drive(reference), "--json", on_drive(folder / "r.json"))
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue((folder / "r.json").exists())

    def test_wildcards_are_left_to_the_program(self):
        result = self.compare(self.doses / "reference.mha", "--structures",
                              self.doses / "structures.dcm", "--structure", "*")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("PTV", result.stdout)

    def test_an_input_is_not_overwritten_under_another_name(self):
        for name in ("D\\REFERENCE.MHA", on_drive(self.doses / "reference.mha")):
            with self.subTest(name):
                result = self.compare("d\\reference.mha", "--gamma-map", name)
                self.assert_refused(result, 2, "would overwrite an input file")

    def test_two_outputs_are_not_one_new_file(self):
        result = self.compare("d\\reference.mha", "--json", "new.json", "--csv", "NEW.JSON")
        self.assert_refused(result, 2, "is named for two outputs")

    def test_where_nothing_can_be_written(self):
        for name in ("Z:\\proc\\r.json", "missing\\r.json", "d"):
            with self.subTest(name):
                result = self.compare("d\\reference.mha", "--json", name)
                self.assert_refused(result, 1, name + ": cannot be written: ")
        self.assertEqual(self.files(), ["d"])

    def test_what_cannot_be_read(self):
        for name, reason in (("none.mha", "no such file"), ("d", "is a folder, not a dose file"),
                             ("NUL", "is a device, not a dose file")):
            with self.subTest(name):
                self.assert_refused(self.compare(name), 1, f"{name}: {reason}")

    def test_output_to_the_null_device(self):
        result = self.compare("d\\reference.mha", "--json", "NUL")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.files(), ["d"])

    def test_a_file_that_another_program_has_open(self):
        place = self.folder / "r.json"
        other = subprocess.Popen(["wine", "cmd", "/c", f"pause > {on_drive(place)}"],
                                 stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        try:
            for _ in range(100):
                if place.exists():
                    break
                time.sleep(0.1)
            result = self.compare("d\\reference.mha", "--json", "r.json")
            self.assertEqual(result.returncode, 1)
            self.assertIn("r.json: cannot be written: it is open in another program", result.stderr)
        finally:
            other.communicate(b"\n", timeout=60)
        self.assertEqual(self.files(), ["d", "r.json"])

    def test_exit_status(self):
        for arguments, status in (
            (["--fail-below", "99.9"], 3), (["--no-such-option"], 2), (["-c", "nonsense"], 2),
        ):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.compare("d\\reference.mha", *arguments).returncode, status)

    def test_the_installation_passes_its_own_test(self):
        result = run(WINDOWS, "selftest", "--json", "record.json", text=True, cwd=self.folder)
        self.assertEqual(result.returncode, 0, result.stdout)
        record = json.loads((self.folder / "record.json").read_text())
        self.assertIs(record["passed"], True)
        self.assertEqual([file["name"] for file in record["installation"]["files"]],
                         ["zarngi.exe", "libZarnGI.dll"])

    def test_no_progress_in_a_pipe(self):
        result = self.compare("d\\reference.mha")
        self.assertNotIn("\x1b", result.stderr)
        self.assertNotIn("\r", result.stdout + result.stderr)

    def test_pixels_packed_as_jpeg_are_refused_by_name(self):
        packed = doses.write_dicom(self.folder / "packed.dcm", doses.blob())
        data = pydicom.dcmread(packed)
        data.file_meta.TransferSyntaxUID = JPEGLSLossless
        data.PixelData = encapsulate([b"packed"] * int(data.NumberOfFrames))
        data["PixelData"].is_undefined_length = True
        data.save_as(packed)
        self.assert_refused(self.compare(packed), 1, "stored without compression")


class FolderTest(unittest.TestCase):
    def test_contents(self):
        names = {path.relative_to(FOLDER).as_posix() for path in FOLDER.rglob("*") if path.is_file()}
        for name in ("zarngi.exe", "libZarnGI.dll", "libZarnGIHost.dll", "README.txt",
                     "lib/libZarnGI.dll.a", "lib/libZarnGI.def", "lib/libZarnGIHost.dll.a",
                     "lib/libZarnGIHost.def", "include/zarngi/libZarnGI.h",
                     "include/zarngi/libZarnGIHost.h", "examples/c/compare_doses.c",
                     "lib/cmake/ZarnGI/ZarnGIConfig.cmake", "licences/LICENSE"):
            self.assertIn(name, names)

    def test_links_of_the_documentation_lead_somewhere(self):
        """To a page, a picture and a heading that are there."""
        pages = {path.name: path.read_text(encoding="utf-8") for path in (FOLDER / "documentation").glob("*.html")}
        self.assertIn("SYNOPSIS", pages["manual.html"])
        self.assertIn("request.html", pages)
        for name, text in pages.items():
            for target in re.findall(r'(?:href|src)="([^"]*)"', text):
                if target.startswith(("http:", "https:")):
                    continue
                path, _, place = target.partition("#")
                self.assertTrue((FOLDER / "documentation" / (path or name)).exists(), f"{name}: {target}")
                if place:
                    self.assertIn(f'id="{place}"', pages[path or name], f"{name}: {target}")

    def test_exports_are_those_of_linux(self):
        """The same list of symbols as of the shared library, whose variables stand with their size."""
        top = Path(__file__).resolve().parents[2]
        for library, listed in (("libZarnGI", "lib/abi"), ("libZarnGIHost", "files")):
            wanted = {line.split()[0] for line in
                      (top / "tests" / listed / "exported_symbols.txt").read_text().splitlines()}
            lines = (FOLDER / "lib" / f"{library}.def").read_text().splitlines()
            found = {line.split()[0] for line in lines if " @" in line}
            self.assertEqual(found, wanted)

    def test_example(self):
        """The example in C, compiled against the folder and run."""
        program = FOLDER.parent / "compare_doses.exe"
        subprocess.run(
            ["x86_64-w64-mingw32-gcc-posix", FOLDER / "examples/c/compare_doses.c",
             "-I", FOLDER / "include/zarngi", "-L", FOLDER / "lib", "-lZarnGI", "-static-libgcc",
             "-o", program],
            check=True)
        self.addCleanup(program.unlink)
        result = run("wine", program, text=True, env={**os.environ, "WINEPATH": on_drive(FOLDER)})
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("%", result.stdout)

    def test_package_for_cmake(self):
        """The example in C++, found by CMake in the folder alone."""
        with tempfile.TemporaryDirectory() as build:
            options = {
                "CMAKE_SYSTEM_NAME": "Windows", "CMAKE_CXX_COMPILER": "x86_64-w64-mingw32-g++-posix",
                "CMAKE_PREFIX_PATH": FOLDER, "CMAKE_EXE_LINKER_FLAGS": "-static",
            }
            given = [f"-D{name}={value}" for name, value in options.items()]
            for command in (["-S", FOLDER / "examples/cpp", "-B", build, *given], ["--build", build]):
                done = run("cmake", *command, text=True)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            result = run("wine", Path(build) / "compare_doses.exe", text=True,
                         env={**os.environ, "WINEPATH": on_drive(FOLDER)})
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertIn("%", result.stdout)


class InstallerTest(unittest.TestCase):
    """Installed for one user, and gone again, with a PATH longer than an installer's strings."""

    PLACE = "C:\\ZarnGI-test"
    KEY = "HKCU\\Environment"

    def wine(self, *command):
        result = run("wine", *command, text=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def set_windows(self, version, program):
        """Which Windows Wine passes for with a program."""
        key = f"HKCU\\Software\\Wine\\AppDefaults\\{program}"
        self.wine("reg", "add", key, "/v", "Version", "/d", version, "/f")
        self.addCleanup(self.wine, "reg", "delete", key, "/f")

    def test_an_old_windows_is_refused(self):
        self.set_windows("win81", SETUP.name)
        place = Path(os.environ["WINEPREFIX"]) / "drive_c" / "ZarnGI-refused"
        result = run("wine", SETUP, "/S", "/D=C:\\ZarnGI-refused")
        self.assertEqual((result.returncode, place.exists()), (2, False))

    def path(self):
        told = self.wine("reg", "query", self.KEY, "/v", "Path")
        return re.search(r"Path\s+(REG_\w+)\s+(.*)", told).groups()

    def test_installer(self):
        long = ";".join(f"%USERPROFILE%\\folder {i:03} of a program" for i in range(90))
        self.assertGreater(len(long), 3000)
        self.wine("reg", "add", self.KEY, "/v", "Path", "/t", "REG_EXPAND_SZ", "/d", long, "/f")
        there = Path(os.environ["WINEPREFIX"]) / "drive_c" / "ZarnGI-test"
        shutil.rmtree(there, ignore_errors=True)  # a person's file stays from a run before
        self.wine(SETUP, "/S", f"/D={self.PLACE}")
        files = {path.relative_to(FOLDER) for path in FOLDER.rglob("*") if path.is_file()}
        own = {Path("uninstall.exe"), Path("zarngi-path.exe")}
        self.assertEqual({path.relative_to(there) for path in there.rglob("*") if path.is_file()}, files | own)
        for name in files:
            self.assertEqual((there / name).read_bytes(), (FOLDER / name).read_bytes(), name)
        self.assertEqual(self.path(), ("REG_EXPAND_SZ", f"{long};{self.PLACE}"))
        self.wine(f"{self.PLACE}\\zarngi-path.exe", "add", self.PLACE.lower() + "\\")
        self.assertEqual(self.path()[1], f"{long};{self.PLACE}", "it stands there once")
        self.assertIn("zarngi", self.wine(f"{self.PLACE}\\zarngi.exe", "--version"))
        shortcuts = Path(os.environ["WINEPREFIX"]).rglob("Start Menu/Programs/ZarnGI/*.lnk")
        self.assertTrue(list(shortcuts))

        (there / "mine.txt").write_text("a person's")
        self.wine(f"{self.PLACE}\\uninstall.exe", "/S", f"_?={self.PLACE}")
        self.assertEqual(self.path(), ("REG_EXPAND_SZ", long))
        left = {path.name for path in there.rglob("*")}
        self.assertLessEqual(left, {"mine.txt", "uninstall.exe"})  # which runs, and cannot remove itself
        self.assertIn("mine.txt", left)
        self.assertNotEqual(run("wine", "reg", "query", "HKCU\\Software\\ZarnGI").returncode, 0)


if __name__ == "__main__":
    unittest.main()
