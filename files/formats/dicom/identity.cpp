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

DicomIdentity dicomIdentity(const DicomValues& values)
{
    DicomIdentity identity;
    identity.modality = values.text(dicomTags::modality);
    identity.summationType = values.text(tags::summationType);
    identity.doseType = values.text(tags::doseType);
    identity.planLabel = values.text(tags::planLabel);
    identity.seriesDescription = values.text(tags::seriesDescription);
    identity.doseComment = values.text(tags::doseComment);
    identity.manufacturer = values.text(tags::manufacturer);
    identity.frameOfReference = values.text(tags::frameOfReference);
    identity.sopInstance = values.text(tags::sopInstance);
    identity.patientName = values.text(tags::patientName);
    identity.patientId = values.text(tags::patientId);
    identity.patientBirthDate = values.text(tags::patientBirthDate);
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
