#include "files/storedValues.h"

#include <charconv>
#include <cstring>
#include <type_traits>
#include <utility>

#include "files/decimal.h"
#include "files/error.h"
#include "files/packed.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Calls `use` with a value of the type that the format tells. */
template <class Use> auto withType(const ValueFormat& format, const Use& use)
{
    const bool isFloat = format.kind == ValueFormat::Kind::floatingPoint;
    const bool isUnsigned = format.kind == ValueFormat::Kind::unsignedInteger;
    switch (format.bytes) {
    case 1:
        return isUnsigned ? use(std::uint8_t{}) : use(std::int8_t{});
    case 2:
        return isUnsigned ? use(std::uint16_t{}) : use(std::int16_t{});
    case 4:
        return isFloat ? use(float{}) : isUnsigned ? use(std::uint32_t{}) : use(std::int32_t{});
    default:
        return isFloat ? use(double{}) : isUnsigned ? use(std::uint64_t{}) : use(std::int64_t{});
    }
}

template <class Number> float scaled(Number value, const Scaling& scaling)
{
    return static_cast<float>(static_cast<double>(value) * scaling.slope + scaling.intercept);
}

/** From the first to the last: values may stand where they are read from, or before. */
template <class Number, bool isBigEndian, bool isScaled>
void convert(ByteView bytes, const Scaling& scaling, std::span<float> values)
{
    const unsigned char* const start = bytes.data();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto value = numberAt<Number>(start, i * sizeof(Number), isBigEndian);
        values[i] = isScaled ? scaled(value, scaling) : static_cast<float>(value);
    }
}

template <class Number, bool isBigEndian>
void convertOrdered(ByteView bytes, const Scaling& scaling, std::span<float> values)
{
    if (scaling.isNone()) {
        convert<Number, isBigEndian, false>(bytes, scaling, values);
    } else {
        convert<Number, isBigEndian, true>(bytes, scaling, values);
    }
}

void convertInto(std::span<float> values, ByteView bytes, const ValueFormat& format,
                 const Scaling& scaling)
{
    withType(format, [&](auto type) {
        using Number = decltype(type);
        if (format.isBigEndian) {
            convertOrdered<Number, true>(bytes, scaling, values);
        } else {
            convertOrdered<Number, false>(bytes, scaling, values);
        }
    });
}

LargeVector<float> converted(ByteView bytes, const ValueFormat& format, const Scaling& scaling,
                             std::size_t count)
{
    LargeVector<float> values(count);
    convertInto(values, bytes, format, scaling);
    return values;
}

/** Whether the bytes are the floats that memory holds. */
bool isAsInMemory(const ValueFormat& format, const Scaling& scaling)
{
    return format.kind == ValueFormat::Kind::floatingPoint && format.bytes == sizeof(float) &&
           !format.isBigEndian && scaling.isNone();
}

/** Whether the values can stand in the block, which then holds little beside them. */
bool fitsBlock(const Contents& contents, const ValueFormat& format, std::size_t count)
{
    constexpr std::size_t mostBeside = 8; // of which the values are as many times as large
    return contents.block != nullptr && format.bytes == sizeof(float) &&
           contents.block->size() - bytesOf(format, count) <= contents.block->size() / mostBeside;
}

/**
 * The block with the values in it, in front of where they were stored: at the last place there
 * where vectors of the search do not lie across two lines of a cache more often than in a block of
 * their own.
 */
Values inBlock(const Contents& contents, const ValueFormat& format, const Scaling& scaling,
               std::size_t count)
{
    Bytes block = std::move(*contents.block);
    const auto stored = static_cast<std::size_t>(contents.bytes.data() - block.data());
    constexpr std::size_t line = 64;
    const std::size_t first = stored / line * line;
    if (!isAsInMemory(format, scaling)) {
        convertInto({reinterpret_cast<float*>(block.data() + first), count}, contents.bytes, format,
                    scaling);
    } else if (stored != first) {
        std::memmove(block.data() + first, contents.bytes.data(), count * sizeof(float));
    }
    return Values::within(std::move(block), first, count);
}

