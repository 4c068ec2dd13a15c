/**
 * @file bytes.h
 * The contents of files in memory, and the numbers in them.
 */
#ifndef ZARNGI_FILES_BYTES_H
#define ZARNGI_FILES_BYTES_H

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <string_view>

#include "files/largeVector.h"

namespace files
{

using ByteView = std::span<const unsigned char>;

/** A block of bytes, not set to anything when it is made. */
class Bytes
{
public:
    Bytes() = default;
    Bytes(Bytes&&) = default;
    Bytes& operator=(Bytes&&) = default;
    /** @throws std::bad_alloc, also for more than this machine can address */
    explicit Bytes(std::uint64_t size) : bytes_(addressable(size)) {}

    unsigned char* data() { return bytes_.data(); }
    std::size_t size() const { return bytes_.size(); }
    std::span<unsigned char> buffer() { return bytes_; }
    ByteView view() const { return bytes_; }
    /** Forgets the bytes behind the first `size` ones. */
    void shorten(std::size_t size) { bytes_.resize(std::min(bytes_.size(), size)); }

private:
    static std::size_t addressable(std::uint64_t size)
    {
        if (size > std::numeric_limits<std::size_t>::max() / 2) {
            throw std::bad_alloc();
        }
        return static_cast<std::size_t>(size);
    }

    LargeVector<unsigned char> bytes_;
};

inline std::string_view asText(ByteView bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/** At most `count` bytes from a position on, none behind the end. */
inline ByteView part(ByteView bytes, std::uint64_t position,
                     std::size_t count = static_cast<std::size_t>(-1))
{
    const auto start = static_cast<std::size_t>(std::min(position, std::uint64_t{bytes.size()}));
    return bytes.subspan(start, std::min(count, bytes.size() - start));
}

/** The number that begins at `position`, which must lie inside. */
template <class Number>
Number numberAt(const unsigned char* bytes, std::size_t position, bool isBigEndian)
{
    static_assert(std::endian::native == std::endian::little);
    std::array<unsigned char, sizeof(Number)> raw{};
    std::memcpy(raw.data(), bytes + position, sizeof(Number));
    if (isBigEndian) {
        std::reverse(raw.begin(), raw.end());
    }
    return std::bit_cast<Number>(raw);
}

} // namespace files

#endif
