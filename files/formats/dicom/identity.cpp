#include "files/formats/dicom/identity.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "files/text.h"

namespace files
{

namespace tags
{
namespace
{
constexpr DicomTag manufacturer{0x00080070, "Manufacturer"};
constexpr DicomTag seriesDescription{0x0008103E, "Series Description"};
constexpr DicomTag patientName{0x00100010, "Patient's Name"};
constexpr DicomTag patientId{0x00100020, "Patient ID"};
constexpr DicomTag patientBirthDate{0x00100030, "Patient's Birth Date"};
constexpr DicomTag frameOfReference{0x00200052, "Frame of Reference UID"};
constexpr DicomTag doseType{0x30040004, "Dose Type"};
constexpr DicomTag doseComment{0x30040006, "Dose Comment"};
constexpr DicomTag summationType{0x3004000A, "Dose Summation Type"};
constexpr DicomTag planLabel{0x300A0002, "RT Plan Label"};
constexpr DicomTag sopInstance{0x00080018, "SOP Instance UID"};
} // namespace
} // namespace tags

DicomIdentity dicomIdentity(const DicomValues& values, DicomTexts& texts)
{
    const auto text = [&](const DicomTag& tag) { return texts.text(values, tag); };
    DicomIdentity identity;
    identity.modality = text(dicomTags::modality);
    identity.summationType = text(tags::summationType);
    identity.doseType = text(tags::doseType);
    identity.planLabel = text(tags::planLabel);
    identity.seriesDescription = text(tags::seriesDescription);
    identity.doseComment = text(tags::doseComment);
    identity.manufacturer = text(tags::manufacturer);
    identity.frameOfReference = text(tags::frameOfReference);
    identity.sopInstance = text(tags::sopInstance);
    identity.patientName = texts.text(values, tags::patientName, DicomTextKind::personName);
    identity.patientId = text(tags::patientId);
    identity.patientBirthDate = text(tags::patientBirthDate);
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
