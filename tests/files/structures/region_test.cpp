#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "files/structures/region.h"

using files::Contour;
using files::Geometry;
using files::LabelGrid;
using files::Raster;
using files::Region;
using files::Runs;
using files::StructureSet;
using files::Vec3;

namespace
{

Contour rectangle(double x1, double y1, double x2, double y2, double z)
{
    return {{{x1, y1, z}, {x2, y1, z}, {x2, y2, z}, {x1, y2, z}}};
}

Contour circle(double radius, double z, int corners = 360)
{
    Contour contour;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * std::numbers::pi * i / corners;
        contour.vertices.push_back({radius * std::cos(angle), radius * std::sin(angle), z});
    }
    return contour;
}

Contour reversed(Contour contour)
{
    std::reverse(contour.vertices.begin(), contour.vertices.end());
    return contour;
}

Contour begunElsewhere(Contour contour)
{
    std::rotate(contour.vertices.begin(), contour.vertices.begin() + 1, contour.vertices.end());
    return contour;
}

StructureSet setOf(const std::vector<std::vector<Contour>>& structures)
{
    StructureSet set;
    for (const auto& contours : structures) {
        set.structures.emplace_back().contours = contours;
    }
    return set;
}

Geometry gridOf(int size, double spacing, double origin)
{
    return {{size, size, size}, {spacing, spacing, spacing}, {origin, origin, origin}};
}

/** 21 voxels of 1 mm along each axis, centres from -10 to 10 mm. */
Geometry millimetres()
{
    return gridOf(21, 1, -10);
}

std::size_t voxels(const Region& region, const Geometry& grid = millimetres())
{
    return files::pointCount(region.pointsIn(files::voxelCentres(grid)));
}

/** The slices of a grid in which a structure has voxels, by the position of their centre. */
std::vector<double> slicesOf(const Region& region, const Geometry& grid = millimetres())
{
    const Raster raster = files::voxelCentres(grid);
    std::vector<double> slices;
    for (const files::Run& run : region.pointsIn(raster)) {
        const double z = raster.position(2, run.z);
        if (slices.empty() || slices.back() != z) {
            slices.push_back(z);
        }
    }
    return slices;
}

struct Shape {
    const char* name;
    std::vector<Contour> contours; // in one plane
    std::size_t voxels;
    double area; // mm^2
};

const std::vector<Shape>& shapes()
{
    const Contour outer = rectangle(-5, -5, 5, 5, 0);
    const Contour hole = rectangle(-3, -3, 3, 3, 0);
    const Contour island = rectangle(-1, -1, 1, 1, 0);
    static const std::vector<Shape> list = {
        {"lower edges belong to it, upper ones do not", {outer}, 100, 100},
        {"vertices between the voxels", {rectangle(-4.5, -4.5, 4.5, 4.5, 0)}, 81, 81},
        {"hole", {outer, hole}, 64, 64},
        {"hole wound the other way", {outer, reversed(hole)}, 64, 64},
        {"island in a hole", {island, outer, hole}, 68, 68},
        {"two parts", {rectangle(-9, 0, -7, 2, 0), rectangle(3, 0, 6, 1, 0)}, 7, 7},
        {"keyhole",
         {{{{-5, -5, 0},
            {5, -5, 0},
            {5, 0, 0},
            {3, 0, 0},
            {3, -3, 0},
            {-3, -3, 0},
            {-3, 3, 0},
            {3, 3, 0},
            {3, 0, 0},
            {5, 0, 0},
            {5, 5, 0},
            {-5, 5, 0}}}},
         64,
         64},
        {"given twice", {outer, outer}, 100, 100},
        {"given twice, wound the other way, begun elsewhere",
         {outer, begunElsewhere(reversed(outer)), hole},
         64,
         64},
        {"given three times", {outer, outer, outer}, 100, 100},
        {"the last vertex repeats the first",
         {{{{-5, -5, 0}, {5, -5, 0}, {5, 5, 0}, {-5, 5, 0}, {-5, -5, 0}}}},
         100,
         100},
        {"no area", {{{{-5, -5, 0}, {5, 5, 0}, {-5, -5, 0}}}}, 0, 0},
        {"triangle through voxel centres", {{{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}}}, 10, 8}};
    return list;
}

TEST(Region, PointsOfAPlaneByCrossedEdges)
{
    for (const Shape& shape : shapes()) {
        const auto region = std::move(files::regionsOf(setOf({shape.contours}), 1)[0]);
        EXPECT_EQ(voxels(*region), shape.voxels) << shape.name;
        EXPECT_NEAR(region->volume() * 1000, shape.area, 1e-9) << shape.name; // 1 mm thick
        EXPECT_EQ(region->outside(millimetres()).share, 0) << shape.name;
    }
}

