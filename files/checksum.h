/**
 * @file checksum.h
 * The checksums of packed data.
 */
#ifndef ZARNGI_FILES_CHECKSUM_H
#define ZARNGI_FILES_CHECKSUM_H

#include <cstdint>

#include "files/bytes.h"

namespace files
{

/** CRC-32 as gzip has it (RFC 1952, section 8). */
std::uint32_t crc32(ByteView bytes);

/** Adler-32 as zlib has it (RFC 1950, section 8.2). */
std::uint32_t adler32(ByteView bytes);

} // namespace files

#endif
