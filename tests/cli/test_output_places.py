"""Outputs that are no plain names: devices, pipes, links, names of files that are in use."""

import fcntl
import os
import re
import select
import signal
import stat
import subprocess
import threading
import unittest

import doses
from support import PROGRAM, ProgramTest, run

OPTIONS = {
    "--gamma-map": ("g.mha", "g.nrrd", "g.nii", "g.nii.gz"),
    "--json": ("r.json",),
    "--csv": ("r.csv",),
    "--report": ("r.html",),
}
BAD_INPUT, WRONG_USAGE = 1, 2
TWO = ("-c", "3%/2mm", "-c", "1%/1mm")
# What differs between two runs: times and the command, and the last columns of a table.
VOLATILE = re.compile(rb'"(created|command|file)": ?"[^"]*"|"\w*[sS]econds": ?[^,}\s]*|,[^,\n]*,(pass|investigate|fail),\d+,\d+,',
                      re.MULTILINE)  # fmt: skip


class PlaceTest(ProgramTest):
    def setUp(self):
        super().setUp()
        reference, evaluation = doses.pair()
        self.inputs = [doses.write_nrrd(self.folder / "a.nrrd", reference),
                       doses.write_nrrd(self.folder / "b.nrrd", evaluation)]
        # Relative names and temporary files are those of a folder that can be looked at.
        self.place = self.folder / "place"
        self.place.mkdir()
        self.surroundings = {"cwd": self.place}
        self.whole = {}  # contents of a plain file for each option and name

    def compare(self, *arguments, **options):
        return run("compare", *self.inputs, *arguments, **{**self.surroundings, **options})

    def start(self, *arguments, **streams):
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams}
        process = subprocess.Popen([PROGRAM, "compare", *self.inputs, *map(str, arguments)],
                                   **self.surroundings, **streams)
        self.addCleanup(process.__exit__, None, None, None)  # closes its pipes
        self.addCleanup(process.kill)
        return process

    def outputs(self):
        """Option and name of every kind of output that this build has."""
        for option, names in OPTIONS.items():
            for name in names:
                path = self.folder / name
                result = self.compare(option, path)
                if "no report page" not in result.stderr:
                    self.assertEqual(result.returncode, 0, result.stderr)
                    self.whole[option, name] = VOLATILE.sub(b"", path.read_bytes())
                    path.unlink()
                    yield option, name

    def assert_whole(self, option, name, contents):
        self.assertEqual(VOLATILE.sub(b"", contents), self.whole[option, name])

    def placed(self):
        return sorted(path.name for path in self.place.iterdir())

    def assert_failed(self, process, *texts):
        """The last line tells why, whatever table went there before."""
        _, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, BAD_INPUT, errors)
        for text in ("zarngi: ", *texts):
            self.assertIn(text, errors.decode().splitlines()[-1])


class Pipes(PlaceTest):
    def pipe(self, name):
        path = self.place / name
        os.mkfifo(path)
        return path

    def read(self, pipe, *arguments):
        """What a reader finds in the pipe, while the program runs."""
        contents = []
        reader = threading.Thread(target=lambda: contents.append(pipe.read_bytes()), daemon=True)
        reader.start()
        result = self.compare(*arguments)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertTrue(stat.S_ISFIFO(pipe.lstat().st_mode))
        reader.join(timeout=30)
        return contents[0]

    def test_is_written_through(self):
        for option, name in self.outputs():
            pipe, link = self.pipe(name), self.place / f"link-{name}"
            link.symlink_to(name)
            for given in (pipe, link):
                with self.subTest(option, name=given.name):
                    self.assert_whole(option, name, self.read(pipe, option, given))
                    self.assertEqual(self.placed(), sorted([link.name, name]))
            link.unlink()
            pipe.unlink()

    def test_waits_for_a_reader_after_the_results(self):
        pipe = self.pipe("g.nii")
        process = self.start("--gamma-map", pipe)
        told = b""
        while b"verdict" not in told:
            self.assertTrue(select.select([process.stdout], [], [], 60)[0], told)
            told += os.read(process.stdout.fileno(), 1 << 16)
        with self.assertRaises(subprocess.TimeoutExpired):
            process.wait(timeout=0.5)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=30), -signal.SIGINT)
        self.assertTrue(stat.S_ISFIFO(pipe.lstat().st_mode))
        self.assertEqual(self.placed(), ["g.nii"])

    def test_reader_goes_away(self):
        for option, name in (("--gamma-map", "g.nii"), ("--json", "r.json")):
            with self.subTest(option):
                pipe = self.pipe(name)
                reader = os.open(pipe, os.O_RDONLY | os.O_NONBLOCK)
                fcntl.fcntl(reader, fcntl.F_SETPIPE_SZ, 4096)  # less than there is to write
                process = self.start(option, pipe, *(word for dd in range(1, 9)
                                                     for word in ("-c", f"{dd}%/2mm")
                                                     if option == "--json"))
                self.assertTrue(select.select([reader], [], [], 60)[0])
                os.close(reader)
                self.assert_failed(process, str(pipe), "cannot be written: Broken pipe")
                self.assertEqual(self.placed(), [name])
                pipe.unlink()


