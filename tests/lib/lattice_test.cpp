// The lattice points of a spherical shell.
#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

#include "generatePointsInShell.h"

namespace
{

using Points = std::vector<vec3dRT>;

Points shell(float rmin, float rmax, float stepSize)
{
    Points pts{vec3dRT(7, 7, 7)};
    generatePointsInShell(pts, rmin, rmax, stepSize);
    return pts;
}

bool holds(const Points& pts, float x, float y, float z)
{
    return std::any_of(pts.begin(), pts.end(),
                       [&](const vec3dRT& p) { return p.x == x && p.y == y && p.z == z; });
}

TEST(Shell, HoldsTheExpectedNumberOfPoints)
{
    struct Case {
        float rmin, rmax, step;
        std::size_t count;
    };
    for (const Case& c : {Case{0, 1, 1, 7}, Case{0, 2, 1, 33}, Case{1, 2, 1, 26},
                          Case{0, 0.5F, 1, 1}, Case{0, 3, 0.3F, 4139}, Case{3, 6, 0.3F, 29232},
                          Case{0, 10.9F, 1, 4473}, Case{0.25F, 0.5F, 1, 0}}) {
        EXPECT_EQ(shell(c.rmin, c.rmax, c.step).size(), c.count)
            << c.rmin << " to " << c.rmax << " by " << c.step;
    }
}

TEST(Shell, LoopBoundsCutPointsBelowTheRadius)
{
    const Points pts = shell(0, 10.9F, 1);
    EXPECT_FALSE(holds(pts, 10, 4, 0));
    EXPECT_FALSE(holds(pts, 0, 10, 4));
    EXPECT_FALSE(holds(pts, -4, 0, -10));
    EXPECT_TRUE(holds(pts, 10, 0, 0));
}

TEST(Shell, ComesInOrderOfDistance)
{
    const std::vector<float> expected{0, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,
                                      2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4};
    std::vector<float> squared;
    for (const vec3dRT& p : shell(0, 2, 1)) {
        squared.push_back(dot(p, p));
    }
    EXPECT_EQ(squared, expected);
    for (const float step : {0.3F, 0.1F, 0.7F}) {
        // The length as the search computes it, which its early stop relies on.
        const Points pts = shell(3, 6, step);
        ASSERT_TRUE(std::is_sorted(pts.begin(), pts.end(), [](const vec3dRT& a, const vec3dRT& b) {
            return dot(a, a) < dot(b, b);
        })) << step;
    }
}

TEST(Shell, ListsTheSignVariantsOfAPointTogetherPositiveFirst)
{
    const Points pts = shell(0, 2, 0.5F);
    const auto variantsFrom = [&](const vec3dRT& first, std::size_t count) {
        const auto at = std::find_if(pts.begin(), pts.end(), [&](const vec3dRT& p) {
            return p.x == first.x && p.y == first.y && p.z == first.z;
        });
        std::vector<std::array<float, 3>> found;
        for (auto p = at; p != pts.end() && found.size() < count; ++p) {
            found.push_back({p->x, p->y, p->z});
        }
        return found;
    };
    using Variants = std::vector<std::array<float, 3>>;
    EXPECT_EQ(variantsFrom(vec3dRT(0.5F, 1, 1.5F), 8), (Variants{{0.5F, 1, 1.5F},
                                                                 {0.5F, 1, -1.5F},
                                                                 {0.5F, -1, 1.5F},
                                                                 {0.5F, -1, -1.5F},
                                                                 {-0.5F, 1, 1.5F},
                                                                 {-0.5F, 1, -1.5F},
                                                                 {-0.5F, -1, 1.5F},
                                                                 {-0.5F, -1, -1.5F}}));
    EXPECT_EQ(variantsFrom(vec3dRT(1, 0, 0.5F), 4),
              (Variants{{1, 0, 0.5F}, {1, 0, -0.5F}, {-1, 0, 0.5F}, {-1, 0, -0.5F}}));
    EXPECT_EQ(variantsFrom(vec3dRT(0, 0, 2), 2), (Variants{{0, 0, 2}, {0, 0, -2}}));
}

/** Points of the first three shells; fails where two shells share one. */
std::size_t countDisjointShells(float DTA, float step)
{
    std::set<std::tuple<float, float, float>> seen;
    std::size_t total = 0;
    for (int k = 1; k <= 3; ++k) {
        const Points pts =
            shell(static_cast<float>(k - 1) * DTA, static_cast<float>(k) * DTA, step);
        total += pts.size();
        for (const vec3dRT& p : pts) {
            seen.emplace(p.x, p.y, p.z);
        }
    }
    EXPECT_EQ(seen.size(), total) << DTA << " by " << step;
    return total;
}

TEST(Shell, ConsecutiveShellsShareNoPoint)
{
    for (const float DTA : {3.0F, 2.0F, 1.7F}) {
        for (const float divisor : {10.0F, 8.0F, 7.3F}) {
            countDisjointShells(DTA, DTA / divisor);
        }
    }
}

TEST(Shell, ConsecutiveShellsLeaveNoPointOutWhereTheRadiusIsAWholeNumberOfSteps)
{
    std::size_t expected = 0;
    for (int i = -24; i <= 24; ++i) {
        for (int j = -24; j <= 24; ++j) {
            for (int k = -24; k <= 24; ++k) {
                expected += i * i + j * j + k * k <= 24 * 24 ? 1 : 0;
            }
        }
    }
    EXPECT_EQ(countDisjointShells(1, 0.125F), expected);
    EXPECT_EQ(countDisjointShells(3, 0.375F), expected);
}

TEST(Shell, OrderingIsStrict)
{
    const point4d nearer{1, 0, 0, 1};
    const point4d farther{1, 1, 0, 2};
    EXPECT_TRUE(myfunction(nearer, farther));
    EXPECT_FALSE(myfunction(farther, nearer));
    EXPECT_FALSE(myfunction(nearer, nearer));
}

} // namespace