TEST(Region, NeighboursShareNoPointAndLeaveNone)
{
    // A square cut along a line that runs through voxel centres.
    const Contour left{{{-5, -5, 0}, {0, -5, 0}, {3, 5, 0}, {-5, 5, 0}}};
    const Contour right{{{0, -5, 0}, {5, -5, 0}, {5, 5, 0}, {3, 5, 0}}};
    const auto regions = files::regionsOf(setOf({{left}, {right}}), 1);
    const Raster raster = files::voxelCentres(millimetres());
    const Runs ofLeft = regions[0]->pointsIn(raster);
    const Runs ofRight = regions[1]->pointsIn(raster);
    EXPECT_TRUE(files::intersection(ofLeft, ofRight).empty());
    EXPECT_EQ(files::pointCount(files::unionOf(ofLeft, ofRight)), 100U);
}

struct Stack {
    const char* name;
    std::vector<double> planes;
    std::vector<double> slices; // of the grid, mm
    std::vector<std::string> notes;
};

TEST(Region, PlanesGovernTheSlicesAroundThem)
{
    const std::vector<Stack> stacks = {
        {"on every second slice", {-2, 0, 2}, {-3, -2, -1, 0, 1, 2}, {}},
        {"lower end included, upper end not", {-1.5, -0.5, 0.5}, {-2, -1, 0}, {}},
        {"between the slices", {-1.2, -0.2, 0.8}, {-1, 0, 1}, {}},
        {"uneven, without a gap", {0, 2, 5}, {-1, 0, 1, 2, 3, 4, 5}, {}},
        {"gap", {-5, -4, 0, 1}, {-5, -4, 0, 1}, {"has a gap: 4 mm above z = -4 mm"}},
        {"of two medians the lower",
         {0, 2, 6},
         {-1, 0, 1, 2, 5, 6},
         {"has a gap: 4 mm above z = 2 mm"}},
        {"beyond the grid", {9, 10, 11}, {9, 10}, {}}};
    for (const Stack& stack : stacks) {
        std::vector<Contour> contours;
        for (const double z : stack.planes) {
            contours.push_back(rectangle(-5, -5, 5, 5, z));
        }
        const auto region = std::move(files::regionsOf(setOf({contours}), 1)[0]);
        EXPECT_EQ(slicesOf(*region), stack.slices) << stack.name;
        EXPECT_EQ(region->notes(), stack.notes) << stack.name;
        EXPECT_EQ(region->planes(), stack.planes.size()) << stack.name;
    }
}

TEST(Region, OnePlaneIsAsThickAsTheOthersOfTheFileLieApart)
{
    const std::vector<Contour> one = {rectangle(0, 0, 4, 4, 0)};
    const std::vector<Contour> many = {rectangle(0, 0, 4, 4, -3), rectangle(0, 0, 4, 4, 0)};
    EXPECT_EQ(slicesOf(*files::regionsOf(setOf({one, many}), 1)[0]),
              (std::vector<double>{-1, 0, 1}));
    EXPECT_EQ(slicesOf(*files::regionsOf(setOf({one}), 5)[0]),
              (std::vector<double>{-2, -1, 0, 1, 2}));
}

TEST(Region, StructureWithoutContoursHasNoPoint)
{
    const auto regions = files::regionsOf(setOf({{}, {rectangle(0, 0, 4, 4, 0)}}), 1);
    EXPECT_EQ(voxels(*regions[0]), 0U);
    EXPECT_EQ(regions[0]->volume(), 0);
    StructureSet refused = setOf({{rectangle(0, 0, 4, 4, 0)}});
    refused.structures[0].refusal = "is not flat";
    EXPECT_EQ(files::regionsOf(refused, 1)[0], nullptr);
}

TEST(Region, WhatLiesOutsideTheGridIsTold)
{
    // The faces of the grid lie at -10.5 and 10.5 mm.
    const std::vector<Contour> contours = {
        rectangle(5.5, 0, 15.5, 4, 10), rectangle(20, 20, 25, 24, 10), // half of it; beside
        rectangle(0, 0, 5, 4, 11), rectangle(0, 0, 5, 4, 12)};         // both planes are above
    const auto outside = files::regionsOf(setOf({contours}), 1)[0]->outside(millimetres());
    EXPECT_EQ(outside.contours, 3U);
    EXPECT_EQ(outside.planes, 2U);
    EXPECT_DOUBLE_EQ(outside.share, 80.0 / 100);
}