class StandardOutput(PlaceTest):
    def test_has_the_document_alone(self):
        for option, name in self.outputs():
            if option == "--gamma-map":
                (self.place / name).symlink_to("/dev/stdout")
            for given in ("-", "/dev/stdout") if option != "--gamma-map" else (name,):
                with self.subTest(option, name=given):
                    output, errors = self.start(option, given, "--verbose", "5").communicate()
                    self.assert_whole(option, name, output)
                    for text in (b"Num tested", b"pass rate", b"verdict"):
                        self.assertIn(text, errors)

    def test_is_a_file(self):
        for option, name in self.outputs():
            if option != "--gamma-map":
                with self.subTest(option), open(self.place / "out", "wb") as out:
                    out.write(b"before ")
                    out.flush()
                    self.start(option, "/dev/stdout", stdout=out).communicate()
                    contents = (self.place / "out").read_bytes()
                    self.assertEqual(contents[:7], b"before ")
                    self.assert_whole(option, name, contents[7:])
                    self.assertEqual(self.placed(), ["out"])

    def test_another_descriptor(self):
        """As a shell names a process that reads: standard output stays what it is."""
        for option, name in self.outputs():
            if option in ("--json", "--csv"):
                reader, writer = os.pipe()
                with self.subTest(option), open(reader, "rb") as pipe:
                    result = self.compare(option, f"/dev/fd/{writer}", pass_fds=[writer])
                    os.close(writer)
                    self.assertEqual((result.returncode, result.stderr), (0, ""))
                    self.assertIn("verdict", result.stdout)
                    self.assert_whole(option, name, pipe.read())

    def test_cannot_be_written(self):
        reader, broken = os.pipe()
        os.close(reader)
        with open("/dev/full", "wb") as full, open(os.devnull, "rb") as readable:
            for stream, reason in ((full, "No space left"), (broken, "Broken pipe"),
                                   (readable, "Bad file descriptor")):
                with self.subTest(reason):
                    self.assert_failed(self.start("--json", "-", stdout=stream),
                                       "standard output: cannot be written: " + reason)
        os.close(broken)

    def test_refused(self):
        for reason, arguments in (
            ("two outputs", ("--json", "-", "--csv", "-")),
            ("two outputs", ("--json", "-", "--csv", "/dev/stdout")),
            (".nii.gz", ("--gamma-map", "-")),
        ):
            with self.subTest(arguments=arguments):
                result = self.compare(*arguments)
                self.assert_refused(result, WRONG_USAGE, reason)
                self.assertEqual((result.stdout, self.placed()), ("", []))


