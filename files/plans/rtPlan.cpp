#include "files/plans/rtPlan.h"

#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/formats/dicom/file.h"
#include "files/formats/dicom/identity.h"
#include "files/formats/dicom/texts.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag planName{0x300A0003, "RT Plan Name"};
constexpr DicomTag planDescription{0x300A0004, "RT Plan Description"};
constexpr DicomTag planDate{0x300A0006, "RT Plan Date"};
constexpr DicomTag relationship{0x300A0055, "RT Plan Relationship"};
constexpr DicomTag doseReferences{0x300A0010, "Dose Reference Sequence"};
constexpr DicomTag doseReferenceDescription{0x300A0016, "Dose Reference Description"};
constexpr DicomTag doseReferenceType{0x300A0020, "Dose Reference Type"};
constexpr DicomTag prescriptionDose{0x300A0026, "Target Prescription Dose"};
constexpr DicomTag fractionGroups{0x300A0070, "Fraction Group Sequence"};
constexpr DicomTag fractionsPlanned{0x300A0078, "Number of Fractions Planned"};
constexpr DicomTag beams{0x300A00B0, "Beam Sequence"};
constexpr DicomTag machineName{0x300A00B2, "Treatment Machine Name"};
constexpr DicomTag beamNumber{0x300A00C0, "Beam Number"};
constexpr DicomTag beamName{0x300A00C2, "Beam Name"};
constexpr DicomTag deliveryType{0x300A00CE, "Treatment Delivery Type"};
constexpr DicomTag controlPoints{0x300A0111, "Control Point Sequence"};
constexpr DicomTag isocentre{0x300A012C, "Isocenter Position"};
constexpr DicomTag ionBeams{0x300A03A2, "Ion Beam Sequence"};
constexpr DicomTag ionControlPoints{0x300A03A8, "Ion Control Point Sequence"};
constexpr DicomTag approvalStatus{0x300E0002, "Approval Status"};
constexpr DicomTag reviewDate{0x300E0004, "Review Date"};
constexpr DicomTag reviewerName{0x300E0008, "Reviewer Name"};
} // namespace tags

constexpr std::string_view radiationSetStorage = "1.2.840.10008.5.1.4.1.1.481.12";

/** Packed files unpack to no more. */
constexpr std::uint64_t mostUnpackedBytes = std::uint64_t{256} << 20;

constexpr double farthestIsocentre = 1e6; // mm

bool isPlanObject(const DicomFile& file)
{
    return isDicomObject(file, dicomClasses::plan, "RTPLAN") ||
           isDicomObject(file, dicomClasses::ionPlan, "RTPLAN");
}

void checkIsPlan(const DicomFile& file)
{
    if (isPlanObject(file)) {
        return;
    }
    if (isDicomObject(file, radiationSetStorage, "RTRAD")) {
        refuseUnsupported("is a DICOM RT Radiation Set, which is not read (read are RT Plans and "
                          "RT Ion Plans)");
    }
    refuseForeign("is DICOM but no RT Plan (modality " +
                  toldModality(file.values().text(dicomTags::modality)) + ")");
}

Vec3 isocentreOf(const DicomValues& controlPoint)
{
    const std::vector<double> numbers = controlPoint.numbers(tags::isocentre, 3);
    for (const double coordinate : numbers) {
        if (!(std::fabs(coordinate) <= farthestIsocentre)) {
            refuseDamaged("has an Isocenter Position with a coordinate of " +
                          number(coordinate, 9) + " mm");
        }
    }
    return {numbers[0], numbers[1], numbers[2]};
}

/**
 * Of the plans that a plan refers to those that it came after; others stand beside it. None where
 * they cannot be read: nothing that is told of the plan depends on them.
 */
std::vector<std::string> originsOf(const DicomValues& file)
{
    const auto origins = resultOf([&] {
        std::vector<std::string> list;
        forEachDicomItem(file, dicomTags::referencedPlans, [&list](const DicomValues& item) {
            const std::string relationship = item.text(tags::relationship);
            if (relationship == "VERIFIED_PLAN" || relationship == "PREDECESSOR") {
                list.push_back(dicomReference(item).sopInstance);
            }
        });
        return list;
    });
    return origins ? *origins : std::vector<std::string>();
}

/** Puts a plan together; what it says of a patient is nothing but its name and number. */
class PlanReader
{
public:
    explicit PlanReader(const DicomValues& file) : file_(file), texts_(file) {}

