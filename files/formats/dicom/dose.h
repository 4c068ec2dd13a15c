/**
 * @file dose.h
 * DICOM RT Dose files.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_DOSE_H
#define ZARNGI_FILES_FORMATS_DICOM_DOSE_H

#include "files/readDose.h"

namespace files
{

/** Reads a DICOM RT Dose, packed by gzip or not. @throws Refusal */
DoseImage readDicomDose(ByteView file, const Host& host);

} // namespace files

#endif
