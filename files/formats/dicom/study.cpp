#include "files/formats/dicom/study.h"

#include <string_view>

#include "files/fileFormat.h"
#include "files/formats/dicom/file.h"
#include "files/formats/dicom/texts.h"
#include "files/namedFile.h"
#include "files/toldResult.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag sopClass{0x00080016, "SOP Class UID"};
constexpr DicomTag sopInstance{0x00080018, "SOP Instance UID"};
constexpr DicomTag studyDate{0x00080020, "Study Date"};
constexpr DicomTag studyTime{0x00080030, "Study Time"};
constexpr DicomTag accessionNumber{0x00080050, "Accession Number"};
constexpr DicomTag referringPhysician{0x00080090, "Referring Physician's Name"};
constexpr DicomTag referencedClass{0x00081150, "Referenced SOP Class UID"};
constexpr DicomTag referencedInstance{0x00081155, "Referenced SOP Instance UID"};
constexpr DicomTag patientName{0x00100010, "Patient's Name"};
constexpr DicomTag patientId{0x00100020, "Patient ID"};
constexpr DicomTag patientBirthDate{0x00100030, "Patient's Birth Date"};
constexpr DicomTag patientSex{0x00100040, "Patient's Sex"};
constexpr DicomTag studyInstance{0x0020000D, "Study Instance UID"};
constexpr DicomTag studyId{0x00200010, "Study ID"};
constexpr DicomTag frameOfReference{0x00200052, "Frame of Reference UID"};
constexpr DicomTag positionReference{0x00201040, "Position Reference Indicator"};
constexpr DicomTag referencedPlans{0x300C0002, "Referenced RT Plan Sequence"};
} // namespace tags

constexpr std::string_view planClass = "1.2.840.10008.5.1.4.1.1.481.5";
constexpr std::string_view ionPlanClass = "1.2.840.10008.5.1.4.1.1.481.8";

void takePlan(DicomStudy& study, const DicomValues& values)
{
    const std::string sopClass = values.text(tags::sopClass);
    if (sopClass == planClass || sopClass == ionPlanClass) {
        study.plan = values.text(tags::sopInstance);
        study.planClass = sopClass;
        return;
    }
    forEachDicomItem(values, tags::referencedPlans, [&study](const DicomValues& item) {
        if (study.plan.empty()) {
            study.plan = item.text(tags::referencedInstance);
            study.planClass = item.text(tags::referencedClass);
        }
    });
}

DicomStudy studyOf(const DicomFile& file)
{
    const DicomValues values = file.values();
    DicomTexts texts(values);
    DicomStudy study;
    const auto person = [&](const DicomTag& tag) {
        return texts.text(values, tag, DicomTextKind::personName);
    };
    study.patientName = person(tags::patientName);
    study.referringPhysician = person(tags::referringPhysician);
    study.patientId = texts.text(values, tags::patientId);
    study.id = texts.text(values, tags::studyId);
    study.accessionNumber = texts.text(values, tags::accessionNumber);
    study.positionReference = texts.text(values, tags::positionReference);
    study.patientBirthDate = values.text(tags::patientBirthDate);
    study.patientSex = values.text(tags::patientSex);
    study.instance = values.text(tags::studyInstance);
    study.date = values.text(tags::studyDate);
    study.time = values.text(tags::studyTime);
    study.frameOfReference = values.text(tags::frameOfReference);
    takePlan(study, values);
    return study;
}

} // namespace

/** It has no messages. */
static void tell(DicomStudy& /*study*/, bool /*quotes*/)
{
}

Result<DicomStudy> readStudyFile(const std::string& path, const Host& host)
{
    return toldResultOf(host, [&] {
        NamedFile file(path, host);
        constexpr const char* whatItIs = "DICOM file";
        const ByteView contents = file.read(whatItIs, [](ByteView) {});
        if (identifiedFormat(contents, host.deflate, whatItIs) != FileFormat::dicom) {
            refuseForeign("is no DICOM file");
        }
        return studyOf(openDicomFile(contents, host.deflate));
    });
}

} // namespace files
