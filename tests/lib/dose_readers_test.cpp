// The dose of a grid at a point in space.
#include <cmath>
#include <limits>
#include <string>

#include "gammaIndexKernelCPU.h"
#include "support/capturedOutput.h"
#include "support/host.h"

namespace
{

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();

/** 3 x 3 x 3 voxels of 1 mm at the origin; the dose ix + 10 iy + 100 iz is linear in space. */
Grid linearField()
{
    return makeGrid({3, 3, 3}, {1, 1, 1}, {0, 0, 0},
                    [](int x, int y, int z) { return static_cast<float>(x + 10 * y + 100 * z); });
}

using Position = std::array<float, 3>;

float trilinear(const Grid& g, Position p)
{
    return TrilinearInterp(g.map.data(), p.data(), g.x0.data(), g.hs.data(), g.nn.data());
}

float bilinear(const Grid& g, Position p, int idir = 2)
{
    return BilinearInterp(g.map.data(), p.data(), g.x0.data(), g.hs.data(), g.nn.data(), idir);
}

float voxel(const Grid& g, Position p)
{
    return VoxelValue(g.map.data(), p.data(), g.x0.data(), g.hs.data(), g.nn.data());
}

TEST(DoseReaders, WorkedValuesOfALinearField)
{
    struct Case {
        Position position;
        float trilinear, bilinear, voxel;
    };
    const float justInside = std::nextafter(3.0F, 0.0F);
    const Case cases[] = {
        {{1.25F, 1.5F, 1.5F}, 110.75F, 110.75F, 111},
        {{0.25F, 1.5F, 1.5F}, 110, 110, 110}, // border shell: the containing voxel, on all axes
        {{0, 1, 1}, 0, 0, 110},               // a face is outside for the interpolators
        {{2.5F, 2.5F, 2.5F}, 222, 222, 222},  // the last voxel centre
        {{1.5F, 1.5F, 1.5F}, 111, 111, 111},
        {{0.5F, 0.5F, 0.5F}, 0, 0, 0},
        {{1, 1, 1}, 55.5F, 105.5F, 111},           // midway between planes: the upper one
        {{1, 1, 0.9F}, 45.5F, 5.5F, 11},           // below the middle: the lower plane
        {{1.25F, 1, 2.5F}, 205.75F, 205.75F, 211}, // the last plane
        {{1.25F, 1.25F, 0.25F}, 11, 11, 11},       // border shell below the first plane
        {{3, 1, 1}, 0, 0, 0},
        {{justInside, 1.5F, 1.5F}, 112, 112, 112},
        {{1.5F, 1.5F, justInside}, 211, 211, 211},
        {{-0.3F, 1.5F, 1.5F}, 0, 0, 110}, // truncation towards zero reads the first voxel
        {{-1, 1.5F, 1.5F}, 0, 0, 0},
        {{1.5F, 1.5F, -0.3F}, 0, 0, 11},
    };
    const Grid field = linearField();
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.position[0] << ' ' << c.position[1] << ' ' << c.position[2]);
        EXPECT_FLOAT_EQ(trilinear(field, c.position), c.trilinear);
        EXPECT_FLOAT_EQ(bilinear(field, c.position), c.bilinear);
        EXPECT_EQ(voxel(field, c.position), c.voxel);
    }
}

TEST(DoseReaders, EveryFaceOfEveryAxisIsOutside)
{
    const Grid field = makeGrid({4, 3, 5}, {2, 1, 0.5F}, {-10, 20, 7}, [](int x, int y, int z) {
        return static_cast<float>(1 + x + 10 * y + 100 * z);
    });
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float lower = field.x0[axis];
        const float upper = lower + static_cast<float>(field.nn[axis]) * field.hs[axis];
        for (const float outside : {lower, upper, lower - 100, upper + 100, nan, inf, -inf}) {
            Position p{-7, 21.5F, 8};
            ASSERT_GT(trilinear(field, p), 0);
            p[axis] = outside;
            EXPECT_EQ(trilinear(field, p), 0) << axis << ' ' << outside;
            EXPECT_EQ(bilinear(field, p), 0) << axis << ' ' << outside;
        }
        for (const float outside : {upper, lower - field.hs[axis], nan, inf, -inf, 3e38F}) {
            Position p{-7, 21.5F, 8};
            p[axis] = outside;
            EXPECT_EQ(voxel(field, p), 0) << axis << ' ' << outside;
        }
    }
}

TEST(DoseReaders, InterpolationKeepsItsOrderOfOperations)
{
    const Grid g = makeGrid({2, 2, 2}, {1, 1, 1}, {0, 0, 0}, [](int x, int y, int z) {
        return 0.1F + 0.7F * static_cast<float>(x) + 1.3F * static_cast<float>(y * (1 + x)) +
               2.9F * static_cast<float>(z * (1 + y));
    });
    const auto value = [&](std::size_t x, std::size_t y, std::size_t z) {
        return g.map[x + 2 * y + 4 * z];
    };
    const float xd = 0.8F - 0.5F;
    const float yd = 1.1F - 0.5F;
    const float zd = 1.4F - 0.5F;
    const auto alongX = [&](std::size_t y, std::size_t z) {
        return value(0, y, z) * (1 - xd) + value(1, y, z) * xd;
    };
    const auto plane = [&](std::size_t z) { return alongX(0, z) * (1 - yd) + alongX(1, z) * yd; };
    EXPECT_EQ(trilinear(g, {0.8F, 1.1F, 1.4F}), plane(0) * (1 - zd) + plane(1) * zd);
    EXPECT_EQ(bilinear(g, {0.8F, 1.1F, 1.4F}), plane(1));
}

