/**
 * @file deflate.h
 * The one thing that readers and writers are handed: a codec of raw DEFLATE streams (RFC 1951).
 *
 * Hosts have different ones, a browser another than a program. Framing (gzip, zlib) is the readers'
 * own, so that what counts as damaged does not depend on the host.
 */
#ifndef ZARNGI_FILES_DEFLATE_H
#define ZARNGI_FILES_DEFLATE_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "files/bytes.h"
#include "files/checksum.h"

namespace files
{

/** What became of a raw DEFLATE stream. */
struct Unpacked {
    enum class Status {
        ended,  ///< the stream has ended within the buffer
        full,   ///< the buffer is full, the stream goes on
        damaged ///< no DEFLATE stream, or cut short
    };

    Status status = Status::damaged;
    std::size_t taken = 0; ///< bytes of the stream up to its end; of Status::ended only
    std::size_t made = 0;  ///< bytes in the buffer; of Status::ended only
};

/** A host's codec. Its functions are called by several threads at once, and throw bad_alloc only.
 */
struct Deflate {
    /**
     * Unpacks a whole stream; what follows behind its end is not looked at. What is in the buffer
     * of a stream that has not ended is not used.
     */
    Unpacked (*unpack)(ByteView packed, std::span<unsigned char> buffer);
    /** Unpacks the beginning of a stream into the buffer, or less; tells how many bytes it made. */
    std::size_t (*unpackBeginning)(ByteView packed, std::span<unsigned char> buffer);
    /** Packs into one stream. */
    Bytes (*pack)(ByteView plain);
    /** The checksums of checksum.h, which a host may compute faster. */
    std::uint32_t (*crc32)(ByteView bytes) = files::crc32;
    std::uint32_t (*adler32)(ByteView bytes) = files::adler32;
};

} // namespace files

#endif
