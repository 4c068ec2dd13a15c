#include <gtest/gtest.h>

#include "comparison/failedSides.h"

using zarngi::CentreDoses;
using zarngi::DoseView;
using zarngi::Geometry;
using zarngi::Image;
using zarngi::placeOf;
using zarngi::viewOf;

namespace
{

constexpr unsigned char no = 0;     // failed
constexpr unsigned char yes = 1;    // passed
constexpr unsigned char none = 255; // not tested

Image lineOf(double spacing, double origin, files::LargeVector<float> doses)
{
    return {{{static_cast<int>(doses.size()), 1, 1}, {spacing, 1, 1}, {origin, 0, 0}},
            std::move(doses)};
}

TEST(FailedSides, OnlyFailedVoxelsCount)
{
    const Image reference = lineOf(2, 10, {1, 1, 1, 1, 1});
    const Image evaluation = lineOf(2, 10, {2, 2, 0, 1, 2});
    const std::vector<unsigned char> passed = {no, yes, no, no, none};
    const auto sides = failedSides(CentreDoses(viewOf(reference), viewOf(evaluation)), passed);
    EXPECT_EQ(sides.hot, 1U);
    EXPECT_EQ(sides.cold, 1U); // and one of equal doses
}

TEST(FailedSides, TheEvaluationIsInterpolatedAndEndsWithItsFaces)
{
    // Its centres lie at 1 and 3 mm, its faces at 0 and 4 mm.
    const Image evaluation = lineOf(2, 1, {1, 3});
    const std::vector<unsigned char> passed(6, no);
    const Image reference = lineOf(1, -0.5, {9, 0.5F, 1.6F, 2.4F, 2.9F, 9}); // -0.5 to 4.5 mm
    const auto sides = failedSides(CentreDoses(viewOf(reference), viewOf(evaluation)), passed);
    // 0.5 mm: 1; 1.5 mm: 1.5; 2.5 mm: 2.5; 3.5 mm: 3
    EXPECT_EQ(sides.hot, 3U);
    EXPECT_EQ(sides.cold, 1U);
}

TEST(FailedSides, CentresThatMeetButForRoundingAreEqual)
{
    const files::LargeVector<float> doses = {1, 5, 2, 7, 3, 9, 4, 8};
    const std::vector<unsigned char> passed(doses.size(), no);
    const Image reference = lineOf(0.1, 0.3, doses);
    const Image evaluation = lineOf(0.1, 0.1 + 0.2, doses); // off by the last bit
    const auto sides = failedSides(CentreDoses(viewOf(reference), viewOf(evaluation)), passed);
    EXPECT_EQ(sides.hot + sides.cold, 0U);
}

TEST(DoseSampling, IsTrilinear)
{
    files::LargeVector<float> values;
    for (const int z : {30, 34}) {
        for (const int y : {20, 23}) {
            for (const int x : {10, 12}) {
                values.push_back(static_cast<float>(x * y - 2 * z * x + y * z));
            }
        }
    }
    const Image image{{{2, 2, 2}, {2, 3, 4}, {10, 20, 30}}, std::move(values)};
    const DoseView doses = viewOf(image);
    for (const auto& [x, y, z] :
         {std::array<double, 3>{10, 20, 30}, {11.5, 20.75, 33}, {12, 23, 34}}) {
        const Geometry& grid = image.geometry;
        EXPECT_DOUBLE_EQ(
            doseAt(doses, placeOf(grid, 0, x), placeOf(grid, 1, y), placeOf(grid, 2, z)),
            x * y - 2 * z * x + y * z);
    }
}

} // namespace
