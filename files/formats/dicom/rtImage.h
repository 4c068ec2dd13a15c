/**
 * @file rtImage.h
 * DICOM RT Images that hold doses.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_RTIMAGE_H
#define ZARNGI_FILES_FORMATS_DICOM_RTIMAGE_H

#include "files/doseImage.h"
#include "files/formats/dicom/file.h"
#include "files/host.h"

namespace files
{

bool isDicomRtImage(const DicomFile& file);

/**
 * Reads an RT Image whose Rescale Type is Gy, cGy or CU: a plane of the image receptor, x to the
 * right and y up as seen from the source. Its place is known where the file tells the isocentre and
 * the gantry angle of a head-first supine patient on a couch that is not turned, and the image
 * plane is that of the isocentre.
 * @throws Refusal
 */
DoseImage readDicomRtImage(const DicomFile& file, const Host& host);

} // namespace files

#endif