TEST(Region, PartsOfVoxelsAreAtMostAMillimetreWide)
{
    const Raster raster = files::finestRaster({{10, 20, 4}, {2.5, 3.0000001, 20}, {1, 2, 3}});
    EXPECT_EQ(raster.parts, (std::array<int, 3>{3, 3, 8}));
    EXPECT_NEAR(raster.position(0, 0), 1 - 2.5 / 3, 1e-12);
    EXPECT_NEAR(raster.position(0, 4), 1 + 2.5, 1e-12);
    EXPECT_NEAR(raster.volumeOfPart(), 2.5 * 3.0000001 * 20 / 72, 1e-9);
}

TEST(Region, VolumesOfRoundBodies)
{
    std::vector<Contour> sphere;
    std::vector<Contour> shell;
    std::vector<Contour> cylinder;
    for (int i = -20; i <= 20; ++i) {
        const double z = i / 2.0;
        cylinder.push_back(circle(6, z));
        if (std::abs(z) < 8) {
            sphere.push_back(circle(std::sqrt(64 - z * z), z));
            shell.push_back(sphere.back());
        }
        if (std::abs(z) < 5) {
            shell.push_back(circle(std::sqrt(25 - z * z), z));
        }
    }
    const auto regions = files::regionsOf(setOf({sphere, shell, cylinder}), 1);
    const double ball = 4 * std::numbers::pi / 3;
    const std::array<double, 3> volumes = {ball * 512, ball * (512 - 125),
                                           std::numbers::pi * 36 * 20.5};
    const std::array<double, 3> heights = {16, 16, 20.5};
    const Raster raster = files::voxelCentres(gridOf(60, 0.5, -14.75));
    for (std::size_t i = 0; i < 3; ++i) {
        // Slices of 0.5 mm for a ball: a few thousandths. Points of 0.5 mm: a layer more or less.
        EXPECT_NEAR(regions[i]->volume() * 1000 / volumes[i], 1, 0.003) << i;
        const double sampled = static_cast<double>(files::pointCount(regions[i]->pointsIn(raster)));
        EXPECT_NEAR(sampled * raster.volumeOfPart() / volumes[i], 1, 0.5 / heights[i] + 0.005) << i;
    }
}

std::shared_ptr<LabelGrid> randomMask(std::mt19937& random)
{
    std::uniform_real_distribution<double> spacing(0.7, 3);
    std::uniform_real_distribution<double> origin(-12, 4);
    std::uniform_int_distribution<int> label(0, 3);
    auto grid = std::make_shared<LabelGrid>();
    grid->geometry = {{6, 5, 4},
                      {spacing(random), spacing(random), spacing(random)},
                      {origin(random), origin(random), origin(random)}};
    for (std::size_t i = 0; i < grid->geometry.voxels(); ++i) {
        grid->labels.push_back(label(random));
    }
    return grid;
}

/** The label at a place, 0 outside of the mask. */
int labelAt(const LabelGrid& grid, const Vec3& place)
{
    std::array<int, 3> voxel{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double index =
            (place[axis] - grid.geometry.origin[axis]) / grid.geometry.spacing[axis] + 0.5;
        voxel[axis] = static_cast<int>(std::floor(index));
        if (voxel[axis] < 0 || voxel[axis] >= grid.geometry.size[axis]) {
            return 0;
        }
    }
    const auto& size = grid.geometry.size;
    const int index = (voxel[2] * size[1] + voxel[1]) * size[0] + voxel[0];
    return grid.labels[static_cast<std::size_t>(index)];
}

TEST(Region, MasksAreAskedAtThePointsOfTheDoseGrid)
{
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        const auto mask = randomMask(random);
        StructureSet set;
        for (int label = 1; label <= 4; ++label) { // 4 is not in the mask
            set.structures.emplace_back().region = {mask, label};
        }
        const auto regions = files::regionsOf(set, 1);
        const Raster raster{millimetres(), {1, 2, 3}};
        std::array<Runs, 5> expected;
        for (int z = 0; z < raster.size(2); ++z) {
            for (int y = 0; y < raster.size(1); ++y) {
                for (int x = 0; x < raster.size(0); ++x) {
                    const Vec3 place = {raster.position(0, x), raster.position(1, y),
                                        raster.position(2, z)};
                    expected[static_cast<std::size_t>(labelAt(*mask, place))].push_back(
                        {z, y, x, x + 1});
                }
            }
        }
        for (std::size_t label = 1; label <= 4; ++label) {
            EXPECT_EQ(regions[label - 1]->pointsIn(raster), files::unionOf(expected[label], {}))
                << round << ", label " << label;
        }
    }
}

} // namespace
