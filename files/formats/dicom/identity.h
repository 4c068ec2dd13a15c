/**
 * @file identity.h
 * What DICOM files say about themselves.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_IDENTITY_H
#define ZARNGI_FILES_FORMATS_DICOM_IDENTITY_H

#include <string>

#include "files/doseImage.h"
#include "files/formats/dicom/texts.h"
#include "files/formats/dicom/values.h"

namespace files
{

namespace dicomTags
{
inline constexpr DicomTag modality{0x00080060, "Modality"};
}

DicomIdentity dicomIdentity(const DicomValues& values, DicomTexts& texts);

/** A modality for a message; those of DICOM are no excerpts that might be left out. */
std::string toldModality(const std::string& modality);

} // namespace files

#endif
