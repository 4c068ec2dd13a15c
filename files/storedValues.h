/**
 * @file storedValues.h
 * The values of a grid as a file stores them.
 */
#ifndef ZARNGI_FILES_STOREDVALUES_H
#define ZARNGI_FILES_STOREDVALUES_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/values.h"

namespace files
{

/** How one value is written. */
struct ValueFormat {
    enum class Kind { unsignedInteger, signedInteger, floatingPoint };

    Kind kind = Kind::floatingPoint;
    unsigned bytes = 4; ///< 1, 2, 4 or 8; of a floating-point number 4 or 8
    bool isBigEndian = false;
};

/** dose = slope * value + intercept, in double precision and rounded once. */
struct Scaling {
    double slope = 1;
    double intercept = 0;

    bool isNone() const { return slope == 1 && intercept == 0; }
};

/** Bytes of so many values, on machines of any word length. */
std::uint64_t bytesOf(const ValueFormat& format, std::size_t count);

/** @throws Refusal when the bytes are fewer than needed, or more by other than `padding`. */
void checkBytes(ByteView bytes, std::uint64_t needed, std::size_t padding = 0);

/**
 * The `count` values that fill the bytes. A block that may be kept is taken, and holds them, where
 * they are as long as floats and most of it.
 * @throws Refusal when the bytes are fewer, or more by other than `padding` of them.
 */
Values plainValues(const Contents& contents, const ValueFormat& format, const Scaling& scaling,
                   std::size_t count, std::size_t padding = 0);

/**
 * The `count` values in a gzip or zlib stream. @throws Refusal when it is damaged, or holds fewer
 * or more; before memory is allocated for values that cannot be there.
 */
LargeVector<float> packedValues(ByteView packed, const Deflate& deflate, const ValueFormat& format,
                                const Scaling& scaling, std::size_t count);

/**
 * The `count` values written as text with blanks between them.
 * @throws Refusal when they are fewer or more, or one is no number of the format.
 */
LargeVector<float> writtenValues(std::string_view text, const ValueFormat& format,
                                 const Scaling& scaling, std::size_t count);

} // namespace files

#endif
