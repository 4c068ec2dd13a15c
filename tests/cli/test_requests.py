"""Requests as documents: computed again, saved, refused; and documents that name no file."""

import copy
import json
import os
import unittest

import numpy

import doses
from documents import problem_of
from structure_files import box, write_label_mask, write_structure_set
from support import ProgramTest, run
from test_measurements import cut, write_matrix, write_points

HEIGHTS = [11, 14, 17, 20, 23, 26, 29]
STRUCTURES = {"PTV": box((-6, 8), (-5, 5), HEIGHTS), "Body": box((-40, 40), (-30, 30), range(5, 45, 3))}

#: Of another type than each of these in a request.
RETYPED = {str: 3, float: "3", int: "3", bool: "yes", list: {}, dict: [], type(None): []}


def settled(record):
    """A record without what differs between two runs: times, and where files lie."""
    record = copy.deepcopy(record)
    for member in ("created", "command", "timings"):
        del record[member]
    record.get("explanation", {}).pop("seconds", None)
    for timed in (*record["criteria"], *record.get("sweeps", [])):
        timed.pop("seconds")
    return record


def places(request, path=()):
    """The paths of all members of a document."""
    for name, value in request.items():
        yield (*path, name)
        if isinstance(value, dict):
            yield from places(value, (*path, name))


def parent(document, path):
    for name in path[:-1]:
        document = document[name]
    return document


