"""What a comparison writes, read back by other libraries."""

import base64
import csv
import hashlib
import json
import math
import re
import subprocess
import unittest
import zlib

import nibabel
import numpy
import pydicom

import doses
from support import PROGRAM, ProgramTest, run

CRITERIA = ("-c", "3%/2mm", "-c", "1%L/1mm")


def read_raw(path):
    """Header and values of a MetaImage or NRRD file as the program writes them."""
    header, data = path.read_bytes(), b""
    end = {".mha": b"ElementDataFile = LOCAL\n", ".nrrd": b"\n\n"}[path.suffix]
    start = header.index(end) + len(end)
    header, data = header[:start].decode(), header[start:]
    return header, numpy.frombuffer(zlib.decompress(data, 15 + 32), "<f4")


class Outputs(ProgramTest):
    def setUp(self):
        super().setUp()
        self.dose, self.other = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", self.dose)
        self.evaluation = doses.write_dicom(self.folder / "b.dcm", self.other)

    def write(self, *arguments):
        result = run("compare", self.reference, self.evaluation, *arguments)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def gamma(self, name="gamma.nii", *arguments):
        self.write("--gamma-map", self.folder / name, *arguments)
        return numpy.asarray(nibabel.load(self.folder / name).dataobj).transpose(2, 1, 0)

    def test_gamma_map_agrees_with_the_results(self):
        document = self.results(self.reference, self.evaluation, "-c", "1%/1mm")
        (criterion,) = document["criteria"]
        gamma = self.gamma("gamma.nii", "-c", "1%/1mm")
        tested = gamma[gamma >= 0].astype(float)
        cut_off = numpy.float32(criterion["cutoffDose"])
        numpy.testing.assert_array_equal(gamma < 0, ~(self.dose.values > cut_off))
        self.assertTrue((gamma[gamma < 0] == -1).all())
        self.assertEqual(criterion["tested"], tested.size)
        self.assertEqual(criterion["passed"], (tested <= 1).sum())
        self.assertEqual(criterion["failed"], criterion["tested"] - criterion["passed"])
        self.assertAlmostEqual(criterion["passRate"], 100 * (tested <= 1).mean(), places=4)
        for name, value in (
            ("min", tested.min()),
            ("mean", tested.mean()),
            ("p95", numpy.percentile(tested, 95)),
            ("p99", numpy.percentile(tested, 99)),
            ("max", tested.max()),
        ):
            self.assertAlmostEqual(criterion[name], value, places=9, msg=name)

    def test_failed_voxels_have_more_dose_or_less(self):
        document = self.results(self.reference, self.evaluation, "-c", "1%/1mm")
        (criterion,) = document["criteria"]
        gamma = self.gamma("gamma.nii", "-c", "1%/1mm")
        difference = (self.other.values - self.dose.values)[gamma > 1]
        self.assertEqual(criterion["hot"], numpy.count_nonzero(difference > 0))
        self.assertEqual(criterion["cold"], numpy.count_nonzero(difference < 0))
        self.assertGreater(min(criterion["hot"], criterion["cold"]), 0)

    def test_histogram(self):
        document = self.results(self.reference, self.evaluation, "-c", "1%/1mm")
        (criterion,) = document["criteria"]
        gamma = self.gamma("gamma.nii", "-c", "1%/1mm")
        width, counts = criterion["histogram"]["binWidth"], criterion["histogram"]["counts"]
        self.assertEqual((width, len(counts)), (0.05, 60))
        bins = numpy.clip(numpy.ceil(gamma[gamma >= 0].astype(float) * 20) - 1, 0, 59)
        self.assertEqual(counts, numpy.bincount(bins.astype(int), minlength=60).tolist())
        self.assertEqual(sum(counts[:20]), criterion["passed"])
        self.assertEqual(sum(counts), criterion["tested"])

    def test_gamma_map_formats(self):
        expected = self.gamma("gamma.nii")
        image = nibabel.load(self.folder / "gamma.nii")
        corner = image.affine @ (0, 0, 0, 1)
        numpy.testing.assert_allclose(corner[:3], numpy.array(self.dose.origin) * (-1, -1, 1))
        numpy.testing.assert_allclose(image.header.get_zooms(), self.dose.spacing)
        numpy.testing.assert_array_equal(self.gamma("gamma.nii.gz"), expected)
        for name in ("gamma.mha", "gamma.nrrd"):
            self.write("--gamma-map", self.folder / name)
            header, values = read_raw(self.folder / name)
            numpy.testing.assert_array_equal(values, expected.ravel())
            self.assertRegex(header, r"(DimSize = 18 15 12|sizes: 18 15 12)")
            self.assertRegex(header, r"(Offset = -20 -15 8|space origin: \(-20,-15,8\))")
        self.assertEqual((self.folder / "gamma.nrrd").stat().st_mode & 0o777, 0o644)

    def test_gamma_maps_can_be_read_again(self):
        for name in ("gamma.nii", "gamma.nii.gz", "gamma.mha", "gamma.nrrd"):
            self.write("--gamma-map", self.folder / name)
            told = run("info", self.folder / name)
            self.assertEqual((told.returncode, told.stderr), (0, ""))
            self.assertIn("first voxel centre  -20, -15, 8 mm", told.stdout)
            self.assertIn("minimum             -1 Gy", told.stdout)

    def test_gamma_maps_of_several_criteria(self):
        self.write(*CRITERIA, "--gamma-map", self.folder / "g.nii.gz")
        self.assertEqual(self.files(),
                         ["a.nrrd", "b.dcm", "g-1L-1mm.nii.gz", "g-3G-2mm.nii.gz"])

    def test_json(self):
        document = self.results(self.reference, self.evaluation, *CRITERIA, "--identify")
        self.assertEqual(document["program"], {"name": "zarngi", "version": "4.10.0"})
        self.assertRegex(document["created"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertIn("compare", document["command"])
        for name, path in (("reference", self.reference), ("evaluation", self.evaluation)):
            contents = path.read_bytes()
            file = document["files"][name]
            self.assertEqual(file["path"], str(path))
            self.assertEqual(file["bytes"], len(contents))
            self.assertEqual(file["sha256"], hashlib.sha256(contents).hexdigest())
        self.assertEqual([c["label"] for c in document["criteria"]], ["3%/2mm", "1%L/1mm"])
        self.assertEqual(document["files"]["evaluation"]["description"], "PLAN, PHYSICAL")
        self.assertGreater(document["timings"]["searchSeconds"], 0)
        maximum = float(self.dose.values.max())
        for criterion in document["criteria"]:
            self.assertEqual(criterion["normalisationDose"], maximum)
            self.assertAlmostEqual(criterion["cutoffDose"], maximum / 10)

    def test_names_with_awkward_characters(self):
        awkward = self.folder / 'a, "b" <script>\\ \u00e9.nrrd'
        awkward.write_bytes(self.reference.read_bytes())
        document = self.results(awkward, self.evaluation)
        self.assertEqual(document["files"]["reference"]["path"], str(awkward))
        run("compare", awkward, self.evaluation, "--csv", self.folder / "r.csv")
        with open(self.folder / "r.csv", newline="", encoding="utf-8") as file:
            self.assertEqual(list(csv.DictReader(file))[0]["reference"], str(awkward))
        invalid = bytes(self.folder) + b"/\xff.nrrd"
        with open(invalid, "wb") as file:
            file.write(self.reference.read_bytes())
        out = self.folder / "r.json"
        code = subprocess.run([PROGRAM, "compare", invalid, self.reference, "--json", out],
                              stdout=subprocess.DEVNULL, check=False).returncode
        self.assertEqual(code, 0)
        self.assertEqual(json.loads(out.read_text())["files"]["reference"]["bytes"],
                         self.reference.stat().st_size)

    def test_csv(self):
        document = self.results(self.reference, self.evaluation, *CRITERIA)
        self.write(*CRITERIA, "--csv", self.folder / "r.csv")
        with open(self.folder / "r.csv", newline="", encoding="utf-8") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual(len(rows), 2)
        for row, criterion in zip(rows, document["criteria"]):
            self.assertEqual(row["criterion"], criterion["label"])
            self.assertEqual(int(row["tested"]), criterion["tested"])
            self.assertEqual(int(row["failed"]), criterion["failed"])
            self.assertEqual(int(row["failed_hot"]), criterion["hot"])
            self.assertEqual(int(row["failed_cold"]), criterion["cold"])
            self.assertAlmostEqual(float(row["pass_rate_percent"]), criterion["passRate"], places=5)
            self.assertAlmostEqual(float(row["gamma_p95"]), criterion["p95"], places=7)
            self.assertEqual(row["verdict"], criterion["verdict"])

    def test_printed_result_is_the_result(self):
        document = self.results(self.reference, self.evaluation)
        (criterion,) = document["criteria"]
        printed = self.write()
        for name, value in (
            ("tested", f"{criterion['tested']} voxels"),
            ("passed", f"{criterion['passed']}"),
            ("failed", f"{criterion['failed']}: {criterion['hot']} hot, {criterion['cold']} cold"),
            ("pass rate", f"{criterion['passRate']:.6f} %"),
        ):
            self.assertRegex(printed, rf"(?m)^{name} +{re.escape(value)}$")


class Report(ProgramTest):
    """The data in the page; the page itself is tested in a browser elsewhere."""

    def setUp(self):
        super().setUp()
        self.dose, self.other = doses.pair()
        self.other.values = self.other.values[:, :, :-3]
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", self.dose)
        self.evaluation = doses.write_nrrd(self.folder / "<!--b.nrrd", self.other)
        self.page = self.folder / "r.html"
        self.result = run("compare", self.reference, self.evaluation, *CRITERIA,
                          "--report", self.page, "--gamma-map", self.folder / "g.nii")
        if "no report page" in self.result.stderr:
            self.skipTest("this build has no report page")

    def volume(self, page, name):
        (text,) = re.findall(rf'id="volume-{name}">([^<]*)</script>', page)
        raw = numpy.frombuffer(zlib.decompress(base64.b64decode(text, validate=True)), numpy.uint8)
        low, high = raw.reshape(2, -1)
        return (low.astype(numpy.uint16) | high.astype(numpy.uint16) << 8).view(numpy.int16)

    def test_data(self):
        self.assertEqual(self.result.returncode, 0)
        self.assertTrue(all("(unreached)" in line for line in self.result.stderr.splitlines()), self.result.stderr)
        page = self.page.read_text()
        self.assertNotIn("<!--ZARNGI-DATA-->", page)
        (text,) = re.findall(r'<script type="application/json" id="zarngi-data">(.*?)</script>',
                             page, re.DOTALL)
        self.assertNotIn("<", text)
        document = json.loads(text)
        plain = self.results(self.reference, self.evaluation, *CRITERIA)
        for name in ("format", "formatVersion", "files", "grids", "orientation", "doseUnit"):
            self.assertEqual(document[name], plain[name])
        volumes = {volume["name"]: volume for volume in document["volumes"]}
        self.assertEqual(list(volumes), ["reference", "evaluation", "gamma-0", "gamma-1"])
        for name, dose in (("reference", self.dose), ("evaluation", self.other)):
            self.assertEqual(volumes[name]["decimals"], 4)
            expected = numpy.round(dose.values.astype(float).ravel() * 1e4)
            numpy.testing.assert_array_equal(self.volume(page, name), expected)
        for index, suffix in enumerate(("3G-2mm", "1L-1mm")):
            self.assertEqual(document["criteria"][index]["gammaVolume"], f"gamma-{index}")
            stored = self.volume(page, f"gamma-{index}")
            gamma = numpy.asarray(nibabel.load(self.folder / f"g-{suffix}.nii").dataobj)
            gamma = gamma.transpose(2, 1, 0).ravel().astype(float)
            tested = gamma >= 0
            numpy.testing.assert_array_equal(stored[~tested], -1)
            shown = numpy.minimum(gamma[tested], 32.767)
            self.assertLessEqual(numpy.abs(stored[tested] / 1000 - shown).max(), 0.001)
            numpy.testing.assert_array_equal(stored[tested] <= 1000, gamma[tested] <= 1)

    def test_needs_gamma_values(self):
        result = run("compare", self.reference, self.evaluation, "--pass-rate-only",
                     "--report", self.page)
        self.assert_refused(result, 2, "--pass-rate-only")


class Demo(ProgramTest):
    def test_same_pair_every_time(self):
        folders = [self.folder / "one", self.folder / "deep" / "two"]
        for folder in folders:
            result = run("demo", folder)
            notes = doses.unit_notes(folder / "reference.mha", folder / "evaluation.mha")
            self.assertEqual((result.returncode, result.stderr), (0, notes))
        for name in ("reference.mha", "evaluation.mha", "structures.dcm"):
            self.assertEqual(*[(folder / name).read_bytes() for folder in folders])
        document = json.loads((folders[0] / "result.json").read_text())
        sizes = document["grids"]["reference"]["size"]
        self.assertGreater(numpy.prod(sizes), 2e6)
        rates = [criterion["passRate"] for criterion in document["criteria"]]
        self.assertTrue(all(50 < rate < 100 for rate in rates), rates)
        self.assert_shapes(folders[0] / "structures.dcm", document["structures"]["list"])
        page = folders[0] / "report.html"
        if page.exists():
            self.assertLess(page.stat().st_size, 15e6)

    def assert_shapes(self, path, listed):
        """Volumes of the regular polygons that stand for ellipses, and no part in the hole."""
        names = [roi.ROIName for roi in pydicom.dcmread(path).StructureSetROISequence]
        self.assertEqual(names, [entry["name"] for entry in listed])
        polygon = 72 / 2 * math.sin(2 * math.pi / 72)
        rounded = lambda planes: sum(1 - (i / (planes + 1)) ** 2 for i in range(-planes, planes + 1))
        areas = (150 * 105 * 79, 34 * 26 * rounded(12) - 8 * 8 * 17, 16 * 20 * rounded(11))
        for entry, area in zip(listed, areas):
            volume = polygon * area * 3 / 1000
            # The slices of the body's sub-points are 2 mm thick, half of that is 0.4 % of it.
            self.assertAlmostEqual(entry["volume"], volume, delta=0.005 * volume)
            self.assertEqual(entry["notes"], [])

    def test_folder_that_cannot_be(self):
        (self.folder / "file").write_text("")
        self.assert_refused(run("demo", self.folder / "file"), 1, "file")


if __name__ == "__main__":
    unittest.main()
