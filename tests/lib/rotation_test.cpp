// The random rotation of the search lattice.
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "gammaIndexKernelCPU.h"
#include "support/host.h"

namespace
{

/** Numbers that rand() delivers before those of the C library. */
std::deque<int> scriptedDraws;

} // namespace

// Takes the place of the C library's generator in this program, and so in the library under test.
extern "C" int rand() noexcept // NOLINT(readability-redundant-declaration)
{
    if (!scriptedDraws.empty()) {
        const int draw = scriptedDraws.front();
        scriptedDraws.pop_front();
        return draw;
    }
    return static_cast<int>(random());
}

namespace
{

struct Matrix {
    float R[3][3];
    vec3dRT column(int c) const { return vec3dRT(R[0][c], R[1][c], R[2][c]); }
};

Matrix draw(std::initializer_list<int> draws = {})
{
    scriptedDraws = draws;
    Matrix m{};
    generateRandomRotationMatrix(m.R);
    return m;
}

TEST(Rotation, IsProperWithItsFirstAxisInThePositiveOctant)
{
    constexpr float rounding = 1e-6F;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        srandom(seed);
        const Matrix m = draw();
        const vec3dRT u = m.column(0);
        const vec3dRT v = m.column(1);
        const vec3dRT w = m.column(2);
        for (const vec3dRT& axis : {u, v, w}) {
            ASSERT_NEAR(norm(axis), 1, rounding);
        }
        // The orthogonalisation divides by at least sin(acos(0.99)), which magnifies rounding.
        ASSERT_NEAR(dot(u, v), 0, 10 * rounding);
        ASSERT_NEAR(dot(u, w), 0, 10 * rounding);
        ASSERT_NEAR(dot(v, w), 0, 10 * rounding);
        ASSERT_NEAR(dot(cross(u, v), w), 1, 10 * rounding);
        ASSERT_TRUE(u.x >= 0 && u.y >= 0 && u.z >= 0);
    }
}

TEST(Rotation, StoresTheAxesAsColumns)
{
    const Matrix m = draw({1, 0, 0, 3, 4, 0});
    const float expected[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            EXPECT_EQ(m.R[row][column], expected[row][column]) << row << ' ' << column;
        }
    }
    // u = (0, 0.6, 0.8), v = (1, 0, 0): w = u x v.
    const Matrix turned = draw({0, 3, 4, 1, 0, 0});
    EXPECT_EQ(turned.R[1][0], 0.6F);
    EXPECT_EQ(turned.R[2][0], 0.8F);
    EXPECT_EQ(turned.R[0][1], 1);
    EXPECT_EQ(turned.R[1][2], 0.8F);
    EXPECT_EQ(turned.R[2][2], -0.6F);
}

TEST(Rotation, DrawsAgainWhileTheAxesAreAlmostParallel)
{
    // 0.99 rounds up in single precision: a product of that float is rejected, the next one below
    // accepted. With u = (1, 0, 0) the product is the first component of v.
    const Matrix m = draw({1, 0, 0, 1000, 1, 0, 1000, 2, 3, 1, 1, 0});
    EXPECT_TRUE(scriptedDraws.empty()) << "both parallel draws rejected, the third one taken";
    EXPECT_NEAR(m.R[1][1], 1, 1e-6);
    EXPECT_NEAR(m.R[2][1], 0, 1e-6);
}

/** Draws that give a direction with exactly this first component. */
std::array<int, 3> drawsOf(float component)
{
    for (int x = 8200000; x < 8200100; ++x) {
        const int around = static_cast<int>(0.14249 * x);
        for (int y = around - 500; y <= around + 500; ++y) {
            if (versor(vec3dRT(static_cast<float>(x), static_cast<float>(y), 0)).x == component) {
                return {x, y, 0};
            }
        }
    }
    return {};
}

TEST(Rotation, LimitOfParallelismIsTheDoubleNotTheFloat)
{
    // The float 0.99 lies just above the double 0.99: rejected; the next float below is accepted.
    const auto atLimit = drawsOf(0.99F);
    const auto below = drawsOf(std::nextafter(0.99F, 0.0F));
    ASSERT_NE(atLimit[0], 0);
    ASSERT_NE(below[0], 0);
    draw({1, 0, 0, atLimit[0], atLimit[1], 0, 1, 1, 0});
    EXPECT_TRUE(scriptedDraws.empty());
    draw({1, 0, 0, below[0], below[1], 0, 1, 1, 0});
    EXPECT_EQ(scriptedDraws.size(), 3U);
    scriptedDraws.clear();
}

TEST(Rotation, IsAppliedRowByRow)
{
    Matrix m{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
    vec3dRT v(1, 10, 100);
    applyRotation(m.R, v);
    EXPECT_EQ(v.x, 321);
    EXPECT_EQ(v.y, 654);
    EXPECT_EQ(v.z, 987);

    Matrix identity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    vec3dRT same(0.1F, -0.2F, 0.3F);
    applyRotation(identity.R, same);
    EXPECT_EQ(same.x, 0.1F);
    EXPECT_EQ(same.y, -0.2F);
    EXPECT_EQ(same.z, 0.3F);
}

using RotationInAComputation = LibraryTest;

TEST_F(RotationInAComputation, IsDrawnOnlyWhenAskedFor)
{
    setCriteria(3, 3, 10);
    const Grid cube = makeGrid({3, 3, 3}, {2, 2, 2}, {0, 0, 0}, [](int, int, int) { return 1.0F; });
    setRef(cube);
    setEval(cube);
    const float before[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    EXPECT_EQ(std::memcmp(Rot, before, sizeof before), 0);
    compute();
    EXPECT_EQ(std::memcmp(Rot, before, sizeof before), 0);
    zarnGI_setRandomRotation(true);
    EXPECT_EQ(compute().passRate, 100);
    EXPECT_NE(std::memcmp(Rot, before, sizeof before), 0);
}

} // namespace
