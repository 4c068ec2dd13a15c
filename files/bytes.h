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
#include <memory>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "files/largeVector.h"

namespace files
{

using ByteView = std::span<const unsigned char>;

/** Gives back a block of so many bytes. */
struct BlockGiver {
    std::size_t taken = 0;

    void operator()(unsigned char* block) const noexcept { giveBlock(block, taken); }
};

/** A block of bytes, not set to anything when it is made. */
class Bytes
{
public:
    Bytes() = default;
    Bytes(Bytes&& other) noexcept { *this = std::move(other); }
    Bytes& operator=(Bytes&& other) noexcept
    {
        size_ = std::exchange(other.size_, 0);
        block_ = std::move(other.block_);
        return *this;
    }
    ~Bytes() = default;
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
    /** @throws std::bad_alloc, also for more than this machine can address */
    explicit Bytes(std::uint64_t size) : size_(addressable(size))
    {
        if (size_ > 0) {
            block_ = {static_cast<unsigned char*>(takeBlock(size_)), BlockGiver{size_}};
        }
    }

    unsigned char* data() { return block_.get(); }
    const unsigned char* data() const { return block_.get(); }
    std::size_t size() const { return size_; }
    std::span<unsigned char> buffer() { return {block_.get(), size_}; }
    ByteView view() const { return {block_.get(), size_}; }
    /** Forgets the bytes behind the first `size` ones. */
    void shorten(std::size_t size) { size_ = std::min(size_, size); }

private:
    static std::size_t addressable(std::uint64_t size)
    {
        if (size > std::numeric_limits<std::size_t>::max() / 2) {
            throw std::bad_alloc();
        }
        return static_cast<std::size_t>(size);
    }

    std::unique_ptr<unsigned char[], BlockGiver> block_;
    std::size_t size_ = 0;
};

/** What a reader is given of a file, and the block that it may keep, since nobody needs it. */
struct Contents {
    ByteView bytes;
    Bytes* block = nullptr; ///< that holds them; empty where they are lent

    Contents(ByteView lent) : bytes(lent) {}
    explicit Contents(Bytes& given) : bytes(given.view()), block(&given) {}
    /** @param bytes some of those of `whole` */
    Contents(const Contents& whole, ByteView some) : bytes(some), block(whole.block) {}
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