    Plan read()
    {
        plan_.format = file_.has(tags::ionBeams) ? "DICOM RT Ion Plan" : "DICOM RT Plan";
        readTexts();
        forEachDicomItem(file_, tags::doseReferences,
                         [this](const DicomValues& item) { addPrescription(item); });
        forEachDicomItem(file_, tags::fractionGroups,
                         [this](const DicomValues& group) { addFractions(group); });
        for (const DicomTag& sequence : {tags::beams, tags::ionBeams}) {
            forEachDicomItem(file_, sequence, [this](const DicomValues& beam) { addBeam(beam); });
        }
        plan_.origins = originsOf(file_);
        plan_.warnings = texts_.warnings();
        return std::move(plan_);
    }

private:
    std::string text(const DicomTag& tag) { return texts_.text(file_, tag); }

    void readTexts()
    {
        plan_.sopInstance = text(dicomTags::sopInstance);
        plan_.frameOfReference = text(dicomTags::frameOfReference);
        plan_.patientName = texts_.text(file_, dicomTags::patientName, DicomTextKind::personName);
        plan_.patientId = text(dicomTags::patientId);
        plan_.label = text(dicomTags::planLabel);
        plan_.name = text(tags::planName);
        plan_.description = text(tags::planDescription);
        plan_.seriesDescription = text(dicomTags::seriesDescription);
        plan_.date = text(tags::planDate);
        plan_.approval = text(tags::approvalStatus);
        plan_.reviewDate = text(tags::reviewDate);
        plan_.reviewer = texts_.text(file_, tags::reviewerName, DicomTextKind::personName);
    }

    void addPrescription(const DicomValues& item)
    {
        const bool isOfTarget = texts_.text(item, tags::doseReferenceType) != "ORGAN_AT_RISK";
        if (!isOfTarget || !item.has(tags::prescriptionDose)) {
            return;
        }
        const double dose = item.number(tags::prescriptionDose);
        if (!(dose >= 0)) {
            refuseDamaged("has a Target Prescription Dose of " + number(dose));
        }
        plan_.prescriptions.push_back({dose, texts_.text(item, tags::doseReferenceDescription)});
    }

    void addFractions(const DicomValues& group)
    {
        if (!group.has(tags::fractionsPlanned)) {
            return;
        }
        const std::int32_t count = group.wholeNumber(tags::fractionsPlanned);
        if (count < 0) {
            refuseDamaged("has a Number of Fractions Planned of " + std::to_string(count));
        }
        plan_.fractions.push_back(count);
    }

    void addBeam(const DicomValues& item)
    {
        PlanBeam beam;
        beam.number = item.wholeNumber(tags::beamNumber);
        const bool isThere =
            std::any_of(plan_.beams.begin(), plan_.beams.end(),
                        [&](const PlanBeam& other) { return other.number == beam.number; });
        if (isThere) {
            refuseDamaged("has two beams of the Beam Number " + std::to_string(beam.number));
        }
        beam.name = texts_.text(item, tags::beamName);
        beam.machine = texts_.text(item, tags::machineName);
        const std::string type = item.text(tags::deliveryType);
        beam.isTreatment = type.empty() || type == "TREATMENT" || type == "CONTINUATION";
        for (const DicomTag& sequence : {tags::controlPoints, tags::ionControlPoints}) {
            forEachDicomItem(item, sequence,
                             [&](const DicomValues& point) { addIsocentre(beam, point); });
        }
        plan_.beams.push_back(std::move(beam));
    }

    static void addIsocentre(PlanBeam& beam, const DicomValues& controlPoint)
    {
        if (!controlPoint.has(tags::isocentre)) {
            return;
        }
        const Vec3 place = isocentreOf(controlPoint);
        std::vector<Vec3>& places = beam.isocentres;
        if (std::find(places.begin(), places.end(), place) == places.end()) {
            places.push_back(place);
        }
    }

    DicomValues file_;
    DicomTexts texts_;
    Plan plan_;
};

} // namespace

Plan readRtPlan(ByteView bytes, const Deflate& deflate)
{
    const DicomFile file = openDicomFile(bytes, deflate, mostUnpackedBytes);
    checkIsPlan(file);
    return PlanReader(file.values()).read();
}

bool isRtPlan(ByteView file, const Deflate& deflate)
{
    constexpr std::size_t beginning = 1 << 16;
    const auto answer =
        resultOf([&] { return isPlanObject(openDicomBeginning(file, deflate, beginning)); });
    return answer && *answer;
}

} // namespace files
