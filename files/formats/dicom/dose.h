/**
 * @file dose.h
 * DICOM RT Dose files.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_DOSE_H
#define ZARNGI_FILES_FORMATS_DICOM_DOSE_H

#include "files/doseImage.h"
#include "files/formats/dicom/file.h"
#include "files/host.h"

namespace files
{

/** Reads a DICOM RT Dose; one frame is a plane. @throws Refusal */
DoseImage readDicomDose(const DicomFile& file, const Host& host);

} // namespace files

#endif
