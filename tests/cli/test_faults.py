"""A full disk, and many processes at once."""

import resource
import subprocess
import unittest

import doses
from support import PROGRAM, ProgramTest, run

OUTPUTS = {
    "--gamma-map": ("g.mha", "g.nrrd", "g.nii", "g.nii.gz"),
    "--json": ("r.json",),
    "--csv": ("r.csv",),
    "--report": ("r.html",),
}
IN_SMALL_FILE_SYSTEM = ("unshare", "--user", "--map-root-user", "--mount", "sh", "-c")


def small_file_systems_work():
    command = [*IN_SMALL_FILE_SYSTEM, "mount -t tmpfs -o size=4k none /tmp"]
    try:
        return subprocess.run(command, capture_output=True, check=False).returncode == 0
    except FileNotFoundError:
        return False


class FullDisk(ProgramTest):
    """What cannot be written whole does not appear, and what was there stays."""

    def setUp(self):
        super().setUp()
        reference, evaluation = doses.pair()
        self.inputs = [doses.write_nrrd(self.folder / "a.nrrd", reference),
                       doses.write_nrrd(self.folder / "b.nrrd", evaluation)]

    def outputs(self):
        """Option, file name and size of every kind of output."""
        for option, names in OUTPUTS.items():
            for name in names:
                path = self.folder / name
                result = run("compare", *self.inputs, option, path)
                if "no report page" in result.stderr:
                    continue
                self.assertEqual(result.returncode, 0, result.stderr)
                size = path.stat().st_size
                path.unlink()
                yield option, path, size
                path.unlink(missing_ok=True)

    def check_refusal(self, path, result):
        self.assert_refused(result, 1, str(path), "cannot be written")
        self.assertEqual(path.read_bytes(), b"older")
        self.assertEqual(self.files(), sorted(["a.nrrd", "b.nrrd", path.name]))

    def test_wherever_it_fills_up(self):
        for option, path, size in self.outputs():
            for room in (0, 1, size // 2, size * 9 // 10):
                with self.subTest(path.name, room=room):
                    path.write_text("older")
                    limit = (room, room)
                    result = run("compare", *self.inputs, option, path, preexec_fn=lambda: (
                        resource.setrlimit(resource.RLIMIT_FSIZE, limit)))
                    self.check_refusal(path, result)

    @unittest.skipUnless(small_file_systems_work(), "no file system can be mounted here")
    def test_small_file_system(self):
        room = self.folder / "room"
        room.mkdir()
        for option, path, size in self.outputs():
            # Room for half of the pages of 4 KiB, and for that of the older file.
            script = (f"mount -t tmpfs -o size={size // 8192 * 4 + 4}k none '{room}' && "
                      f"echo older >'{room}/{path.name}' && "
                      f"'{PROGRAM}' compare '{self.inputs[0]}' '{self.inputs[1]}' "
                      f"{option} '{room}/{path.name}' >/dev/null; "
                      f"echo \"$? $(ls -A '{room}') $(head -c 9 '{room}/{path.name}')\"")
            with self.subTest(path.name):
                result = subprocess.run([*IN_SMALL_FILE_SYSTEM, script], capture_output=True,
                                        text=True, check=False)
                self.assertEqual(result.stdout, f"1 {path.name} older\n")
                self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
                self.assertIn("cannot be written", result.stderr)


class ManyProcesses(ProgramTest):
    def test_all_at_once(self):
        """More processes than processors, each with threads of its own: the same results."""
        reference, evaluation = doses.pair()
        inputs = [doses.write_nrrd(self.folder / "a.nrrd", reference),
                  doses.write_dicom(self.folder / "b.dcm", evaluation)]
        options = ["-c", "2%/1mm", "--threads", "3", "--gamma-map"]
        expected = self.folder / "alone.nrrd"
        self.assertEqual(run("compare", *inputs, *options, expected).returncode, 0)
        maps = [self.folder / f"{number}.nrrd" for number in range(24)]
        processes = [
            subprocess.Popen([PROGRAM, "compare", *inputs, *options, path], text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            for path in maps
        ]
        for process, path in zip(processes, maps):
            _, errors = process.communicate(timeout=120)
            self.assertEqual((process.returncode, errors), (0, ""))
            self.assertEqual(path.read_bytes(), expected.read_bytes())
        self.assertEqual(len(self.files()), 2 + 1 + len(maps))


if __name__ == "__main__":
    unittest.main()
