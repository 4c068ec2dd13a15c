// Values that stay in the block that their file was read into.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "files/error.h"
#include "files/storedValues.h"

using files::Bytes;
using files::ByteView;
using files::Contents;
using files::Scaling;
using files::ValueFormat;
using files::Values;
using Kind = files::ValueFormat::Kind;

namespace
{

constexpr std::size_t count = 1000;

/** Numbers of a format, whose bytes are those of small whole numbers. */
std::vector<unsigned char> stored(const ValueFormat& format)
{
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char raw[8] = {};
        const auto number = static_cast<float>(i);
        const auto precise = static_cast<double>(i);
        const bool isFloat = format.kind == Kind::floatingPoint;
        std::memcpy(raw, &i, sizeof(i));
        if (isFloat) {
            format.bytes == 4 ? std::memcpy(raw, &number, 4) : std::memcpy(raw, &precise, 8);
        }
        if (format.isBigEndian) {
            std::reverse(raw, raw + format.bytes);
        }
        bytes.insert(bytes.end(), raw, raw + format.bytes);
    }
    return bytes;
}

/** A block with so many bytes in front of those of the values, and some behind. */
Bytes blockOf(const std::vector<unsigned char>& values, std::size_t before, std::size_t behind)
{
    Bytes block(before + values.size() + behind);
    std::fill_n(block.data(), block.size(), static_cast<unsigned char>(0xA5));
    std::copy(values.begin(), values.end(), block.data() + before);
    return block;
}

struct Case {
    const char* name;
    ValueFormat format;
    Scaling scaling;
    std::size_t before;
    std::size_t behind;
    bool staysInBlock;
};

const Case cases[] = {
    {"a file of floats alone", {}, {}, 0, 0, true},
    {"behind a header of odd length", {}, {}, 225, 0, true},
    {"behind one of 352 bytes, with a line behind", {}, {}, 352, 1, true},
    {"closer to the beginning than floats lie", {}, {}, 3, 0, true},
    {"of the other byte order", {Kind::floatingPoint, 4, true}, {}, 101, 0, true},
    {"scaled", {}, {0.01, -3}, 64, 0, true},
    {"whole numbers of 32 bits", {Kind::unsignedInteger, 4, false}, {1e-3, 0}, 7, 0, true},
    {"shorter than floats", {Kind::unsignedInteger, 2, false}, {}, 8, 0, false},
    {"longer than floats", {Kind::floatingPoint, 8, false}, {}, 8, 0, false},
    {"a small part of its file", {}, {}, 3 * count, 0, false},
};

TEST(StoredValues, StayInABlockThatMayBeKept)
{
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const std::vector<unsigned char> bytes = stored(test.format);
        Bytes block = blockOf(bytes, test.before, test.behind);
        const unsigned char* const begin = block.data();
        const std::size_t size = block.size();
        const ByteView part(begin + test.before, bytes.size() + test.behind);
        const Values values = files::plainValues(Contents(Contents(block), part), test.format,
                                                 test.scaling, count, test.behind);
        ASSERT_EQ(values.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            const double expected =
                static_cast<double>(i) * test.scaling.slope + test.scaling.intercept;
            ASSERT_EQ(values[i], static_cast<float>(expected)) << i;
        }
        const auto* const first = reinterpret_cast<const unsigned char*>(values.data());
        EXPECT_EQ(first >= begin && first < begin + size, test.staysInBlock);
        EXPECT_EQ(block.size(), test.staysInBlock ? 0U : size);
        EXPECT_EQ(std::bit_cast<std::uintptr_t>(first) % alignof(float), 0U);
        EXPECT_TRUE(values.hasMargin());
    }
}

TEST(StoredValues, AreNotTakenFromABlockThatIsLentOrRefused)
{
    const ValueFormat format;
    Bytes block = blockOf(stored(format), 0, 0);
    const Values lent = files::plainValues(block.view(), format, {}, count);
    EXPECT_EQ(block.size(), count * sizeof(float));
    EXPECT_NE(static_cast<const void*>(lent.data()), block.data());
    EXPECT_THROW(files::plainValues(Contents(block), format, {}, count + 1), files::Refusal);
    EXPECT_EQ(block.size(), count * sizeof(float));
}

TEST(Values, InABlockAreCopiedWhereTheyAreSharedAndToBeChanged)
{
    Bytes block = blockOf(stored({}), 0, 0);
    Values values = Values::within(std::move(block), 0, count);
    const float* const place = values.data();
    values.own()[0] = 5;
    EXPECT_EQ(values.data(), place);
    Values copy = values;
    copy.own()[0] = 7;
    EXPECT_EQ(values[0], 5);
    EXPECT_EQ(copy[0], 7);
}

} // namespace