[[noreturn]] void refuseCount(const char* what, std::uint64_t needed, std::size_t there)
{
    refuseDamaged(std::string(what) + ", or its header lies: its grid needs " + grouped(needed) +
                  " bytes of values, the file has " + grouped(there));
}

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/** The next word, which is taken off the text; empty at its end. */
std::string_view takeWord(std::string_view& text)
{
    const auto* const start = std::find_if_not(text.begin(), text.end(), isBlank);
    const auto* const end = std::find_if(start, text.end(), isBlank);
    const std::string_view word = text.substr(static_cast<std::size_t>(start - text.begin()),
                                              static_cast<std::size_t>(end - start));
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    return word;
}

template <class Number> std::from_chars_result fromText(std::string_view text, Number& value)
{
    const char* const end = text.data() + text.size();
    if constexpr (std::is_floating_point_v<Number>) {
        return fromDecimal(text.data(), end, value);
    } else {
        return std::from_chars(text.data(), end, value);
    }
}

template <class Number> Number parsed(std::string_view word)
{
    std::string_view digits = word;
    if (digits.starts_with('+') && !digits.starts_with("+-")) {
        digits.remove_prefix(1);
    }
    Number value{};
    const auto [end, error] = fromText(digits, value);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        refuseDamaged("has a value of \"" + excerpt(word) + "\", which is no number of its type");
    }
    return value;
}

} // namespace

std::uint64_t bytesOf(const ValueFormat& format, std::size_t count)
{
    return std::uint64_t{count} * format.bytes;
}

void checkBytes(ByteView bytes, std::uint64_t needed, std::size_t padding)
{
    if (bytes.size() < needed) {
        refuseCount("is cut short", needed, bytes.size());
    }
    if (bytes.size() > needed + padding) {
        refuseCount("holds more than its grid", needed, bytes.size());
    }
}

Values plainValues(const Contents& contents, const ValueFormat& format, const Scaling& scaling,
                   std::size_t count, std::size_t padding)
{
    checkBytes(contents.bytes, bytesOf(format, count), padding);
    return fitsBlock(contents, format, count) ? inBlock(contents, format, scaling, count)
                                              : converted(contents.bytes, format, scaling, count);
}

LargeVector<float> packedValues(ByteView packed, const Deflate& deflate, const ValueFormat& format,
                                const Scaling& scaling, std::size_t count)
{
    const std::uint64_t needed = bytesOf(format, count);
    if (mostUnpacked(packed.size()) < needed) {
        refuseCount("is cut short", needed, packed.size());
    }
    if (isAsInMemory(format, scaling)) {
        LargeVector<float> values(count);
        unpackInto({reinterpret_cast<unsigned char*>(values.data()), count * sizeof(float)}, packed,
                   deflate);
        return values;
    }
    Bytes bytes(needed);
    unpackInto(bytes.buffer(), packed, deflate);
    return converted(bytes.view(), format, scaling, count);
}

LargeVector<float> writtenValues(std::string_view text, const ValueFormat& format,
                                 const Scaling& scaling, std::size_t count)
{
    if (text.size() / 2 + 1 < count) { // a digit and a blank each
        refuseDamaged("is cut short, or its header lies: its grid needs " + grouped(count) +
                      " values, the file has fewer");
    }
    LargeVector<float> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view word = takeWord(text);
        if (word.empty()) {
            refuseDamaged("is cut short, or its header lies: its grid needs " + grouped(count) +
                          " values, the file has " + grouped(i));
        }
        values[i] = withType(format, [&](auto type) {
            const auto value = parsed<decltype(type)>(word);
            return scaling.isNone() ? static_cast<float>(value) : scaled(value, scaling);
        });
    }
    if (!takeWord(text).empty()) {
        refuseDamaged("holds more than its grid, or its header lies: its grid needs " +
                      grouped(count) + " values");
    }
    return values;
}

} // namespace files