class Devices(PlaceTest):
    def device(self, name, minor):
        path = self.place / name
        try:
            os.mknod(path, stat.S_IFCHR | 0o666, os.makedev(1, minor))
            with open(path, "wb"):
                return path
        except PermissionError:
            self.skipTest("no device can be made here")

    def test_swallows_everything(self):
        null = self.device("null.nii", 3)
        result = self.compare("--json", null, "--csv", null, "--gamma-map", null)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertTrue(stat.S_ISCHR(null.lstat().st_mode))
        self.assertEqual(self.placed(), ["null.nii"])

    def test_full(self):
        full = self.device("full.nii", 7)
        for option in ("--json", "--gamma-map"):
            with self.subTest(option):
                self.assert_refused(self.compare(option, full), BAD_INPUT,
                                    "full.nii: cannot be written: No space left on device")
                self.assertTrue(stat.S_ISCHR(full.lstat().st_mode))
                self.assertEqual(self.placed(), ["full.nii"])


class Links(PlaceTest):
    def test_stay_links(self):
        outputs = list(self.outputs())
        for kind, chain in (
            ("relative", {"link": "there/file"}),
            ("absolute", {"link": self.place / "there/file"}),
            ("chain", {"link": "there/second", "there/second": "../there/file"}),
            ("to a linked folder", {"link": "other/file", "other": "there"}),
        ):
            for option, name in outputs:
                for older in ("older", None):
                    with self.subTest(kind, option=option, older=older):
                        self.check(chain, option, name, older)

    def check(self, chain, option, name, older):
        there = self.place / "there"
        there.mkdir()
        if older:
            (there / "file").write_text(older)
        links = {self.place / (name if link == "link" else link): str(target)
                 for link, target in chain.items()}
        for link, target in links.items():
            link.symlink_to(target)
        result = self.compare(option, name)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual({link: os.readlink(link) for link in links}, links)
        self.assertFalse((there / "file").is_symlink())
        self.assert_whole(option, name, (there / "file").read_bytes())
        (there / "file").unlink()
        for link in links:
            link.unlink()
        there.rmdir()
        self.assertEqual(self.placed(), [], "and nothing else is there")

    def test_refused(self):
        (self.place / "one").symlink_to("two")
        (self.place / "two").symlink_to("one")
        (self.place / "folder").symlink_to(".")
        (self.place / "nowhere").symlink_to("absent/file")
        for name, reason in (("one", "Too many levels of symbolic links"),
                             ("folder", "is a folder"),
                             ("nowhere", "No such file or directory")):
            with self.subTest(name):
                result = self.compare("--json", name)
                self.assert_refused(result, BAD_INPUT, f"{name}: cannot be written: {reason}")
                self.assertEqual(result.stdout, "")
        self.assertEqual(self.placed(), ["folder", "nowhere", "one", "two"])


