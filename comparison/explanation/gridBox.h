/**
 * @file gridBox.h
 * Parts of grids: copying a whole grid would take longer than a search in few of its voxels.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_GRIDBOX_H
#define ZARNGI_COMPARISON_EXPLANATION_GRIDBOX_H

#include <array>
#include <cstddef>
#include <vector>

#include "comparison/doseSampling.h"

namespace zarngi
{

/** Voxels from `first` to before `end` along each axis of a grid. */
struct GridBox {
    std::array<int, 3> first{};
    std::array<int, 3> end{};

    std::size_t width(std::size_t axis) const
    {
        return static_cast<std::size_t>(end[axis] - first[axis]);
    }
};

GridBox wholeBox(const Geometry& grid);

/** The smallest box around voxels, of which there are some. */
GridBox boxAround(const Geometry& grid, const std::vector<std::size_t>& voxels);

/** The box of another grid around the same place, wider by a margin (mm), as far as it reaches. */
GridBox boxOf(const Geometry& other, const Geometry& grid, const GridBox& box, const Vec3& margin);

/** The grid of the voxels in a box. */
Geometry geometryOf(const Geometry& grid, const GridBox& box);

/** Number of a voxel of the grid within a box that holds it. */
std::size_t numberWithin(const Geometry& grid, const GridBox& box, std::size_t voxel);

std::vector<float> valuesWithin(const DoseView& doses, const GridBox& box);

} // namespace zarngi

#endif
