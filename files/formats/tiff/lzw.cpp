#include "files/formats/tiff/lzw.h"

#include <algorithm>
#include <array>
#include <optional>

#include "files/error.h"

namespace files
{

namespace
{

constexpr unsigned clear = 256; ///< begins a new table
constexpr unsigned end = 257;   ///< of the codes
constexpr unsigned firstFree = 258;
constexpr unsigned narrowest = 9; ///< bits of a code
constexpr unsigned widest = 12;
constexpr unsigned tableSize = 1U << widest;

[[noreturn]] void refuseLzw()
{
    refuseDamaged("its values, packed by LZW, are damaged, or fewer or more than its grid needs");
}

/** The codes of a strip, the highest bit first. */
class Codes
{
public:
    explicit Codes(ByteView packed) : packed_(packed) {}

    /** None behind the last whole one. */
    std::optional<unsigned> next(unsigned width)
    {
        while (held_ < width) {
            if (taken_ == packed_.size()) {
                return {};
            }
            bits_ = bits_ << 8 | packed_[taken_++];
            held_ += 8;
        }
        held_ -= width;
        return bits_ >> held_ & ((1U << width) - 1);
    }

    /** Whether nothing but zeros follows, as some programs fill up. */
    bool isAtEnd() const
    {
        const ByteView rest = packed_.subspan(taken_);
        return (bits_ & ((1U << held_) - 1)) == 0 &&
               std::all_of(rest.begin(), rest.end(), [](unsigned char byte) { return byte == 0; });
    }

private:
    ByteView packed_;
    std::size_t taken_ = 0;
    std::uint32_t bits_ = 0; // the lowest `held_` of them are still to come
    unsigned held_ = 0;
};

/** Strings of bytes, each that of another code and one more. */
class Strings
{
public:
    explicit Strings(std::span<unsigned char> buffer) : buffer_(buffer) {}

    bool isFull() const { return made_ == buffer_.size(); }

    void begin()
    {
        next_ = firstFree;
        width_ = narrowest;
        previous_.reset();
    }

    unsigned width() const { return width_; }

    /** Writes the string of a code, and learns one: the last with the first byte of this. */
    void take(unsigned code)
    {
        const bool isNew = previous_ && code == next_;
        if (!isNew && (code >= next_ || (code >= clear && !previous_))) {
            refuseLzw();
        }
        const unsigned char first = firstOf(isNew ? *previous_ : code);
        if (previous_) {
            learn(*previous_, first);
        }
        write(code);
        previous_ = code;
    }

private:
    unsigned char firstOf(unsigned code) const
    {
        return code < clear ? static_cast<unsigned char>(code) : entries_[code].first;
    }

    std::size_t lengthOf(unsigned code) const { return code < clear ? 1 : entries_[code].length; }

    void learn(unsigned before, unsigned char last)
    {
        if (next_ == tableSize) {
            refuseLzw();
        }
        Entry& entry = entries_[next_++];
        entry.before = static_cast<std::uint16_t>(before);
        entry.length = static_cast<std::uint16_t>(lengthOf(before) + 1);
        entry.first = firstOf(before);
        entry.last = last;
        // Codes grow one entry before they have to.
        if (next_ + 1 == 1U << width_ && width_ < widest) {
            ++width_;
        }
    }

    void write(unsigned code)
    {
        const std::size_t length = lengthOf(code);
        if (length > buffer_.size() - made_) {
            refuseLzw();
        }
        made_ += length;
        for (std::size_t i = made_; length > 1 && code >= clear; code = entries_[code].before) {
            buffer_[--i] = entries_[code].last;
        }
        buffer_[made_ - length] = firstOf(code);
    }

    struct Entry {
        std::uint16_t before;
        std::uint16_t length;
        unsigned char first;
        unsigned char last;
    };

    std::span<unsigned char> buffer_;
    std::size_t made_ = 0;
    std::array<Entry, tableSize> entries_{};
    unsigned next_ = firstFree;
    unsigned width_ = narrowest;
    std::optional<unsigned> previous_;
};

} // namespace

std::uint64_t mostUnpackedLzw(std::uint64_t packedBytes)
{
    // A code has a bit more than a byte, and stands for a string of no more bytes than entries.
    return packedBytes * tableSize;
}

void unpackLzw(ByteView packed, std::span<unsigned char> buffer)
{
    Codes codes(packed);
    Strings strings(buffer);
    bool hasEnded = false;
    while (!hasEnded) {
        const std::optional<unsigned> code = codes.next(strings.width());
        if (!code) {
            break; // some programs write no end
        }
        hasEnded = code == end;
        if (code == clear) {
            strings.begin();
        } else if (!hasEnded) {
            strings.take(*code);
        }
    }
    if (!strings.isFull() || !codes.isAtEnd()) {
        refuseLzw();
    }
}

} // namespace files
