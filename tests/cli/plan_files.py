"""RT Plans for the tests, and doses that refer to them, written by a library other than the program's."""

import pydicom
from pydicom.dataset import Dataset, FileMetaDataset
from pydicom.sequence import Sequence
from pydicom.uid import ExplicitVRLittleEndian

RT_PLAN = "1.2.840.10008.5.1.4.1.1.481.5"


def item(**elements):
    data = Dataset()
    for keyword, value in elements.items():
        setattr(data, keyword, value)
    return data


def _beam(number, name, isocentre, kind="TREATMENT"):
    points = [item(ControlPointIndex=0, IsocenterPosition=list(isocentre)), item(ControlPointIndex=1)]
    return item(BeamNumber=number, BeamName=name, TreatmentMachineName="LINAC 1", TreatmentDeliveryType=kind,
                ControlPointSequence=Sequence(points))  # fmt: skip


def write_plan(path, uid="1.2.77.1", patient="secret-id", **elements):
    """Two arcs and a picture of the set-up, 60 Gy in 30 fractions; elements replace those of the plan."""
    meta = FileMetaDataset()
    meta.MediaStorageSOPClassUID = RT_PLAN
    meta.MediaStorageSOPInstanceUID = uid
    meta.TransferSyntaxUID = ExplicitVRLittleEndian
    data = item(
        SOPClassUID=RT_PLAN, SOPInstanceUID=uid, Modality="RTPLAN", PatientName="Secret^Patient", PatientID=patient,
        RTPlanLabel="HN 60", RTPlanName="left", RTPlanDate="20261126", ApprovalStatus="APPROVED",
        ReviewDate="20261127", ReviewerName="Physicist^Ada", SeriesDescription="plans",
        DoseReferenceSequence=Sequence([
            item(DoseReferenceType="TARGET", DoseReferenceDescription="PTV", TargetPrescriptionDose=60),
            item(DoseReferenceType="ORGAN_AT_RISK", TargetPrescriptionDose=20),
        ]),
        FractionGroupSequence=Sequence([item(FractionGroupNumber=1, NumberOfFractionsPlanned=30)]),
        BeamSequence=Sequence([_beam(1, "arc", (0, -10.5, 20)), _beam(2, "back", (0, -10.5, 20)),
                               _beam(3, "kV", (9, 9, 9), "SETUP")]),
    )  # fmt: skip
    for keyword, value in elements.items():
        setattr(data, keyword, value)
    data.file_meta = meta
    data.is_little_endian, data.is_implicit_VR = True, False
    data.save_as(str(path), write_like_original=False)
    return path


def refer(path, uid, beams=()):
    """Makes a dose one of a plan, or of some of its beams."""
    data = pydicom.dcmread(path)
    plan = item(ReferencedSOPClassUID=RT_PLAN, ReferencedSOPInstanceUID=uid)
    if beams:
        numbers = Sequence([item(ReferencedBeamNumber=number) for number in beams])
        plan.ReferencedFractionGroupSequence = Sequence([item(ReferencedBeamSequence=numbers)])
    data.ReferencedRTPlanSequence = Sequence([plan])
    data.save_as(path)
    return path


def relate(path, uid, relationship):
    """Makes a plan one that stands in a relationship to another plan."""
    data = pydicom.dcmread(path)
    plan = item(ReferencedSOPClassUID=RT_PLAN, ReferencedSOPInstanceUID=uid, RTPlanRelationship=relationship)
    data.ReferencedRTPlanSequence = Sequence([plan])
    data.save_as(path)
    return path


def derive(path, origin, sequence="ReferencedInstanceSequence"):
    """Makes a dose one that was derived from another dose."""
    data, other = pydicom.dcmread(path), pydicom.dcmread(origin)
    reference = item(ReferencedSOPClassUID=other.SOPClassUID, ReferencedSOPInstanceUID=other.SOPInstanceUID)
    setattr(data, sequence, Sequence([reference]))
    data.save_as(path)
    return path


def plant(path, text):
    """Writes a text where DICOM files have texts of patient and plan."""
    data = pydicom.dcmread(path)
    for keyword in ("PatientName", "SeriesDescription", "StudyDescription", "DoseComment", "RTPlanLabel",
                    "RTPlanName", "RTPlanDescription", "StructureSetLabel", "StructureSetName",
                    "ReviewerName", "Manufacturer"):  # fmt: skip
        setattr(data, keyword, text)
    for beam in data.get("BeamSequence", []):
        beam.BeamName = beam.TreatmentMachineName = text
    data.save_as(path)
    return path
