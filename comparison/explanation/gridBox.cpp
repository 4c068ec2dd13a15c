#include "comparison/explanation/gridBox.h"

#include <algorithm>
#include <cmath>

namespace zarngi
{

namespace
{

std::array<int, 3> placeIn(const Geometry& grid, std::size_t voxel)
{
    const auto width = static_cast<std::size_t>(grid.size[0]);
    const auto height = static_cast<std::size_t>(grid.size[1]);
    const std::size_t row = voxel / width;
    return {static_cast<int>(voxel % width), static_cast<int>(row % height),
            static_cast<int>(row / height)};
}

} // namespace

GridBox wholeBox(const Geometry& grid)
{
    return {{}, grid.size};
}

GridBox boxAround(const Geometry& grid, const std::vector<std::size_t>& voxels)
{
    GridBox box{grid.size, {}};
    for (const std::size_t voxel : voxels) {
        const std::array<int, 3> place = placeIn(grid, voxel);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.first[axis] = std::min(box.first[axis], place[axis]);
            box.end[axis] = std::max(box.end[axis], place[axis] + 1);
        }
    }
    return box;
}

GridBox boxOf(const Geometry& other, const Geometry& grid, const GridBox& box, const Vec3& margin)
{
    GridBox result;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        constexpr double besides = 2; // voxels whose doses are interpolated, and rounding
        const double low = grid.origin[axis] + box.first[axis] * grid.spacing[axis] - margin[axis];
        const double high =
            grid.origin[axis] + (box.end[axis] - 1) * grid.spacing[axis] + margin[axis];
        const auto voxelAt = [&](double position) {
            return (position - other.origin[axis]) / other.spacing[axis];
        };
        const double last = other.size[axis];
        result.first[axis] =
            static_cast<int>(std::clamp(std::floor(voxelAt(low)) - besides, 0.0, last - 1));
        result.end[axis] = static_cast<int>(
            std::clamp(std::ceil(voxelAt(high)) + besides + 1, result.first[axis] + 1.0, last));
    }
    return result;
}

Geometry geometryOf(const Geometry& grid, const GridBox& box)
{
    Geometry part = grid;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        part.size[axis] = box.end[axis] - box.first[axis];
        part.origin[axis] += box.first[axis] * grid.spacing[axis];
    }
    return part;
}

std::size_t numberWithin(const Geometry& grid, const GridBox& box, std::size_t voxel)
{
    const std::array<int, 3> place = placeIn(grid, voxel);
    std::array<std::size_t, 3> within{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        within[axis] = static_cast<std::size_t>(place[axis] - box.first[axis]);
    }
    return (within[2] * box.width(1) + within[1]) * box.width(0) + within[0];
}

std::vector<float> valuesWithin(const DoseView& doses, const GridBox& box)
{
    const auto width = static_cast<std::size_t>(doses.geometry.size[0]);
    const auto height = static_cast<std::size_t>(doses.geometry.size[1]);
    std::vector<float> values;
    values.reserve(box.width(0) * box.width(1) * box.width(2));
    for (int z = box.first[2]; z < box.end[2]; ++z) {
        for (int y = box.first[1]; y < box.end[1]; ++y) {
            const std::size_t row =
                (static_cast<std::size_t>(z) * height + static_cast<std::size_t>(y)) * width +
                static_cast<std::size_t>(box.first[0]);
            const std::span<const float> part = doses.values.subspan(row, box.width(0));
            values.insert(values.end(), part.begin(), part.end());
        }
    }
    return values;
}

} // namespace zarngi
