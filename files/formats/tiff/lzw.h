/**
 * @file lzw.h
 * Values packed by the LZW code of TIFF (revision 6.0, section 13).
 */
#ifndef ZARNGI_FILES_FORMATS_TIFF_LZW_H
#define ZARNGI_FILES_FORMATS_TIFF_LZW_H

#include <cstdint>
#include <span>

#include "files/bytes.h"

namespace files
{

/** The largest number of bytes that so many packed ones can hold. */
std::uint64_t mostUnpackedLzw(std::uint64_t packedBytes);

/** Fills the buffer. @throws Refusal when the packed bytes are damaged, fewer or more */
void unpackLzw(ByteView packed, std::span<unsigned char> buffer);

} // namespace files

#endif
