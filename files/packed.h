/**
 * @file packed.h
 * gzip and zlib streams: their framing, and every length and checksum in it verified.
 */
#ifndef ZARNGI_FILES_PACKED_H
#define ZARNGI_FILES_PACKED_H

#include <cstdint>
#include <span>

#include "files/bytes.h"
#include "files/deflate.h"

namespace files
{

/** Whether the bytes begin like a gzip stream (RFC 1952). */
bool isGzip(ByteView bytes);

/** The largest number of bytes that so many packed ones can hold. */
std::uint64_t mostUnpacked(std::size_t packedBytes);

/**
 * Unpacks a zlib stream (RFC 1950) or the members of a gzip file, which must fill the buffer and
 * end with it; zeros may follow the last member, as tools leave them out.
 * @throws Refusal when a checksum is wrong, or the data are damaged, too short or too long.
 */
void unpackInto(std::span<unsigned char> buffer, ByteView packed, const Deflate& deflate);

/**
 * Unpacks what unpackInto() takes where its length is not known, to at most `most` bytes.
 * @throws Refusal when a checksum is wrong, or the data are damaged, too short or too long.
 */
Bytes unpackAll(ByteView packed, const Deflate& deflate, std::uint64_t most);

/** The first `most` bytes, or fewer where the data end or are damaged; nothing is verified. */
Bytes unpackBeginning(ByteView packed, const Deflate& deflate, std::size_t most);

/** One raw DEFLATE stream of at most `most` bytes, as DICOM has it. @throws Refusal */
Bytes unpackRaw(ByteView packed, const Deflate& deflate, std::uint64_t most);

/** A gzip file of one member, without a name or time. */
Bytes packGzip(ByteView plain, const Deflate& deflate);

/** A zlib stream. */
Bytes packZlib(ByteView plain, const Deflate& deflate);

} // namespace files

#endif
