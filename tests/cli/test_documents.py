"""The schema of requests and records refuses what is no such document."""

import copy
import unittest

import doses
from documents import VALIDATOR, checked, problem_of
from plan_files import write_plan
from structure_files import box, write_structure_set
from support import ProgramTest
from test_measurements import cut, write_points

#: Of another type than each of these in a record.
RETYPED = {str: 3, float: "3", int: "3", bool: "yes", list: {}, dict: [], type(None): True}
#: What a record may be without, whatever else it holds.
OPTIONAL = {
    ("title",), ("plane",), ("sweeps",), ("goals",), ("explanation",), ("data",), ("normal",), ("withoutNoise",),
    ("noise",), ("median",), ("largest",),
    ("measurements", "reference", "place"),
    ("files", "plans"), ("request", "header", "comment"),
}  # fmt: skip


def shortened(value):
    """A record whose long lists, of which every entry is alike, are short."""
    if isinstance(value, dict):
        return {name: shortened(member) for name, member in value.items()}
    return [shortened(entry) for entry in value[:3]] if isinstance(value, list) else value


def places(value, path=()):
    """The paths of all members and entries."""
    entries = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for name, entry in entries:
        yield (*path, name)
        yield from places(entry, (*path, name))


def changed(document, path, change):
    """A copy in which something was done to the member or entry at a path."""
    document = copy.deepcopy(document)
    parent = document
    for name in path[:-1]:
        parent = parent[name]
    change(parent, path[-1])
    return document


def retype(parent, name):
    parent[name] = RETYPED[type(parent[name])]


def is_optional(path):
    names = tuple(name for name in path if isinstance(name, str))
    return names in OPTIONAL or names[-1:] in OPTIONAL or names[-2:-1] == ("metrics",)


class Documents(ProgramTest):
    def records(self):
        dose, other = doses.pair()
        reference = doses.write_dicom(self.folder / "a.dcm", dose, doses.DicomStyle())
        evaluation = doses.write_nrrd(self.folder / "b.nrrd", other)
        contours = {"PTV": box((-6, 8), (-5, 5), (11, 14, 17, 20, 23)), "Far": box((900, 901), (0, 1), (0, 3))}
        structures = write_structure_set(self.folder / "s.dcm", contours, frame="1.2.3.4")
        x, y, values, _ = cut(dose, "axial", 5)
        points = write_points(self.folder / "points.csv", [(x[4], y[4]), (x[5], y[5])], [values[4, 4], values[5, 5]])
        plan = write_plan(self.folder / "p.dcm")
        yield self.results(
            reference, evaluation, "--structures", structures, "--structure", "ring=PTV-Far", "--structure",
            "PTV", "-c", "3%/2mm", "-c", "PTV:1%/1mm", "--evaluation-add", evaluation, "--evaluation-scale",
            "1/2", "--within", "PTV", "--explain", "--explain-range", "2", "--sweep", "1:2%/1:2mm",
            "--prescription", "2", "--tolerance", "PTV:97", "--fail-below", "1", "--norm-at", "0,0,20", "--noise",
            "--reference-uncertainty", "1%",
            "--goal", "PTV: D95% >= 0 Gy", "--goal", "PTV: Dmean within 100 %",
            "--plan", plan, "--identify", "--header", "comment=seen", "--protocol", "tg-218",
        )  # fmt: skip
        yield self.results(points, evaluation, "--plane", "axial", "--at", "0,0,23", "--anonymous", "pair")

    def test_each_member_is_needed_and_of_its_type(self):
        for record in map(shortened, self.records()):
            checked(record)
            paths = list(places(record))
            self.assertGreater(len(paths), 150)
            for path in paths:
                with self.subTest(path):
                    self.assertIsNotNone(problem_of(changed(record, path, retype)))
                    dropped = changed(record, path, lambda parent, name: parent.pop(name))
                    if isinstance(path[-1], str) and not is_optional(path):
                        self.assertIsNotNone(problem_of(dropped))

    def test_new_members_are_for_records_alone(self):
        record = shortened(next(self.records()))
        for path in places(record):
            if isinstance(path[-1], str):
                with self.subTest(path):
                    grown = changed(record, path, lambda parent, _: parent.update(member="new"))
                    is_free = path[0] != "request" or len(path) == 1
                    is_free = is_free and "metrics" not in path[:-1]
                    self.assertEqual(problem_of(grown) is None, is_free)
                    with self.assertRaises(AssertionError):
                        checked(grown)

    def test_requests_alone(self):
        request = next(self.records())["request"]
        checked(request)
        for member, value in (("normalisation", 60), ("normalisation", "maximum"), ("cutOff", -1), ("cutOff", 1e31),
                              ("criteria", []), ("normalisationAt", [1]), ("format", "zarngi-report"),
                              ("plane", {"name": "oblique", "at": None}), ("units", {"dose": "Gy", "length": "m"}),
                              ("explain", {"range": 101, "structure": None}), ("formatVersion", 2), ("sha256", "0")):  # fmt: skip
            with self.subTest(member, value=value):
                self.assertIsNotNone(problem_of({**request, member: value}))

    def test_the_schema_is_one(self):
        VALIDATOR.check_schema(VALIDATOR.schema)
        for document in (None, [], {}, {"format": "zarngi"}):
            self.assertIsNotNone(problem_of(document))


if __name__ == "__main__":
    unittest.main()