TEST(DoseReaders, SingleVoxelAxes)
{
    // Interpolated only where the point lies exactly in the middle of the single voxel.
    const Grid row = makeGrid({2, 1, 1}, {1, 1, 1}, {0, 0, 0},
                              [](int x, int, int) { return 4.0F * static_cast<float>(x); });
    EXPECT_EQ(trilinear(row, {0.75F, 0.5F, 0.5F}), 1);
    EXPECT_EQ(bilinear(row, {0.75F, 0.5F, 0.5F}), 1);
    EXPECT_EQ(trilinear(row, {0.75F, 0.6F, 0.5F}), 0);
    EXPECT_EQ(trilinear(row, {1.25F, 0.5F, 0.4F}), 4);
    const Grid one = makeGrid({1, 1, 1}, {3, 3, 3}, {0, 0, 0}, [](int, int, int) { return 7.0F; });
    for (const float at : {0.1F, 1.5F, 2.9F}) {
        EXPECT_EQ(trilinear(one, {at, 1.5F, 1.5F}), 7);
        EXPECT_EQ(bilinear(one, {1.5F, 1.5F, at}), 7);
        EXPECT_EQ(voxel(one, {at, at, at}), 7);
    }
}

TEST(DoseReaders, PlanesAcrossTheOtherAxes)
{
    const Grid field = linearField();
    EXPECT_FLOAT_EQ(bilinear(field, {1, 1.25F, 1.5F}, 0), 1 + 7.5F + 100);
    EXPECT_FLOAT_EQ(bilinear(field, {0.9F, 1.25F, 1.5F}, 0), 0 + 7.5F + 100);
    EXPECT_FLOAT_EQ(bilinear(field, {1.25F, 1, 1.5F}, 1), 0.75F + 10 + 100);
    EXPECT_FLOAT_EQ(bilinear(field, {1.25F, 0.9F, 1.5F}, 1), 0.75F + 0 + 100);
}

TEST(DoseReaders, PlacesOfVoxels)
{
    const Grid g = makeGrid({4, 3, 2}, {2, 1, 0.5F}, {-10, 20, 7}, [](int, int, int) { return 0; });
    const auto expectAt = [](const vec3dRT& p, float x, float y, float z) {
        EXPECT_EQ(p.x, x);
        EXPECT_EQ(p.y, y);
        EXPECT_EQ(p.z, z);
    };
    expectAt(nodePosition(0, g.x0.data(), g.hs.data(), g.nn.data()), -10, 20, 7);
    expectAt(nodePosition(12, g.x0.data(), g.hs.data(), g.nn.data()), -10, 20, 7.5F);
    expectAt(nodePosition(23, g.x0.data(), g.hs.data(), g.nn.data()), -4, 22, 7.5F);
    expectAt(centerPosition(0, g.x0.data(), g.hs.data(), g.nn.data()), -9, 20.5F, 7.25F);
    expectAt(centerPosition(5, g.x0.data(), g.hs.data(), g.nn.data()), -7, 21.5F, 7.25F);
}

class Trace : public testing::Test
{
protected:
    void TearDown() override
    {
        trilinDebug = false;
        bilinDebug = false;
    }
};

TEST_F(Trace, TrilinearReader)
{
    const Grid field = linearField();
    const CapturedOutput output;
    trilinDebug = true;
    trilinear(field, {-1, 1, 1});          // outside: silent
    trilinear(field, {0.25F, 1.5F, 1.5F}); // border shell: one line
    bilinear(field, {1.5F, 1.5F, 1.5F});   // has a switch of its own
    trilinear(field, {1.25F, 1.5F, 2.5F}); // interpolated
    EXPECT_EQ(output.text(), "fx  0.25 1.5 1.5\n"
                             "fx  1.25 1.5 2.5\n"
                             "trilininterp \n"
                             "x0  0 0 0\n"
                             "h   1 1 1\n"
                             "n   3 3 3\n"
                             "pos 1.25 1.5 2.5\n"
                             "fx  0.75 1 2\n"
                             "idx 0 1 1\n"
                             "xd  0.75 0 1 => 210.75\n"
                             "\n");
}

TEST_F(Trace, BilinearReader)
{
    const Grid field = linearField();
    const CapturedOutput output;
    bilinDebug = true;
    bilinear(field, {0.25F, 1.5F, 1.5F}); // border shell: silent
    bilinear(field, {1.25F, 1.5F, 1.125F});
    EXPECT_EQ(output.text(), "bfr\n"
                             "fx  0.75 1 0.625\n"
                             "idx 0 1 0\n"
                             "xd  0.75 0 0.625\n"
                             "bilininterp along direction 2\n"
                             "x0  0 0 0\n"
                             "h   1 1 1\n"
                             "n   3 3 3\n"
                             "pos 1.25 1.5 1.125\n"
                             "fx  0.75 1 0.625\n"
                             "idx 0 1 1\n"
                             "xd  0.75 0 0 => 110.75\n"
                             "\n");
}

} // namespace
