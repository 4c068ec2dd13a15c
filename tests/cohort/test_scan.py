"""Finding and pairing: what is paired, and what is listed instead of guessed."""

import pydicom
import pytest
from conftest import small_pair, zarngi_cohort
from pydicom.dataset import Dataset
from pydicom.sequence import Sequence
from zarngi.cohort import CohortError, Naming, scan
from zarngi.cohort.manifest import Manifest

import zarngi

PLAN, OTHER_PLAN = "1.2.3.1", "1.2.3.2"
FRAME, OTHER_FRAME = "1.2.4.1", "1.2.4.2"


def item(**members):
    dataset = Dataset()
    for name, value in members.items():
        setattr(dataset, name, value)
    return dataset


def write_dose(path, plan=PLAN, patient="DOE", frame=FRAME, beam=None, date="20260302"):
    """An RT Dose that tells these things."""
    path.parent.mkdir(parents=True, exist_ok=True)
    grid = small_pair()[0]
    zarngi.write(path, grid.dose[:2], like=zarngi.DoseGrid(grid.dose[:2], grid.spacing, grid.origin))
    dataset = pydicom.dcmread(path)
    dataset.PatientID, dataset.FrameOfReferenceUID = patient, frame
    dataset.InstanceCreationDate = dataset.StudyDate = date
    if plan:
        reference = item(ReferencedSOPInstanceUID=plan)
        if beam is not None:
            dataset.DoseSummationType = "BEAM"
            beams = item(ReferencedFractionGroupNumber=1,
                         ReferencedBeamSequence=Sequence([item(ReferencedBeamNumber=beam)]))  # fmt: skip
            reference.ReferencedFractionGroupSequence = Sequence([beams])
        dataset.ReferencedRTPlanSequence = Sequence([reference])
    dataset.save_as(path)
    return path


def write_other(path, kind, uid="1.2.5.1", **members):
    """A file of another kind."""
    path.parent.mkdir(parents=True, exist_ok=True)
    dataset = item(SOPClassUID=kind, SOPInstanceUID=uid, **members)
    dataset.file_meta = pydicom.dataset.FileMetaDataset()
    dataset.file_meta.TransferSyntaxUID = pydicom.uid.ExplicitVRLittleEndian
    dataset.file_meta.MediaStorageSOPClassUID = kind
    dataset.file_meta.MediaStorageSOPInstanceUID = uid
    dataset.is_little_endian, dataset.is_implicit_VR, dataset.preamble = True, False, b"\0" * 128
    dataset.save_as(path)
    return path


def write_structures(path, frame=FRAME, patient="DOE"):
    frames = Sequence([item(FrameOfReferenceUID=frame)])
    return write_other(path, "1.2.840.10008.5.1.4.1.1.481.3", PatientID=patient,
                       ReferencedFrameOfReferenceSequence=frames)  # fmt: skip


def places(found):
    return [(pair.reference, pair.evaluation) for pair in found.pairs]


def scanned(folder, **options):
    return scan([], reference_from=[str(folder / "tps")], evaluation_from=[str(folder / "qa")], **options)


def test_pairs_by_plan_patient_frame_and_beam(tmp_path):
    tps, qa = tmp_path / "tps", tmp_path / "qa"
    wanted = []
    for i, members in enumerate((
        {}, {"plan": OTHER_PLAN}, {"patient": "ROE"}, {"frame": OTHER_FRAME}, {"beam": 1}, {"beam": 2},
        {"plan": None},
    )):  # fmt: skip
        wanted.append(tuple(str(write_dose(f / "deep" / f"{i}.dcm", **members)) for f in (tps, qa)))
    (tps / "notes.txt").write_text("no DICOM")
    found = scanned(tmp_path)
    assert sorted(places(found)) == sorted(wanted) and found.left_out == []
    assert len({pair.id for pair in found.pairs}) == len(wanted)


def test_what_is_not_clear_is_listed(tmp_path):
    lonely = write_dose(tmp_path / "tps/lonely.dcm", plan=OTHER_PLAN)
    twice = [write_dose(tmp_path / "qa" / name) for name in ("a.dcm", "b.dcm")]
    one = write_dose(tmp_path / "tps/one.dcm")
    silent = write_dose(tmp_path / "qa/silent.dcm", plan=None, patient="")
    damaged = tmp_path / "qa/damaged.dcm"
    damaged.write_bytes(one.read_bytes()[:150])
    found = scanned(tmp_path)
    assert found.pairs == []
    told = "\n".join(found.left_out)
    assert f"{lonely}: has no partner" in told
    assert f"more than one of a plan, patient, frame and beam: {one}, {twice[0]}, {twice[1]}" in told
    assert f"{silent}: tells neither a plan nor patient and frame of reference" in told
    assert f"{damaged}: is no DICOM file that can be read" in told
    assert len(found.left_out) == 4


SEGMENTATION = "1.2.840.10008.5.1.4.1.1.66.4"


def test_segmentations_join_where_there_is_no_structure_set(tmp_path):
    write_dose(tmp_path / "tps/a.dcm")
    write_dose(tmp_path / "qa/a.dcm")
    about = {"PatientID": "DOE", "FrameOfReferenceUID": FRAME}
    write_other(tmp_path / "tps/parts.dcm", SEGMENTATION, SegmentationType="FRACTIONAL", **about)
    assert scanned(tmp_path).pairs[0].structures == ""
    segments = write_other(tmp_path / "tps/seg.dcm", SEGMENTATION, SegmentationType="BINARY", **about)
    assert scanned(tmp_path).pairs[0].structures == str(segments)
    structures = write_structures(tmp_path / "tps/rs.dcm")
    assert scanned(tmp_path).pairs[0].structures == str(structures)


