#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "comparison/doseExtremes.h"

namespace
{

TEST(DoseExtremes, FirstOfTheLargest)
{
    const zarngi::Geometry geometry{{3, 2, 2}, {2, 3, 4}, {-10, 20, 5}};
    struct Case {
        files::LargeVector<float> doses;
        double minimum, maximum;
        std::array<int, 3> index;
        zarngi::Vec3 position;
    };
    for (const Case& expected :
         {Case{{5, 1, 2, 3, 4, 5, 5, 0.5, 5, 5, 5, 5}, 0.5, 5, {0, 0, 0}, {-10, 20, 5}},
          {{0, 1, 2, 3, 4, 5, 6, 7, 8, 7, 9, -1}, -1, 9, {1, 1, 1}, {-8, 23, 9}},
          {{-3, -3, -2, -3, -3, -2, -2, -3, -3, -3, -3, -3}, -3, -2, {2, 0, 0}, {-6, 20, 5}},
          {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0, 1, {2, 1, 1}, {-6, 23, 9}}}) {
        const zarngi::DoseExtremes extremes = zarngi::doseExtremes({geometry, expected.doses});
        EXPECT_EQ(extremes.minimum, expected.minimum);
        EXPECT_EQ(extremes.maximum, expected.maximum);
        EXPECT_EQ(extremes.maximumIndex, expected.index);
        EXPECT_EQ(extremes.maximumPosition, expected.position);
    }
}

/** Wherever they lie among pieces that are looked at together, and several times. */
TEST(DoseExtremes, AreThoseOfTheStandardLibrary)
{
    std::mt19937 random(7);
    for (const int size : {1, 31, 33, 4095, 4096, 4097, 8192, 20011}) {
        for (const int values : {2, 40, 1000000}) {
            files::LargeVector<float> doses(static_cast<std::size_t>(size));
            std::uniform_int_distribution<int> value(-values, values);
            std::generate(doses.begin(), doses.end(),
                          [&] { return static_cast<float>(value(random)); });
            const auto least = *std::min_element(doses.begin(), doses.end());
            const auto most = std::max_element(doses.begin(), doses.end());
            const int index = static_cast<int>(most - doses.begin());
            const auto largest = static_cast<double>(*most);
            const zarngi::DoseExtremes extremes =
                zarngi::doseExtremes({{{size, 1, 1}, {1, 1, 1}, {0, 0, 0}}, std::move(doses)});
            EXPECT_EQ(extremes.minimum, static_cast<double>(least));
            EXPECT_EQ(extremes.maximum, largest);
            EXPECT_EQ(extremes.maximumIndex[0], index) << size << ' ' << values;
        }
    }
}

} // namespace
