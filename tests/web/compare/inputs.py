"""Makes the files that the tests of the comparing page drop and choose: inputs.py FOLDER."""

import dataclasses
import pathlib
import sys

import numpy
import pydicom
from pydicom.dataset import FileMetaDataset
from pydicom.uid import CTImageStorage, ExplicitVRLittleEndian, generate_uid

for room in ("cli", "files"):
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / room))
import doses  # noqa: E402
import plan_files  # noqa: E402
import segmentations  # noqa: E402
import structure_files  # noqa: E402
import variants_film  # noqa: E402


def write_slice(path, number):
    """A slice of the planning image: DICOM that is no dose."""
    meta = FileMetaDataset()
    meta.MediaStorageSOPClassUID = CTImageStorage
    meta.MediaStorageSOPInstanceUID = generate_uid()
    meta.TransferSyntaxUID = ExplicitVRLittleEndian
    data = pydicom.FileDataset(str(path), {}, file_meta=meta, preamble=b"\0" * 128)
    data.is_little_endian, data.is_implicit_VR = True, False
    data.SOPClassUID = CTImageStorage
    data.SOPInstanceUID = meta.MediaStorageSOPInstanceUID
    data.Modality = "CT"
    data.InstanceNumber = number
    data.Rows = data.Columns = 2
    data.BitsAllocated = 16
    data.PixelData = bytes(8)
    data.save_as(str(path), write_like_original=False)


def write_structures(path):
    heights = numpy.arange(11, 40, 3.0)
    return structure_files.write_structure_set(
        path,
        {
            "PTV1": structure_files.box((-10, 12), (-8, 8), heights),
            "CORD": structure_files.box((-18, -12), (-12, -4), heights),
        },
        frame="1.2.3.4",
    )


def write_uncertainty(path, dose):
    """Two hundredths of each dose, in gray."""
    doses.write_nrrd(path, dataclasses.replace(dose, values=dose.values * numpy.float32(0.02)))


def write_mask(path, dose):
    labels = numpy.zeros(dose.values.shape)
    labels[3:8, 4:10, 5:11] = 1
    return structure_files.write_label_mask(path, dose, labels)


def write_segments(path, dose):
    """Two of DICOM, of which one lies in the other."""
    high = dose.values > 0.5 * dose.values.max()
    masks = {1: high, 2: high & (numpy.arange(high.shape[2]) < 9)}
    names = {1: "high", 2: "half"}
    path.write_bytes(segmentations.contents(masks, names=names, spacing=dose.spacing, origin=dose.origin))


