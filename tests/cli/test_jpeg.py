"""Pixel data of the JPEG families: unpacked by a program apart, whatever becomes of that."""

import json
import shutil
import subprocess
import unittest

import numpy
import pydicom
from pydicom.encaps import encapsulate
from pydicom.uid import JPEGLSLossless

import doses
from support import PROGRAM, ProgramTest, run

GDCMCONV = shutil.which("gdcmconv")


class RealDecoder(ProgramTest):
    @unittest.skipUnless(GDCMCONV, "gdcmconv (package libgdcm-tools) is not here")
    def test_every_family(self):
        plain = doses.write_dicom(self.folder / "plain.dcm", doses.blob())
        expected = json.loads(run("info", "--json", plain).stdout)
        for name, option in (("jpeg", "--jpeg"), ("jpeg-ls", "--jpegls"), ("jpeg-2000", "--j2k")):
            with self.subTest(name):
                packed = self.folder / f"{name}.dcm"
                subprocess.run([GDCMCONV, option, plain, packed], check=True, timeout=60)
                syntax = pydicom.dcmread(packed, stop_before_pixels=True).file_meta
                self.assertTrue(syntax.TransferSyntaxUID.is_compressed)
                result = run("info", "--json", packed)
                self.assertEqual(result.returncode, 0, result.stderr)
                told = json.loads(result.stdout)
                for member in ("grid", "dosesSha256"):
                    self.assertEqual(told[member], expected[member])

    @unittest.skipUnless(GDCMCONV, "gdcmconv (package libgdcm-tools) is not here")
    def test_damaged_data(self):
        plain = doses.write_dicom(self.folder / "plain.dcm", doses.blob())
        packed = self.folder / "packed.dcm"
        subprocess.run([GDCMCONV, "--j2k", plain, packed], check=True, timeout=60)
        contents = packed.read_bytes()
        start = contents.index(b"\xff\x4f\xff\x51")  # of the first frame's stream
        packed.write_bytes(contents[: start + 8] + b"\xff" * 40 + contents[start + 48 :])
        self.assert_refused(run("info", packed), 1, "cannot be unpacked")


class AnyDecoder(ProgramTest):
    """The program beside a decoder of the test's own."""

    def setUp(self):
        super().setUp()
        self.bin = self.folder / "bin"
        self.bin.mkdir()
        shutil.copy(PROGRAM, self.bin / "zarngi")
        data = pydicom.dcmread(doses.write_dicom(self.folder / "dose.dcm", doses.blob()))
        self.values = data.PixelData
        data.file_meta.TransferSyntaxUID = JPEGLSLossless
        data.PixelData = encapsulate([b"packed"] * int(data.NumberOfFrames))
        data["PixelData"].is_undefined_length = True
        data.save_as(self.folder / "dose.dcm")

    def info(self, decoder):
        if decoder is not None:
            program = self.bin / "zarngi-jpeg"
            program.write_text("#!/bin/sh\n" + decoder)
            program.chmod(0o755)
        return subprocess.run([self.bin / "zarngi", "info", "--json", self.folder / "dose.dcm"],
                              capture_output=True, text=True, timeout=60, check=False)

    def test_gives_the_values(self):
        (self.folder / "values").write_bytes(self.values)
        result = self.info(f"cat {self.folder}/values\n")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertAlmostEqual(json.loads(result.stdout)["grid"]["maximum"]["dose"],
                               float(numpy.max(doses.blob().values)), places=6)

    def test_gets_the_file(self):
        self.info(f"cat >{self.folder}/seen\n")
        self.assertEqual((self.folder / "seen").read_bytes(),
                         (self.folder / "dose.dcm").read_bytes())

    def test_fails(self):
        count = len(self.values)
        for reason, decoder in (
            ("cannot be unpacked", "exit 1\n"),
            ("cannot be unpacked", f"head -c {count - 1} /dev/zero\n"),
            ("cannot be unpacked", f"head -c {count + 1} /dev/zero\n"),
            ("cannot be unpacked", "cat /dev/zero\n"),
            ("cannot be unpacked", "kill -SEGV $$\n"),
            ("cannot be unpacked", f"head -c {count} /dev/zero; exit 1\n"),
            ("does not end", "kill -ALRM $$\n"),
        ):
            with self.subTest(decoder):
                self.assert_refused(self.info(decoder), 1, "dose.dcm: ", reason)

    def test_is_not_there(self):
        self.assert_refused(self.info(None), 1, "dose.dcm: ", "zarngi-jpeg, is not there")


if __name__ == "__main__":
    unittest.main()
