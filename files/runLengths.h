/**
 * @file runLengths.h
 * Bytes packed by the lengths of their runs, as DICOM (PS3.5, annex G) and TIFF (PackBits) have it.
 */
#ifndef ZARNGI_FILES_RUNLENGTHS_H
#define ZARNGI_FILES_RUNLENGTHS_H

#include <cstdint>

#include "files/bytes.h"

namespace files
{

/** Where the bytes go: every `stride`-th place from `first` on. */
struct RunTarget {
    unsigned char* first;
    std::size_t stride;
    std::size_t count;
};

/** The largest number of bytes that so many packed ones can hold. */
std::uint64_t mostUnpackedRuns(std::uint64_t packedBytes);

/**
 * Unpacks as many bytes as the target takes, behind which nothing but padding may come.
 * @param what is packed, for a refusal: "a frame". @throws Refusal when there are fewer or more
 */
void unpackRuns(ByteView packed, const RunTarget& target, const char* what);

} // namespace files

#endif
