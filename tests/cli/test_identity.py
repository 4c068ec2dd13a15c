"""Whose plan it is: what outputs tell of it when asked, and that they tell nothing of it else."""

import csv
import json
import os
import unittest

import numpy
import pydicom

import doses
from documents import checked
from plan_files import plant, refer, write_plan
from structure_files import box, write_label_mask, write_structure_set
from support import ProgramTest, run

STRUCTURES = {"PTV": box((-6, 8), (-5, 5), [11, 14, 17, 20, 23, 26, 29])}
PLANTED = "Mustermann"
PLAN = "1.2.77.1"


class Identity(ProgramTest):
    def setUp(self):
        super().setUp()
        self.doses = [
            refer(doses.write_dicom(self.folder / name, dose, doses.DicomStyle()), PLAN)
            for name, dose in zip(("a.dcm", "b.dcm"), doses.pair())
        ]
        self.record = self.folder / "r.json"

    def compared(self, *more, warned=0):
        result = run("compare", *self.doses, "--json", self.record, *more)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stderr.count("\n"), warned, result.stderr)
        self.warnings = result.stderr
        return checked(json.loads(self.record.read_text()))

    def test_the_header(self):
        header = self.compared("--plan", write_plan(self.folder / "p.dcm"), "--identify")["header"]
        self.assertEqual(header, {
            "patientName": "Secret, Patient", "patientId": "secret-id", "plan": "HN 60 (left)",
            "beams": "1 arc, 2 back", "machine": "LINAC 1", "prescription": "60 Gy (PTV)", "fractions": "30",
            "isocentre": "0, -10.5, 20 mm", "date": "2026-11-26",
            "approval": "APPROVED, 2026-11-27, Physicist, Ada", "series": "plans", "comment": None,
            "performedBy": None, "reviewedBy": None,
        })  # fmt: skip

    def test_isocentres(self):
        plan = write_plan(self.folder / "p.dcm")
        self.assertEqual(self.compared("--plan", plan, "--identify")["isocentres"], [[0, -10.5, 20]])
        elsewhere = write_plan(plan, FrameOfReferenceUID="1.2.99")
        self.assertEqual(self.compared("--plan", elsewhere, "--identify")["isocentres"], [])

    def test_plans_beside_the_doses(self):
        """Looked for where outputs tell of them, and told by nothing but what the doses refer to."""
        write_plan(self.folder / "other.dcm", "1.2.77.9", RTPlanLabel=PLANTED)
        (self.folder / "cut.dcm").write_bytes(write_plan(self.folder / "p.dcm").read_bytes()[:-20])
        os.mkfifo(self.folder / "pipe.dcm")
        record = self.compared("--identify")
        self.assertEqual(record["header"]["plan"], "HN 60 (left)")
        self.assertEqual([plan["name"] for plan in record["files"]["plans"]], ["p.dcm"])
        self.assertEqual(record["request"]["plans"], [])
        self.assertNotIn("plans", self.compared()["files"])
        (self.folder / "p.dcm").unlink()
        self.assertNotIn("plans", self.compared("--identify")["files"])

    def test_a_plan_of_another_patient_is_refused_where_that_is_asked(self):
        plan = write_plan(self.folder / "p.dcm", patient="another")
        self.assertEqual(self.compared("--plan", plan, warned=1)["gate"][0]["name"], "other-patient-plan")
        self.record.unlink()
        refused = run("compare", *self.doses, "--plan", plan, "--refuse", "other-patient-plan", "--json", self.record)
        self.assert_refused(refused, 1, "p.dcm: is a plan of another patient", "--refuse other-patient-plan")
        self.assertFalse(self.record.exists())

    def test_one_dose_alone(self):
        plan = write_plan(self.folder / "p.dcm")
        structures = write_structure_set(self.folder / "s.dcm", STRUCTURES, "1.2.3.4")
        for path in (*self.doses, plan, structures):
            plant(path, PLANTED)
        for more, isTold in (([], False), (["--identify"], True)):
            result = run("dvh", self.doses[0], "--structures", structures, "--ignore-frame", "--json", self.record, *more)
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertEqual(PLANTED in self.record.read_text(), isTold)

    def test_one_dose_in_anonymous_documents(self):
        """Neither what files say nor what they are called; the figures are those of the open ones."""
        folder = self.folder / PLANTED
        folder.mkdir()
        dose, plan, structures, mask = (folder / f"{PLANTED}-{name}" for name in ("d.dcm", "p.dcm", "s.dcm", "m.nrrd"))
        refer(doses.write_dicom(dose, doses.pair()[0], doses.DicomStyle()), PLAN)
        write_plan(plan, patient=PLANTED)
        write_structure_set(structures, STRUCTURES, "1.2.3.4")
        for path in (dose, plan, structures):
            plant(path, PLANTED)
        values = doses.pair()[0].values
        write_label_mask(mask, doses.pair()[0], (values > values.mean()).astype(numpy.uint8))
        uids = ["secret-id", PLAN, "1.2.3.4", *(str(pydicom.dcmread(p).SOPInstanceUID) for p in (dose, structures))]
        outputs = {"--json": self.folder / "r.json", "--csv": self.folder / "r.csv", "--report": self.folder / "r.html"}
        given = [dose, "--plan", plan, "--ignore-frame", "--goal", "PTV: Dmax >= 1 Gy", "--header", f"comment={PLANTED}"]
        given += ["--structures", structures, "--structures", mask]

        def told(*more):
            result = run("dvh", *given, *(part for output in outputs.items() for part in output), *more)
            self.assertEqual(result.returncode, 0, result.stderr)
            document = checked(json.loads(outputs["--json"].read_text()))
            return document, [path.read_text() for path in outputs.values()]

        opened, texts = told()
        self.assertTrue(all(PLANTED in text for text in texts))
        self.assertEqual([uid for uid in uids for text in texts if uid in text], [])
        closed, texts = told("--anonymous", "pair-7")
        self.assertEqual([secret for secret in (PLANTED, *uids) for text in texts if secret in text], [])
        self.assertTrue(all("pair-7 dose" in text for text in texts))
        self.assertEqual((closed["title"], closed["command"]), ("pair-7", ""))
        self.assertEqual([file["name"] for file in closed["plans"]], ["pair-7 plan"])
        self.assertTrue(any("pair-7 plan: is a plan of another patient" in doubt["text"] for doubt in closed["gate"]))
        self.assertEqual([goal["reference"] for goal in closed["goals"]], [goal["reference"] for goal in opened["goals"]])
        rows = [[row["dvh"] for row in document["structures"]["list"]] for document in (opened, closed)]
        self.assertEqual(*rows)
        self.assertEqual(run("dvh", *given, "--identify", "--anonymous", "pair-7").returncode, 2)

    def test_header_and_patients_of_one_dose(self):
        plan = write_plan(self.folder / "p.dcm")
        structures = write_structure_set(self.folder / "s.dcm", STRUCTURES, "1.2.3.4")
        table = self.folder / "d.csv"

        def told(*more, code=0):
            result = run("dvh", self.doses[0], "--structures", structures, *more, "--json", self.record, "--csv", table)
            self.assertEqual(result.returncode, code, result.stderr)
            return result.stderr, checked(json.loads(self.record.read_text()))

        _, document = told("--identify", "--header", "comment=seen")
        self.assertEqual((document["header"]["plan"], document["header"]["comment"]), ("HN 60 (left)", "seen"))
        self.assertEqual([plan["name"] for plan in document["plans"]], ["p.dcm"])
        self.assertEqual({row["header_plan"] for row in csv.DictReader(table.read_text().splitlines())}, {"HN 60 (left)"})
        self.assertEqual(set(told()[1]["header"].values()), {None})
        self.assertNotIn("header_", table.read_text())
        for path in (plan, structures):
            data = pydicom.dcmread(path)
            data.PatientID = "another"
            data.save_as(path)
        patient = pydicom.dcmread(self.doses[0])
        patient.PatientID = "secret-id"
        patient.save_as(self.doses[0])
        warned, document = told("--plan", plan)
        names = ["other-patient-plan", "other-patient-structures"]
        self.assertEqual([warning["name"] for warning in document["gate"]], names)
        self.assertEqual([f"({name})" in warned for name in names], [True, True])
        self.record.unlink()
        refused = run("dvh", self.doses[0], "--structures", structures, "--protocol", "prostate", "--json", self.record)
        self.assertEqual(refused.returncode, 1, refused.stderr)
        self.assertIn("--refuse other-patient-structures", refused.stderr)
        self.assertFalse(self.record.exists())

    def test_what_a_plan_holds(self):
        plan = write_plan(self.folder / "p.dcm")
        plant(plan, PLANTED)
        data = pydicom.dcmread(plan)
        data.RTPlanLabel = "HN 60"
        data.BeamSequence[0].BeamName, data.BeamSequence[0].TreatmentMachineName = "arc", "LINAC 1"
        for beam in data.BeamSequence[1:]:
            beam.BeamName = beam.TreatmentMachineName = ""
        data.save_as(plan)
        for more, isTold in (([], False), (["--patient"], True)):
            texts = [run("info", plan, *more).stdout, run("info", "--json", plan, *more).stdout]
            self.assertEqual([PLANTED in text for text in texts], [isTold, isTold])
            self.assertEqual(["secret-id" in text for text in texts], [isTold, isTold])
            for word in ("HN 60", "1 arc, 2", "LINAC 1", "60 Gy (PTV)", "0, -10.5, 20 mm"):
                self.assertIn(word, texts[0])
            told = json.loads(texts[1])
            self.assertEqual(told["file"]["name"], "p.dcm")
            self.assertEqual(told["plan"]["prescriptions"], [{"dose": 60, "target": "PTV"}])
            self.assertEqual([beam["isTreatment"] for beam in told["plan"]["beams"]], [True, True, False])
        self.assert_refused(run("info", "--structures", plan), 1, "p.dcm: ")

    def test_header_in_tables(self):
        table = self.folder / "t.csv"
        given = ("--plan", write_plan(self.folder / "p.dcm"), "--identify", "--header", "comment=seen, twice")
        self.compared(*given, "--sweep", "2:3%/2mm", "--csv", table)
        rows = list(csv.DictReader(table.read_text().splitlines()))
        self.assertGreater(len(rows), 1)
        for row in rows:
            self.assertEqual((row["header_patient_id"], row["header_comment"]), ("secret-id", "seen, twice"))
        self.assertTrue(all(None not in row and None not in row.values() for row in rows))
        self.compared(*given[:2], *given[3:], "--anonymous", "pair-7", "--csv", table)
        self.assertNotIn("header_", table.read_text())

    def test_beams_of_the_doses_and_sums_of_plans(self):
        plan = write_plan(self.folder / "p.dcm")
        for path in self.doses:
            refer(path, PLAN, beams=[2])
        self.assertEqual(self.compared("--plan", plan, "--identify")["header"]["beams"], "2 back")
        boost = write_plan(self.folder / "boost.dcm", "1.2.77.2", RTPlanLabel="boost", RTPlanName="")
        refer(self.doses[1], "1.2.77.2")
        header = self.compared("--plan", plan, "--plan", boost, "--identify")["header"]
        self.assertEqual(header["plan"], "HN 60 (left) + boost")
        self.assertTrue(header["beams"].startswith("plan sum: 2 back"), header["beams"])

    def test_what_is_given_stands_in_place_of_what_files_say(self):
        plan = ["--plan", write_plan(self.folder / "p.dcm")]
        given = ["--header", "plan=other", "--header", "comment=a=b", "--header", "plan=last"]
        self.assertEqual(self.compared(*plan, *given, "--identify")["header"]["plan"], "last")
        for more, wanted in (((), {"plan": "last", "comment": "a=b"}), (("--anonymous", "pair-7"), {})):
            record = self.compared(*plan, *given, *more)
            told = {key: text for key, text in record["header"].items() if text is not None}
            self.assertEqual(told, wanted)
            self.assertEqual(record["request"]["header"], wanted)
            self.assertEqual(record["isocentres"], [])

    def test_what_is_asked_is_asked_again(self):
        plan = write_plan(self.folder / "p.dcm")
        first = self.compared("--plan", plan, "--identify", "--header", "comment=seen")
        again = self.folder / "again.json"
        write_plan(plan, RTPlanLabel="changed")
        result = run("compare", "--request", self.record, "--json", again)
        self.assertIn("p.dcm: is another file than that of the record", result.stderr)
        header = json.loads(again.read_text())["header"]
        self.assertEqual(header, {**first["header"], "plan": "changed (left)"})

    def test_a_protocol_is_of_no_patient(self):
        protocol = self.folder / "department.json"
        given = [f"--header={key}={PLANTED}" for key in ("patientName", "patientId", "plan", "comment")]
        plan = write_plan(self.folder / f"{PLANTED}.dcm")
        self.compared("--plan", plan, *given, "--header", "machine=LINAC 2", "--save-request", protocol)
        self.assertNotIn(PLANTED, protocol.read_text())
        self.assertEqual(json.loads(protocol.read_text())["header"], {"machine": "LINAC 2"})

    def test_a_plan_of_other_doses_is_told_and_left_out(self):
        untold = [doses.write_nrrd(self.folder / f"{i}.nrrd", dose) for i, dose in enumerate(doses.pair())]
        for plan, warning, isTheirs in (
            ({"patient": "another"}, "p.dcm: is a plan of another patient than the doses", False),
            ({"uid": "1.2.77.9"}, "p.dcm: is not the plan that the doses refer to", False),
        ):
            path = write_plan(self.folder / "p.dcm", RTPlanLabel=PLANTED, **plan)
            record = self.compared("--plan", path, "--identify", warned=1)
            self.assertIn(warning, self.warnings)
            self.assertEqual(record["files"]["plans"][0]["isOfDoses"], isTheirs)
            self.assertNotIn(PLANTED, json.dumps(record["header"]))
        self.doses = untold
        record = self.compared("--plan", path, "--identify", warned=1)
        self.assertIn("no dose tells its plan", self.warnings)
        self.assertEqual(record["header"]["plan"], f"{PLANTED} (left)")

    def test_refused_files_of_plans(self):
        plan = write_plan(self.folder / "p.dcm")
        whole = plan.read_bytes()
        contents = {
            "cut": (whole[:-20], 1, "p.dcm: "),
            "empty": (b"", 1, "is empty"),
            "number": (whole.replace(b"-10.5", b"-10,5"), 1, "Isocenter Position"),
            "dose": (self.doses[0].read_bytes(), 1, "is DICOM but no RT Plan (modality RTDOSE)"),
            "text": (b"a text", 1, "is not a treatment plan"),
        }
        for name, (data, code, sentence) in contents.items():
            with self.subTest(name):
                self.assertTrue(data != whole)
                plan.write_bytes(data)
                result = run("compare", *self.doses, "--plan", plan, "--json", self.record)
                self.assert_refused(result, code, "p.dcm: ", sentence)
                self.assertFalse(self.record.exists())

    def test_refused_options(self):
        for more in (["--header", "comment"], ["--header", "patient=Doe"]):
            self.assert_refused(run("compare", *self.doses, *more), 2, "--header", "patientName, patientId")
        both = run("compare", *self.doses, "--identify", "--anonymous", "pair-7")
        self.assertEqual(both.returncode, 2)

    def test_outputs_hold_nothing_that_files_say_unless_asked(self):
        plan = write_plan(self.folder / "p.dcm")
        structures = write_structure_set(self.folder / "s.dcm", STRUCTURES, "1.2.3.4")
        for path in (*self.doses, plan, structures):
            plant(path, PLANTED)
        uids = [PLAN, "1.2.3.4", *(str(pydicom.dcmread(p).SOPInstanceUID) for p in (*self.doses, structures))]
        outputs = {"--json": "r.json", "--csv": "r.csv", "--report": "r.html"}
        arguments = ["--plan", plan, "--structures", structures, "--explain", "--ignore-frame"]
        for option, name in outputs.items():
            arguments += [option, self.folder / name]

        def told(*more):
            result = run("compare", *self.doses, *arguments, *more)
            self.assertEqual(result.returncode, 0, result.stderr)
            texts = [result.stdout, result.stderr, *((self.folder / n).read_text() for n in outputs.values())]
            return [secret for secret in (PLANTED, "secret-id", *uids) for text in texts if secret in text]

        self.assertEqual(told(), [])
        self.assertEqual(told("--anonymous", "pair-7"), [])
        self.assertIn(PLANTED, told("--identify"))
        self.assertIn(uids[-1], told("--identify"))


if __name__ == "__main__":
    unittest.main()