def write_pairs(folder):
    reference, evaluation = doses.pair()
    for name, dose in (("reference", reference), ("evaluation", evaluation)):
        doses.write_nrrd(folder / f"{name}.nrrd", dose, encoding="gzip")
        doses.write_mha(folder / f"{name}.mha", dose)
        doses.write_mhd(folder / f"{name}.mhd", dose)
        doses.write_nifti(folder / f"{name}.nii.gz", dose)
        doses.write_dicom(folder / f"{name}.dcm", dose)
    write_structures(folder / "structures.dcm")
    write_mask(folder / "mask.nrrd", reference)
    write_uncertainty(folder / "uncertainty.nrrd", reference)
    (folder / "points.csv").write_text("x,y,z,dose\n0,0,20,1.5\n3,0,20,1.4\n0,3,20,1.6\n")
    (folder / "film.tif").write_bytes(variants_film.tiff(reference.values[4]))
    write_segments(folder / "segments.dcm", reference)
    plan_files.write_plan(folder / "plan.dcm")
    (folder / "notes.txt").write_text("no dose at all")
    damaged = (folder / "reference.nrrd").read_bytes()
    (folder / "damaged.nrrd").write_bytes(damaged[: len(damaged) * 2 // 3])
    mhd = (folder / "reference.mhd").read_text("latin-1")
    (folder / "lonely.mhd").write_text(mhd.replace("reference.raw", "nowhere.raw"), "latin-1")


def write_mixed(folder):
    """Forty files: three doses, a structure set, a pair of files, slices and others."""
    (folder / "image").mkdir(parents=True)
    reference, evaluation = doses.pair()
    for name, dose, summation in (
        ("RD.1", reference, "PLAN"), ("RD.2", evaluation, "BEAM"), ("RD.3", evaluation, "PLAN"),
    ):
        style = doses.DicomStyle(elements={"DoseSummationType": summation})
        doses.write_dicom(folder / f"{name}.dcm", dose, style)
    write_structures(folder / "RS.dcm")
    doses.write_mhd(folder / "measured.mhd", evaluation)
    for number in range(32):
        write_slice(folder / "image" / f"CT{number:02}.dcm", number)
    (folder / "readme.txt").write_text("exported")
    (folder / "plan.pdf").write_bytes(b"%PDF-1.4")


def write_related(folder):
    """Pairs of which the second came before the first, as nothing but their elements tells; and some of neither."""

    def pair(name, plans=("1.2.77.2", "1.2.77.1"), summations=("PLAN", "PLAN")):
        (folder / name).mkdir(parents=True)
        paths = [folder / name / "first.dcm", folder / name / "second.dcm"]
        for path, dose, plan, summation in zip(paths, doses.pair(), plans, summations):
            doses.write_dicom(path, dose, doses.DicomStyle(elements={"DoseSummationType": summation}))
            plan_files.refer(path, plan)
        return paths

    for relationship in ("VERIFIED_PLAN", "PREDECESSOR", "ALTERNATIVE"):
        pair(relationship)
        plan = plan_files.write_plan(folder / relationship / "x.dcm", "1.2.77.2")
        plan_files.relate(plan, "1.2.77.1", relationship)
    for name in ("ReferencedInstanceSequence", "ReferencedDoseSequence"):
        plan_files.derive(*pair(name), name)
    first, second = pair("each-other")
    plan_files.derive(first, second)
    plan_files.derive(second, first)
    pair("recorded", ("1.2.77.1", "1.2.77.1"), ("RECORD", "PLAN"))
    pair("recorded-of-another", summations=("RECORD", "PLAN"))


def write_planted(folder):
    """A pair with plan and structures whose names and elements hold a name."""
    folder.mkdir()
    name = "Mustermann"
    for role, dose in zip(("reference", "evaluation"), doses.pair()):
        path = doses.write_dicom(folder / f"{name}-{role}.dcm", dose)
        plan_files.plant(plan_files.refer(path, "1.2.77.1"), name)
    plan_files.plant(plan_files.write_plan(folder / f"{name}-plan.dcm"), name)
    plan_files.plant(write_structures(folder / f"{name}-structures.dcm"), name)
    write_mask(folder / f"{name}-mask.nrrd", doses.pair()[0])


def write_patient(folder, number):
    """What a planning system exports of a patient: a plan and its dose, a recomputed dose, structures."""
    folder.mkdir(parents=True)
    plan, patient = f"1.2.77.{number}", f"patient-{number}"
    shift = 0.5 * number
    for name, dose in (("RD.planned.dcm", doses.blob()), ("RD.recomputed.dcm", doses.blob(shift, scale=1.01))):
        style = doses.DicomStyle(elements={"DoseSummationType": "PLAN", "PatientID": patient})
        plan_files.refer(doses.write_dicom(folder / name, dose, style), plan)
    plan_files.write_plan(folder / "RP.dcm", plan, patient, RTPlanLabel=f"HN {number}")
    data = pydicom.dcmread(write_structures(folder / "RS.dcm"))
    data.PatientID = patient
    data.save_as(folder / "RS.dcm")


if __name__ == "__main__":
    target = pathlib.Path(sys.argv[1])
    target.mkdir(parents=True, exist_ok=True)
    write_pairs(target)
    write_mixed(target / "mixed")
    write_related(target / "related")
    write_planted(target / "planted")
    write_patient(target / "patients" / "first", 1)
    write_patient(target / "patients" / "second", 2)
