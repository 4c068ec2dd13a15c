/**
 * @file identity.h
 * What DICOM files say about themselves.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_IDENTITY_H
#define ZARNGI_FILES_FORMATS_DICOM_IDENTITY_H

#include <string>
#include <string_view>

#include "files/doseImage.h"
#include "files/formats/dicom/file.h"
#include "files/formats/dicom/texts.h"
#include "files/formats/dicom/values.h"

namespace files
{

namespace dicomTags
{
inline constexpr DicomTag sopClass{0x00080016, "SOP Class UID"};
inline constexpr DicomTag sopInstance{0x00080018, "SOP Instance UID"};
inline constexpr DicomTag modality{0x00080060, "Modality"};
inline constexpr DicomTag seriesDescription{0x0008103E, "Series Description"};
inline constexpr DicomTag patientName{0x00100010, "Patient's Name"};
inline constexpr DicomTag patientId{0x00100020, "Patient ID"};
inline constexpr DicomTag patientBirthDate{0x00100030, "Patient's Birth Date"};
inline constexpr DicomTag frameOfReference{0x00200052, "Frame of Reference UID"};
inline constexpr DicomTag planLabel{0x300A0002, "RT Plan Label"};
inline constexpr DicomTag referencedPlans{0x300C0002, "Referenced RT Plan Sequence"};
inline constexpr DicomTag referencedBeams{0x300C0004, "Referenced Beam Sequence"};
inline constexpr DicomTag referencedBeam{0x300C0006, "Referenced Beam Number"};
} // namespace dicomTags

/** The classes of treatment plans. */
namespace dicomClasses
{
inline constexpr std::string_view plan = "1.2.840.10008.5.1.4.1.1.481.5";
inline constexpr std::string_view ionPlan = "1.2.840.10008.5.1.4.1.1.481.8";
} // namespace dicomClasses

/** Another object, by its UIDs; empty where an item does not tell them. */
struct DicomReference {
    std::string sopClass;
    std::string sopInstance;
};

/** What an item refers to. @throws Refusal */
DicomReference dicomReference(const DicomValues& item);

/** Whether the file says by its classes or its modality that it is such an object. */
bool isDicomObject(const DicomFile& file, std::string_view storage, std::string_view modality);

DicomIdentity dicomIdentity(const DicomValues& values, DicomTexts& texts);

/** A modality for a message; those of DICOM are no excerpts that might be left out. */
std::string toldModality(const std::string& modality);

} // namespace files

#endif
