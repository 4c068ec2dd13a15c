#include <gtest/gtest.h>

#include "comparison/doseExtremes.h"

namespace
{

TEST(DoseExtremes, FirstOfTheLargest)
{
    const zarngi::Geometry geometry{{3, 2, 2}, {2, 3, 4}, {-10, 20, 5}};
    struct Case {
        std::vector<float> doses;
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

} // namespace
