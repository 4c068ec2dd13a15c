#include "files/formats/dicom/study.h"

#include <utility>

#include "files/fileFormat.h"
#include "files/formats/dicom/file.h"
#include "files/formats/dicom/identity.h"
#include "files/formats/dicom/texts.h"
#include "files/namedFile.h"
#include "files/toldResult.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag studyDate{0x00080020, "Study Date"};
constexpr DicomTag studyTime{0x00080030, "Study Time"};
constexpr DicomTag accessionNumber{0x00080050, "Accession Number"};
constexpr DicomTag referringPhysician{0x00080090, "Referring Physician's Name"};
constexpr DicomTag patientSex{0x00100040, "Patient's Sex"};
constexpr DicomTag studyInstance{0x0020000D, "Study Instance UID"};
constexpr DicomTag studyId{0x00200010, "Study ID"};
constexpr DicomTag positionReference{0x00201040, "Position Reference Indicator"};
} // namespace tags

void takePlan(DicomStudy& study, const DicomValues& values)
{
    const std::string sopClass = values.text(dicomTags::sopClass);
    if (sopClass == dicomClasses::plan || sopClass == dicomClasses::ionPlan) {
        study.plan = values.text(dicomTags::sopInstance);
        study.planClass = sopClass;
        return;
    }
    forEachDicomItem(values, dicomTags::referencedPlans, [&study](const DicomValues& item) {
        if (study.plan.empty()) {
            DicomReference plan = dicomReference(item);
            study.plan = std::move(plan.sopInstance);
            study.planClass = std::move(plan.sopClass);
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
    study.patientName = person(dicomTags::patientName);
    study.referringPhysician = person(tags::referringPhysician);
    study.patientId = texts.text(values, dicomTags::patientId);
    study.id = texts.text(values, tags::studyId);
    study.accessionNumber = texts.text(values, tags::accessionNumber);
    study.positionReference = texts.text(values, tags::positionReference);
    study.patientBirthDate = values.text(dicomTags::patientBirthDate);
    study.patientSex = values.text(tags::patientSex);
    study.instance = values.text(tags::studyInstance);
    study.date = values.text(tags::studyDate);
    study.time = values.text(tags::studyTime);
    study.frameOfReference = values.text(dicomTags::frameOfReference);
    takePlan(study, values);
    return study;
}

constexpr const char* whatItIs = "DICOM file";

DicomStudy readBytes(ByteView file, const Deflate& deflate)
{
    if (identifiedFormat(file, deflate, whatItIs) != FileFormat::dicom) {
        refuseForeign("is no DICOM file");
    }
    return studyOf(openDicomFile(file, deflate));
}

} // namespace

/** It has no messages. */
static void tell(DicomStudy& /*study*/, bool /*quotes*/)
{
}

Result<DicomStudy> readStudy(ByteView file, const Host& host)
{
    return toldResultOf(host, [&] { return readBytes(file, host.deflate); });
}

Result<DicomStudy> readStudyFile(const std::string& path, const Host& host)
{
    return toldResultOf(host, [&] {
        Host unwatched = host; // who reads it for its doses watches them
        unwatched.watch = nullptr;
        NamedFile file(path, unwatched);
        return readBytes(file.read(whatItIs, [](ByteView) {}).bytes, host.deflate);
    });
}

} // namespace files
