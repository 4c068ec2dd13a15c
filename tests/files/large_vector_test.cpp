// Vectors as large as a grid.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <numeric>

#include "files/bytes.h"
#include "files/largeVector.h"
#include "files/values.h"
#include "lib/largePages.h"

using files::LargeVector;

namespace
{

/** Below, at and above the size from which blocks are of large pages. */
constexpr std::size_t sizes[] = {
    1, 1000, zarngi::largePage / sizeof(float) - files::blockMargin / sizeof(float) - 1,
    zarngi::largePage / sizeof(float) - files::blockMargin / sizeof(float),
    3 * zarngi::largePage / sizeof(float) + 7};

TEST(LargeVector, HasAMarginBehindAllItHolds)
{
    for (const std::size_t size : sizes) {
        LargeVector<float> values(size, 1.5F);
        // A check of addresses sees what is not the block's.
        std::fill_n(values.data() + size, files::blockMargin / sizeof(float), 7.0F);
        EXPECT_EQ(std::count(values.begin(), values.end(), 1.5F),
                  static_cast<std::ptrdiff_t>(size));
    }
}

TEST(LargeVector, GrowsAndMovesAsOthersDo)
{
    for (const std::size_t size : sizes) {
        LargeVector<std::uint32_t> numbers;
        for (std::uint32_t i = 0; i < size; ++i) {
            numbers.push_back(i);
        }
        const LargeVector<std::uint32_t> copy = numbers;
        const std::uint32_t* const place = numbers.data();
        const LargeVector<std::uint32_t> moved = std::move(numbers);
        EXPECT_EQ(moved.data(), place);
        EXPECT_EQ(moved, copy);
        EXPECT_EQ(moved.back(), size - 1);
    }
}

TEST(LargeVector, BeginsAtALargePageWhereItFillsOne)
{
    const LargeVector<float> values(zarngi::largePage);
    const auto address = reinterpret_cast<std::uintptr_t>(values.data());
    EXPECT_TRUE(!zarngi::hasLargePages || address % zarngi::largePage == 0);
}

TEST(LargeVector, AbsurdInputIsRefused)
{
    constexpr std::uint64_t most = std::numeric_limits<std::size_t>::max();
    EXPECT_THROW(files::Bytes{most}, std::bad_alloc);
    EXPECT_THROW(files::Bytes{most / 2}, std::bad_alloc);
    EXPECT_THROW(files::takeBlock(most / 4), std::bad_alloc);
}

TEST(Values, ThatAreLentAreCopiedOnceTheyAreToBeChanged)
{
    const std::vector<float> given{1, 2, 3};
    files::Values values = files::Values::lent(given);
    EXPECT_EQ(values.data(), given.data());
    EXPECT_FALSE(values.hasMargin());
    values.own()[1] = 5;
    EXPECT_TRUE(values.hasMargin());
    EXPECT_EQ(std::vector<float>(values.begin(), values.end()), (std::vector<float>{1, 5, 3}));
    EXPECT_EQ(given[1], 2);
}

TEST(Values, ThatAreCopiedShareTheirMemoryUntilTheyAreChanged)
{
    files::Values values(files::LargeVector<float>{1, 2, 3});
    const float* const first = values.data();
    files::Values copy = values;
    EXPECT_EQ(copy.data(), first);
    EXPECT_TRUE(copy.hasMargin());
    copy.own()[1] = 5;
    EXPECT_EQ(values[1], 2);
    EXPECT_EQ(copy[1], 5);
    values.own()[0] = 7; // alone again: in place
    EXPECT_EQ(values.data(), first);
    const files::Values other = values;
    const files::Values taken = std::move(values);
    EXPECT_TRUE(values.empty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(taken[0], 7);
    EXPECT_EQ(other.data(), first);
    EXPECT_EQ(other[0], 7);
}

} // namespace
