/**
 * @file encodeDose.h
 * A grid of values in, the bytes of a DICOM RT Dose out.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_ENCODEDOSE_H
#define ZARNGI_FILES_FORMATS_DICOM_ENCODEDOSE_H

#include <string>

#include "files/bytes.h"
#include "files/doseImage.h"
#include "files/error.h"
#include "files/formats/dicom/study.h"

namespace files
{

/** What an RT Dose says of its values. */
struct RtDoseFacts {
    bool isRelative = false; ///< Dose Units of RELATIVE, else GY
    bool isDifference =
        false;               ///< Dose Type ERROR, signed; else PHYSICAL, where no value is below 0
    std::string comment;     ///< the first 64 bytes of it are told
    std::string version;     ///< of the program that writes it
    std::string sopInstance; ///< UID
    std::string seriesInstance;
    DicomStudy study; ///< with the UIDs of study, frame of reference and plan
};

/**
 * An RT Dose in explicit little endian, of 32 bits a value, with the smallest Dose Grid Scaling of
 * 16 characters that holds the largest value: what is read back differs by half a step of it at
 * most. Values that are not finite are 0.
 * @param image at most 65535 voxels along x and y.
 */
Result<Bytes> encodeRtDose(const Image& image, const RtDoseFacts& facts);

} // namespace files

#endif
