/**
 * @file pixels.h
 * The stored values of DICOM images of one sample per pixel.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_PIXELS_H
#define ZARNGI_FILES_FORMATS_DICOM_PIXELS_H

#include <cstddef>

#include "files/formats/dicom/file.h"
#include "files/host.h"
#include "files/values.h"

namespace files
{

/** How one value is stored. */
struct DicomPixelFormat {
    unsigned bits = 0;       ///< 8, 16 or 32
    unsigned bitsStored = 0; ///< the low ones, 1 to `bits`
    bool isSigned = false;
};

/** @throws Refusal for a format that is not told, or another than these. */
DicomPixelFormat dicomPixelFormat(const DicomValues& values);

/**
 * The values times a factor, unpacked where they are packed, frame by frame. What else the file
 * says is to be read before: the values may stay in its block.
 * @param voxels of all frames together; from 1 to 2^31 - 1, a multiple of `frames`.
 * @throws Refusal when there are fewer or more values, when they are damaged, need more bits than
 * their format tells, or are packed in a way that neither this library nor the host knows.
 */
Values dicomPixels(const DicomFile& file, const DicomPixelFormat& format, std::size_t voxels,
                   std::size_t frames, double factor, const Host& host);

} // namespace files

#endif
