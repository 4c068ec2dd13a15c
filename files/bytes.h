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
#include <memory>
#include <span>
#include <string_view>

namespace files
{

using ByteView = std::span<const unsigned char>;

/** A block of bytes, not set to anything when it is made. */
class Bytes
{
public:
    Bytes() = default;
    /** @throws std::bad_alloc */
    explicit Bytes(std::size_t size)
        : bytes_(std::make_unique_for_overwrite<unsigned char[]>(size)), size_(size)
    {
    }

    unsigned char* data() { return bytes_.get(); }
    std::size_t size() const { return size_; }
    std::span<unsigned char> room() { return {bytes_.get(), size_}; }
    ByteView view() const { return {bytes_.get(), size_}; }
    /** Forgets the bytes behind the first `size` ones. */
    void shorten(std::size_t size) { size_ = std::min(size_, size); }

private:
    std::unique_ptr<unsigned char[]> bytes_;
    std::size_t size_ = 0;
};

inline std::string_view asText(ByteView bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/** At most `count` bytes from a position on, none behind the end. */
inline ByteView part(ByteView bytes, std::size_t position,
                     std::size_t count = static_cast<std::size_t>(-1))
{
    const std::size_t start = std::min(position, bytes.size());
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