class OneFile(PlaceTest):
    """No output takes the place of an input or of another output, whatever their names."""

    def setUp(self):
        super().setUp()
        dose, _ = doses.pair()
        header = doses.write_mhd(self.place / "v.mhd", dose)
        detached = self.place / "w.nhdr"
        values = self.place / "w.raw"
        values.write_bytes(dose.values.astype("<f4").tobytes())
        detached.write_bytes(doses.nrrd_header(dose).rstrip(b"\n") + b"\ndata file: w.raw\n\n")
        whole = doses.write_mha(self.place / "p-3G-2mm.mha", dose)
        os.link(whole, self.place / "hard.mha")
        os.link(values, self.place / "hard.raw")
        (self.place / "soft.mha").symlink_to(whole.name)
        (self.place / "soft.raw").symlink_to("v.raw")
        (self.place / "new").symlink_to("./later")
        (self.place / "x").write_text("x")
        os.link(self.place / "x", self.place / "y")
        (self.place / "here").symlink_to(".")
        os.mkfifo(self.place / "pipe")
        self.header, self.detached, self.whole_file = header.name, detached.name, whole.name

    def contents(self):
        return {path.name: (os.readlink(path) if path.is_symlink() else
                            path.is_file() and path.read_bytes()) for path in self.place.iterdir()}

    def test_refused(self):
        self.assertEqual(run("info", self.place / self.detached).returncode, 0)
        before = self.contents()
        for reference, reason, arguments in (
            (self.whole_file, "an input", ("--gamma-map", "hard.mha")),
            (self.whole_file, "an input", ("--gamma-map", "soft.mha")),
            (self.whole_file, "an input", ("--csv", "here/here/hard.mha")),
            ("hard.mha", "an input", ("--json", "soft.mha")),
            (self.whole_file, "an input", (*TWO, "--gamma-map", "p.mha")),
            (self.header, "an input", ("--json", "v.raw")),
            (self.header, "an input", ("--csv", "soft.raw")),
            (self.detached, "an input", ("--csv", "hard.raw")),
            (self.detached, "an input", ("--json", "here/w.raw")),
            (self.header, "two outputs", ("--json", "z", "--csv", "./z")),
            (self.header, "two outputs", ("--json", "z", "--csv", "here/z")),
            (self.header, "two outputs", ("--json", "x", "--csv", "y")),
            (self.header, "two outputs", ("--json", "later", "--csv", "new")),
            (self.header, "two outputs", ("--json", "pipe", "--csv", "pipe")),
            (self.header, "two outputs", (*TWO, "--gamma-map", "g.mha", "--json",
                                          "here/g-1G-1mm.mha")),
        ):
            with self.subTest(reference=reference, arguments=arguments):
                result = run("compare", reference, self.inputs[1], *arguments,
                             **self.surroundings)
                self.assert_refused(result, WRONG_USAGE, reason)
                self.assertEqual(result.stdout, "")
                self.assertEqual(self.contents(), before)

    def test_accepted(self):
        """The names alone are no reason."""
        result = run("compare", self.whole_file, self.inputs[1], "-c", "2%/2mm", "-c", "1%/1mm",
                     "--gamma-map", self.whole_file, "--json", "new", "--csv", "v.raw",
                     **self.surroundings)
        self.assertEqual((result.returncode, result.stderr), (0, doses.unit_notes(self.whole_file)))
        self.assertTrue({"p-3G-2mm-2G-2mm.mha", "p-3G-2mm-1G-1mm.mha", "later"} <=
                        set(self.placed()))


class Names(PlaceTest):
    def test_too_long(self):
        deep = "/".join(["d" * 99] * 50)
        for name in ("n" * 300, "n" * 300 + "/r", deep, "." + "/." * 2500):
            for option, end in (("--json", ""), ("--csv", ""), ("--gamma-map", ".mha"),
                                ("--gamma-map", ".nii.gz")):
                with self.subTest(option, length=len(name)):
                    result = self.compare(option, name + end)
                    self.assert_refused(result, BAD_INPUT,
                                        name + end + ": cannot be written: File name too long")
                    self.assertEqual((result.stdout, self.placed()), ("", []))
            with self.subTest("demo", length=len(name)):
                self.assert_refused(run("demo", name, cwd=self.place), BAD_INPUT,
                                    "File name too long")

    def test_of_several_gamma_maps(self):
        result = self.compare(*TWO, "--gamma-map", "n" * 250 + ".mha")
        self.assert_refused(result, BAD_INPUT, "File name too long")
        self.assertEqual((result.stdout, self.placed()), ("", []))

    def test_longest(self):
        for option, end in (("--json", ""), ("--gamma-map", ".nii.gz")):
            name = "n" * (255 - len(end)) + end
            with self.subTest(option):
                self.assertEqual(self.compare(option, name).stderr, "")
                self.assertEqual(self.placed(), [name])
                (self.place / name).unlink()

    def test_are_told_in_one_line(self):
        for name in ("one\ntwo", "one\x1b[31mtwo", "one\rtwo\x7f"):
            with self.subTest(name=name):
                shown = re.sub(r"[\x00-\x1f\x7f]", " ", name)
                self.assert_refused(self.compare("--json", f"absent/{name}/r"), BAD_INPUT,
                                    f"absent/{shown}/r: cannot be written")
                told = run("compare", self.inputs[0],
                           doses.write_nrrd(self.place / name, doses.pair()[1]))
                self.assertIn(f"evaluation  {shown.strip()} (NRRD)", told.stdout)


if __name__ == "__main__":
    unittest.main()
