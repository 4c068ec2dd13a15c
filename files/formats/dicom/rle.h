/**
 * @file rle.h
 * The run-length code of DICOM (PS3.5, annex G).
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_RLE_H
#define ZARNGI_FILES_FORMATS_DICOM_RLE_H

#include <span>

#include "files/bytes.h"

namespace files
{

/**
 * Unpacks one frame of values of one sample.
 * @param frame its header and as many segments as a value has bytes, most significant first.
 * @param bytesPerValue 1 to 15.
 * @param values memory for all values of the frame, which become little endian.
 * @throws Refusal when the frame is damaged, or holds fewer or more values.
 */
void unpackRleFrame(ByteView frame, unsigned bytesPerValue, std::span<unsigned char> values);

} // namespace files

#endif
