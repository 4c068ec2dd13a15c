#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

#include "files/error.h"
#include "files/orientation.h"

using files::Image;
using files::StoredGeometry;
using files::Vec3;

namespace
{

StoredGeometry plainGeometry()
{
    StoredGeometry stored;
    stored.size = {2, 3, 4};
    stored.spacing = {1.5, 2, 3};
    stored.origin = {-10, 20, 5};
    stored.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    return stored;
}

using Position = std::array<long, 3>; // in thousandths of a millimetre

Position rounded(const Vec3& position)
{
    return {std::lround(position[0] * 1000), std::lround(position[1] * 1000),
            std::lround(position[2] * 1000)};
}

Vec3 positionOf(const StoredGeometry& stored, const std::array<std::int64_t, 3>& index)
{
    Vec3 position = stored.origin;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double way = stored.spacing[axis] * static_cast<double>(index[axis]);
        for (std::size_t c = 0; c < 3; ++c) {
            position[c] += stored.axes[axis][c] * way;
        }
    }
    return position;
}

/** Which value lies where, by the definition of the stored geometry; values count from 0. */
std::map<Position, float> placed(const StoredGeometry& stored)
{
    const auto& [nx, ny, nz] = stored.size;
    std::map<Position, float> values;
    for (std::int64_t i = 0; i < nx * ny * nz; ++i) {
        const Vec3 position = positionOf(stored, {i % nx, i / nx % ny, i / (nx * ny)});
        values[rounded(position)] = static_cast<float>(i);
    }
    return values;
}

std::map<Position, float> placed(const Image& image)
{
    StoredGeometry stored = plainGeometry();
    std::copy_n(image.geometry.size.begin(), 3, stored.size.begin());
    stored.spacing = image.geometry.spacing;
    stored.origin = image.geometry.origin;
    std::map<Position, float> values = placed(stored);
    for (auto& [position, value] : values) {
        value = image.values[static_cast<std::size_t>(value)];
    }
    return values;
}

files::LargeVector<float> counted(std::size_t count)
{
    files::LargeVector<float> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<float>(i);
    }
    return values;
}

TEST(Orientation, EveryAxisAlignedGridKeepsItsValuesInPlace)
{
    std::array<std::size_t, 3> order = {0, 1, 2};
    int grids = 0;
    do {
        for (unsigned flips = 0; flips < 8; ++flips, ++grids) {
            StoredGeometry stored = plainGeometry();
            for (std::size_t axis = 0; axis < 3; ++axis) {
                stored.axes[axis] = {0, 0, 0};
                stored.axes[axis][order[axis]] = (flips >> axis & 1) == 0 ? 1 : -1;
            }
            ASSERT_NO_THROW(checkGeometry(stored));
            const Image image = toPatientAxes(stored, counted(24));
            EXPECT_EQ(placed(image), placed(stored)) << order[0] << order[1] << ' ' << flips;
        }
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(grids, 48);
}

TEST(Orientation, RoundingOfTheAxesIsTolerated)
{
    StoredGeometry stored = plainGeometry();
    stored.axes[0] = {-0.99999999, 1e-6, -1e-7};
    EXPECT_NO_THROW(checkGeometry(stored));
    EXPECT_EQ(toPatientAxes(stored, counted(24)).values[0], 1);
}

TEST(Geometry, ImpossibleGridsAreRefused)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    std::vector<StoredGeometry> grids;
    const auto add = [&grids](auto change) { change(grids.emplace_back(plainGeometry())); };
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1} << 62}) {
        add([=](StoredGeometry& grid) { grid.size[1] = size; });
    }
    add([](StoredGeometry& grid) { grid.size = {1 << 11, 1 << 10, 1 << 10}; });
    for (const double spacing : {0.0, -2.0, nan, infinite, 1e-30, 1e30}) {
        add([=](StoredGeometry& grid) { grid.spacing[2] = spacing; });
    }
    for (const double origin : {nan, infinite, -1e30}) {
        add([=](StoredGeometry& grid) { grid.origin[0] = origin; });
    }
    for (const Vec3& axis : {Vec3{0.8, 0.6, 0}, Vec3{1, 0.001, 0}, Vec3{0, 0, 0}, Vec3{2, 0, 0},
                             Vec3{0, 1, 0}, Vec3{nan, 0, 0}, Vec3{1, nan, 0}}) {
        add([=](StoredGeometry& grid) { grid.axes[0] = axis; });
    }
    for (std::size_t i = 0; i < grids.size(); ++i) {
        EXPECT_THROW(checkGeometry(grids[i]), files::Refusal) << "case " << i;
    }
    StoredGeometry largest = plainGeometry();
    largest.size = {std::numeric_limits<std::int32_t>::max(), 1, 1};
    EXPECT_NO_THROW(checkGeometry(largest));
}

} // namespace