class Requests(ProgramTest):
    def setUp(self):
        super().setUp()
        dose, other = doses.pair()
        self.reference = doses.write_nrrd(self.folder / "a.nrrd", dose)
        self.evaluation = doses.write_nrrd(self.folder / "b.nrrd", other)
        self.structures = write_structure_set(self.folder / "s.dcm", STRUCTURES)
        x, y, values, _ = cut(dose, "axial", 5)
        self.plane = write_matrix(self.folder / "plane.txt", x, y, values)
        y_of, x_of = numpy.meshgrid(y[3:9:2], x[3:9:2], indexing="ij")
        corners = list(zip(x_of.ravel(), y_of.ravel()))
        self.points = write_points(self.folder / "points.csv", corners, values[3:9:2, 3:9:2].ravel())

    def record(self, *arguments, name="record.json"):
        path = self.folder / name
        result = run("compare", *arguments, "--json", path, cwd=self.folder)
        self.assertEqual(result.returncode, 0, result.stderr)
        return json.loads(path.read_text())

    def test_a_record_is_computed_again(self):
        pair = [self.reference, self.evaluation]
        at = ["--plane", "axial", "--at", "0,0,21.5"]
        kinds = {
            "criteria": [*pair, "-c", "3%/2.0000001mm", "-c", "2%L/1mm", "--dco", "12.5"],
            "settings": [*pair, "--nearest", "--step", "0.7", "--max-gamma", "1.3", "--slices"],
            "rate": [*pair, "--pass-rate-only", "--norm", "1.7"],
            "structures": [*pair, "--structures", self.structures, "--structure", "ring=Body-PTV",
                           "--structure", "PTV", "-c", "3%/3mm", "-c", "PTV:2%/1mm", "--within",
                           "Body", "--dvh", "D99.5,V1Gy", "--prescription", "1.5",
                           "--tolerance", "PTV:97.3", "--fail-below", "1", "--exclude", "ring"],
            "sums": [*pair, "--evaluation-add", self.reference, "--evaluation-scale", "1/2"],
            "plane": [self.plane, self.evaluation, *at, "--norm-at", "1,2,21.5"],
            "fine plane": [self.plane, self.plane, "--step", "0.005", "--dd", "1", "--dta", "0.05"],
            "points": [self.points, self.plane, "--norm", "evaluation"],
            "findings": [*pair, "--explain", "--explain-range", "3", "--sweep", "1:2%/1:2mm"],
        }
        for kind, arguments in kinds.items():
            with self.subTest(kind):
                first = self.record(*arguments)
                again = self.record("--request", self.folder / "record.json", name="again.json")
                for record in (first, again):
                    text = json.dumps(settled(record)).replace(str(self.folder) + "/", "")
                    record["settled"] = json.loads(text)
                self.assertEqual(again["settled"], first["settled"])

    def test_files_lie_relative_to_the_document(self):
        deep = self.folder / "deep"
        deep.mkdir()
        self.record(self.reference, self.evaluation, name="deep/record.json")
        request = json.loads((deep / "record.json").read_text())["request"]
        self.assertEqual(request["reference"]["file"], "../a.nrrd")
        request["evaluation"]["file"] = "../a.nrrd"
        (deep / "request.json").write_text(json.dumps(request))
        result = run("compare", "--request", "deep/request.json", cwd=self.folder)
        self.assertIn("pass rate   100.000000 %", result.stdout)

    def test_other_files_are_told(self):
        self.record(self.reference, self.evaluation)
        os.replace(self.evaluation, self.reference)
        path = self.folder / "record.json"
        result = run("compare", "--request", path, self.reference, self.reference)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stderr.count("a.nrrd: is another file than that of the record"), 1)
        unharmed = run("compare", "--request", path, "--json", path, self.reference, self.reference)
        self.assert_refused(unharmed, 2, "record.json would overwrite an input file")

    def test_a_protocol(self):
        protocol = self.folder / "department.json"
        asked = ["-c", "2%/2mm", "--dco", "20", "--tolerance", "97"]
        run("compare", self.reference, self.evaluation, *asked, "--save-request", protocol)
        document = json.loads(protocol.read_text())
        self.assertEqual((document["name"], document["version"]), ("department", "1"))
        self.assertNotIn("nrrd", protocol.read_text())
        plain = self.record(self.reference, self.evaluation, *asked)
        used = self.record("--request", protocol, self.reference, self.evaluation)
        self.assertEqual(used["criteria"][0]["gammaSearchMax"], 3)
        self.assertFalse(used["protocol"]["changed"])
        for record in (plain, used):
            del record["protocol"]
            for member in ("name", "version", "sha256"):
                del record["request"][member]
        self.assertEqual(settled(used), settled(plain))
        other = self.record("--request", protocol, self.reference, self.evaluation, "--dco", "30")
        self.assertEqual(other["criteria"][0]["label"], "2%/2mm")
        self.assertEqual(other["criteria"][0]["cutoffPercent"], 30)
        self.assert_refused(run("compare", "--request", protocol, self.reference), 2, "EVALUATION is required")

    def test_each_member_is_needed_known_and_of_its_type(self):
        self.record(self.reference, self.evaluation, "--explain", "--structures", self.structures)
        whole = json.loads((self.folder / "record.json").read_text())["request"]
        changed = self.folder / "changed.json"
        paths = list(places(whole))
        self.assertGreater(len(paths), 40)

        def refused(document, path):
            self.assertIsNotNone(problem_of(document), path)
            changed.write_text(json.dumps(document))
            result = run("compare", "--request", changed)
            self.assert_refused(result, 2, "changed.json: ", path[-1])

        for path in paths:
            with self.subTest(path):
                value = parent(whole, path)[path[-1]]
                for name in ("dropped", "renamed", "retyped"):
                    document = copy.deepcopy(whole)
                    members = parent(document, path)
                    if name != "retyped":
                        del members[path[-1]]
                    if name == "renamed":
                        members[path[-1] + "s"] = value
                    if name == "retyped":
                        members[path[-1]] = RETYPED[type(value)]
                    refused(document, path)
        refused({**whole, "patient": "Doe"}, ("patient",))
        refused({**whole, "rotate": True, "format": "zarngi-requests"}, ("format",))

    def test_names_that_many_patients_do_not_all_have(self):
        """Left out and told; what decides which voxels are tested is refused all the same."""
        path = self.folder / "protocol.json"
        asked = ["-c", "3%/3mm", "-c", "PTV:2%/2mm", "-c", "Nobody:1%/1mm", "--tolerance", "Nobody:99",
                 "--structure", "PTV", "--structure", "Nobody", "--if-present"]  # fmt: skip
        files = [self.reference, self.evaluation]
        record = self.record(*files, "--structures", self.structures, *asked, "--save-request", path)
        told = [text for text in record["warnings"] if "Nobody" in text]
        self.assertEqual(told, ['no structure is called "Nobody", so it is left out'])
        self.assertEqual([one["label"] for one in record["criteria"]], ["3%/3mm", "2%/2mm"])
        self.assertEqual([one["name"] for one in record["structures"]["list"]], ["PTV"])
        again = self.record("--request", self.folder / "record.json", name="again.json")
        self.assertEqual(settled(again)["criteria"], settled(record)["criteria"])
        without = self.record(*files, "--request", path, name="without.json")
        self.assertEqual(len(without["criteria"]), 1)
        self.assertNotIn("structures", without)
        for more, refused in ((["--within", "Nobody"], "--within"), (["-c", "Nobody:1%/1mm"], "--criteria")):
            result = run("compare", *files, "--structures", self.structures, "--if-present", *more)
            self.assert_refused(result, 2, refused)

    def test_documents_of_former_versions(self):
        self.record(self.reference, self.evaluation, "--save-request", self.folder / "p.json")
        document = json.loads((self.folder / "p.json").read_text())
        for member in ("plans", "identify", "header", "title", "source", "sha256"):
            del document[member]
        former = self.folder / "former.json"
        former.write_text(json.dumps({**document, "formatVersion": 2}))
        again = self.record(self.reference, self.evaluation, "--request", former)
        self.assertEqual(again["request"]["formatVersion"], 3)
        document["formatVersion"] = 1
        del document["noise"], document["units"]["uncertainty"]
        for role in ("reference", "evaluation"):
            del document[role]["uncertainty"]
        former.write_text(json.dumps(document))
        files = (self.reference, self.evaluation)
        self.assert_refused(run("compare", "--request", former, *files), 2, "structures.ifPresent is not known")
        del document["structures"]["ifPresent"]
        for member in ("refuse", "referenceGuessed", "goals"):
            del document[member]
        former.write_text(json.dumps(document))
        self.assertEqual(self.record(*files, "--request", former)["request"]["formatVersion"], 3)

    def test_what_cannot_be_asked_again(self):
        record = self.record(self.reference, self.evaluation, "--rotate")
        path = self.folder / "record.json"
        again = run("compare", "--request", path)
        self.assert_refused(again, 2, "record.json: ", "rotate")
        del record["request"]
        path.write_text(json.dumps(record))
        self.assert_refused(run("compare", "--request", path), 2, "of a version before 4.3")
        path.write_text("{")
        self.assert_refused(run("compare", "--request", path), 2, "this is no JSON document")
        path.write_text("[" * 1_000_000 + "]" * 1_000_000)  # a stack's end is nowhere near
        self.assert_refused(run("compare", "--request", path), 2, "this is no JSON document")
        path.write_text('{"format": "zarngi-request", "formatVersion": 18446744073709551615}')
        self.assert_refused(run("compare", "--request", path), 2, "formatVersion is not one of 1 to 3")
        self.assert_refused(run("compare", "--request", self.folder / "none"), 1, "none: cannot be read")

    def test_anonymous_documents_hold_no_planted_name(self):
        secret = "Mustermann"
        style = doses.DicomStyle()
        folder = self.folder / secret
        folder.mkdir()
        files = []
        for name, dose in zip(("a", "b"), doses.pair()):
            path = folder / f"{secret}-{name}.dcm"
            doses.write_dicom(path, dose, style)
            files.append(path)
        structures = write_structure_set(folder / f"{secret}.dcm", STRUCTURES, "1.2.3.4")
        self.plant(secret, files[0], structures)
        added = folder / f"{secret}-c.dcm"
        added.write_bytes(files[1].read_bytes())
        names = [self.folder / name for name in ("r.json", "r.csv", "r.html")]
        arguments = [*files, "--structures", structures, "--evaluation-add", added,
                     "--evaluation-scale", "0.5", "-c", "3%/3mm", "-c", "PTV:2%/1mm", "--explain"]
        outputs = ["--json", names[0], "--csv", names[1], "--report", names[2]]
        open_result = run("compare", *arguments, *outputs)
        self.assertEqual(open_result.returncode, 0, open_result.stderr)
        told = settled(json.loads(names[0].read_text()))
        for path in names:
            self.assertIn(secret, path.read_text(), path)
        closed = run("compare", *arguments, *outputs, "--anonymous", "pair-7")
        self.assertEqual(closed.returncode, 0, closed.stderr)
        for path in names:
            text = path.read_text()
            self.assertNotIn(secret, text, path)
            self.assertNotIn("1.2.3.4", text, path)
            self.assertIn("pair-7 reference", text)
        record = settled(json.loads(names[0].read_text()))
        self.assertEqual(record["criteria"], told["criteria"])
        self.assertEqual(record["files"]["reference"]["sha256"], told["files"]["reference"]["sha256"])
        self.assertEqual(record["doses"]["evaluation"]["added"][0]["name"], "pair-7 evaluation + 1")

    def test_anonymous_structures_are_not_called_after_their_files(self):
        secret = "Mustermann"
        dose, _ = doses.pair()
        labels = (dose.values > dose.values.mean()).astype(numpy.uint8)
        masks = [write_label_mask(self.folder / f"{secret}-{name}.nrrd", dose, labels) for name in "ab"]
        arguments = [self.reference, self.evaluation, "-c", "3%/3mm"]
        path = self.folder / "record.json"

        def names(*more):
            result = run("compare", *arguments, *more, "--json", path, "--anonymous", "pair-7")
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertNotIn(secret, path.read_text())
            return [row["name"] for row in json.loads(path.read_text())["structures"]["list"]]

        self.assertEqual(names("--structures", masks[0]), ["structures"])
        self.assertEqual(names("--structures", masks[0], "--structures", masks[1]),
                         ["structures 1", "structures 2"])
        sets = [write_structure_set(self.folder / f"{secret}-{name}.dcm", STRUCTURES) for name in "ab"]
        both = names("--structures", sets[0], "--structures", sets[1])
        self.assertEqual(both, [f"{name} (structures {file})" for file in (1, 2) for name in STRUCTURES])
        named = run("compare", *arguments, "--structures", masks[0], "--within", f"{secret}-a",
                    "--anonymous", "pair-7", "--json", path)
        self.assert_refused(named, 2, "--within")

    def plant(self, secret, dose, structures):
        """A name where files have texts: pydicom writes them."""
        import pydicom

        for path in (dose, structures):
            dataset = pydicom.dcmread(path)
            for keyword in ("PatientName", "PatientID", "SeriesDescription", "DoseComment",
                            "RTPlanLabel", "StructureSetLabel", "StructureSetName", "Manufacturer"):
                setattr(dataset, keyword, secret)
            dataset.save_as(path)


if __name__ == "__main__":
    unittest.main()