def test_structures_machine_and_date(tmp_path):
    for folder in ("tps", "qa"):
        write_dose(tmp_path / folder / "a.dcm")
        write_dose(tmp_path / folder / "b.dcm", frame=OTHER_FRAME, plan=OTHER_PLAN, date="")
    sets = [write_structures(tmp_path / "tps/rs.dcm"), write_structures(tmp_path / "tps/roe.dcm", patient="ROE")]
    for name in ("one", "two"):
        sets.append(write_structures(tmp_path / f"tps/{name}.dcm", frame=OTHER_FRAME))
    beam = item(TreatmentMachineName="TrueBeam 2")
    write_other(tmp_path / "tps/rp.dcm", "1.2.840.10008.5.1.4.1.1.481.5", PLAN, BeamSequence=Sequence([beam, beam]))
    found = scanned(tmp_path, naming=Naming(group="machine", dates=True))
    a, b = sorted(found.pairs, key=lambda pair: pair.reference)
    assert (a.structures, a.group, a.date) == (str(sets[0]), "TrueBeam 2", "2026-03-02")
    assert (b.structures, b.group, b.date) == ("", "", "")
    (line,) = found.left_out
    assert line.startswith("more than one structure set of a frame of reference: ")
    assert {p.group for p in scanned(tmp_path, naming=Naming(group="folder")).pairs} == {"qa"}


def test_ids_tell_no_patient_unless_asked(tmp_path):
    for folder in ("tps", "qa"):
        write_dose(tmp_path / folder / "a.dcm")
        write_dose(tmp_path / folder / "b.dcm", plan=OTHER_PLAN)
    key = tmp_path / "key"
    naming = Naming(key=str(key))
    ids = [pair.id for pair in scanned(tmp_path, naming=naming).pairs]
    assert ids == [pair.id for pair in scanned(tmp_path, naming=naming).pairs]
    assert key.stat().st_mode & 0o777 == 0o600
    assert set(ids).isdisjoint(pair.id for pair in scanned(tmp_path).pairs)
    assert not any("DOE" in identity for identity in ids)
    asked = scanned(tmp_path, naming=Naming(patient=True))
    assert [pair.id for pair in asked.pairs] == ["DOE-1", "DOE-2"]
    assert all(pair.date == pair.group == "" for pair in asked.pairs)


@pytest.mark.parametrize(
    ("patterns", "pairs", "left_out"),
    [
        (("{id}/plan.nrrd", "{id}/qa*.nrrd"), ["p1", "p2"], 1),
        (("{id}/plan.nrrd", "{id}/qa.nrrd"), ["p1"], 2),
        (("{group}/{id}_ref.nrrd", "{group}/{id}_{date}.nrrd"), ["x"], 0),
    ],
)
def test_patterns(patterns, pairs, left_out, tmp_path):
    for name in ("p1/plan.nrrd", "p1/qa.nrrd", "p2/plan.nrrd", "p2/qa-2.nrrd", "p3/plan.nrrd",
                 "Linac 1/x_ref.nrrd", "Linac 1/x_2026-04-01.nrrd"):  # fmt: skip
        (tmp_path / name).parent.mkdir(exist_ok=True)
        (tmp_path / name).touch()
    found = scan([str(tmp_path)], pattern=patterns)
    assert [pair.id for pair in found.pairs] == pairs
    assert len(found.left_out) == left_out
    if pairs == ["x"]:
        assert (found.pairs[0].group, found.pairs[0].date) == ("Linac 1", "2026-04-01")


@pytest.mark.parametrize(
    ("options", "complaint"),
    [
        ({}, "which of two doses is the reference takes"),
        ({"pattern": ("a", "{id}")}, '"a" has no {id}'),
        ({"pattern": ("{id}", "{id}{name}")}, '"{name}" is none of {id}, {group}, {date}'),
        ({"reference_from": ["."], "evaluation_from": ["."]}, "is both a reference and an evaluation"),
    ],
)
def test_refused(options, complaint, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    write_dose(tmp_path / "a.dcm")
    with pytest.raises(CohortError) as refusal:
        scan(["."], **options)
    assert complaint in str(refusal.value)


def test_program_writes_a_manifest_that_it_reads(tmp_path):
    for folder in ("tps", "qa"):
        write_dose(tmp_path / "in" / folder / "a.dcm")
    lonely = write_dose(tmp_path / "in/tps/b.dcm", plan=OTHER_PLAN)
    manifest = tmp_path / "out" / "manifest.csv"
    manifest.parent.mkdir()
    done = zarngi_cohort("scan", "--reference-from", tmp_path / "in/tps", "--evaluation-from",
                         tmp_path / "in/qa", "-o", manifest)  # fmt: skip
    assert (done.returncode, done.stdout) == (0, "")
    assert done.stderr == f"{lonely}: has no partner\n1 pair, 1 left out\n"
    assert ",../in/tps/a.dcm,../in/qa/a.dcm," in manifest.read_text()
    (pair,) = Manifest(manifest)
    assert zarngi.read(pair.reference).shape[0] == 2
    assert "DOE" not in manifest.read_text()
