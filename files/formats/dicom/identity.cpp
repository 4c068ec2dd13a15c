#include "files/formats/dicom/identity.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace tags
{
namespace
{
constexpr DicomTag metaSopClass{0x00020002, "Media Storage SOP Class UID"};
constexpr DicomTag manufacturer{0x00080070, "Manufacturer"};
constexpr DicomTag doseType{0x30040004, "Dose Type"};
constexpr DicomTag doseComment{0x30040006, "Dose Comment"};
constexpr DicomTag summationType{0x3004000A, "Dose Summation Type"};
constexpr DicomTag referencedInstances{0x0008114A, "Referenced Instance Sequence"};
constexpr DicomTag referencedClass{0x00081150, "Referenced SOP Class UID"};
constexpr DicomTag referencedInstance{0x00081155, "Referenced SOP Instance UID"};
constexpr DicomTag referencedFractionGroups{0x300C0020, "Referenced Fraction Group Sequence"};
constexpr DicomTag referencedDoses{0x300C0080, "Referenced Dose Sequence"};
} // namespace
} // namespace tags

namespace
{

/** The plan, and the beams of it that alone are meant. @throws Refusal */
ReferencedPlan referencedPlan(const DicomValues& item)
{
    ReferencedPlan plan;
    plan.sopInstance = dicomReference(item).sopInstance;
    forEachDicomItem(item, tags::referencedFractionGroups, [&](const DicomValues& group) {
        forEachDicomItem(group, dicomTags::referencedBeams, [&](const DicomValues& beam) {
            plan.beams.push_back(beam.wholeNumber(dicomTags::referencedBeam));
        });
    });
    return plan;
}

/** None where they cannot be read: doses do not depend on them. */
std::vector<ReferencedPlan> referencedPlans(const DicomValues& values)
{
    const auto plans = resultOf([&] {
        std::vector<ReferencedPlan> list;
        forEachDicomItem(values, dicomTags::referencedPlans, [&list](const DicomValues& item) {
            list.push_back(referencedPlan(item));
        });
        return list;
    });
    return plans ? *plans : std::vector<ReferencedPlan>();
}

/** The objects that a dose was derived from, among them doses; none where they cannot be read. */
std::vector<std::string> originsOf(const DicomValues& values)
{
    const auto origins = resultOf([&] {
        std::vector<std::string> list;
        for (const DicomTag& sequence : {tags::referencedInstances, tags::referencedDoses}) {
            forEachDicomItem(values, sequence, [&list](const DicomValues& item) {
                list.push_back(dicomReference(item).sopInstance);
            });
        }
        return list;
    });
    return origins ? *origins : std::vector<std::string>();
}

} // namespace

DicomReference dicomReference(const DicomValues& item)
{
    return {item.text(tags::referencedClass), item.text(tags::referencedInstance)};
}

bool isDicomObject(const DicomFile& file, std::string_view storage, std::string_view modality)
{
    const DicomValues values = file.values();
    return values.text(dicomTags::sopClass) == storage ||
           file.metaValues().text(tags::metaSopClass) == storage ||
           values.text(dicomTags::modality) == modality;
}

DicomIdentity dicomIdentity(const DicomValues& values, DicomTexts& texts)
{
    const auto text = [&](const DicomTag& tag) { return texts.text(values, tag); };
    DicomIdentity identity;
    identity.modality = text(dicomTags::modality);
    identity.summationType = text(tags::summationType);
    identity.doseType = text(tags::doseType);
    identity.planLabel = text(dicomTags::planLabel);
    identity.seriesDescription = text(dicomTags::seriesDescription);
    identity.doseComment = text(tags::doseComment);
    identity.manufacturer = text(tags::manufacturer);
    identity.frameOfReference = text(dicomTags::frameOfReference);
    identity.sopInstance = text(dicomTags::sopInstance);
    identity.patientName = texts.text(values, dicomTags::patientName, DicomTextKind::personName);
    identity.patientId = text(dicomTags::patientId);
    identity.patientBirthDate = text(dicomTags::patientBirthDate);
    identity.plans = referencedPlans(values);
    identity.origins = originsOf(values);
    return identity;
}

std::string toldModality(const std::string& modality)
{
    static constexpr std::array<std::string_view, 17> known = {
        "CR",  "CT",     "DX",      "KO",     "MR",       "NM",       "OT",  "PR", "PT",
        "REG", "RTDOSE", "RTIMAGE", "RTPLAN", "RTRECORD", "RTSTRUCT", "SEG", "US"};
    if (modality.empty()) {
        return "unknown";
    }
    const bool isKnown = std::find(known.begin(), known.end(), modality) != known.end();
    return isKnown ? modality : excerpt(modality);
}

} // namespace files
