/**
 * @file values.h
 * The values of a TIFF of one channel, out of the strips or tiles in which they are stored.
 */
#ifndef ZARNGI_FILES_FORMATS_TIFF_VALUES_H
#define ZARNGI_FILES_FORMATS_TIFF_VALUES_H

#include "files/deflate.h"
#include "files/formats/tiff/directory.h"

namespace files
{

/** What a TIFF tells of the values of its image. */
struct TiffImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned bytes = 0; ///< of a value: 2 or 4
};

/**
 * All values, row by row, little endian.
 * @param image whose size has been checked to be sensible.
 * @throws Refusal when they are packed in a way that is not known, damaged, fewer or more
 */
Bytes tiffValues(const TiffDirectory& directory, const TiffImage& image, const Deflate& deflate);

} // namespace files

#endif
