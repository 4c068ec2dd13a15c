#include "files/structures/raster.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace files
{

namespace
{

/** Parts of a voxel that are at most 1 mm wide, as far as an index can count them. */
int finestParts(double spacing, int size)
{
    constexpr double widest = 1 + 1e-6; // mm: 3 mm written with rounding errors are three parts
    constexpr int most = 8;
    int parts = 1;
    while (parts < most && spacing / parts > widest &&
           size <= std::numeric_limits<int>::max() / (parts + 1)) {
        ++parts;
    }
    return parts;
}

} // namespace

double Raster::position(std::size_t axis, std::int64_t index) const
{
    const auto p = static_cast<double>(parts[axis]);
    const std::int64_t whole = index / parts[axis];
    const auto voxel = static_cast<double>(whole);
    const auto part = static_cast<double>(index % parts[axis]);
    return grid.origin[axis] + (voxel + ((part + 0.5) / p - 0.5)) * grid.spacing[axis];
}

std::int64_t Raster::firstFrom(std::size_t axis, double limit) const
{
    const auto end = static_cast<double>(size(axis));
    const double guess = (limit - grid.origin[axis]) / grid.spacing[axis] * parts[axis];
    auto index = static_cast<std::int64_t>(std::clamp(guess, 0.0, end));
    // The guess is rounded; what the positions themselves say counts.
    while (index > 0 && position(axis, index - 1) >= limit) {
        --index;
    }
    while (index < size(axis) && position(axis, index) < limit) {
        ++index;
    }
    return index;
}

double Raster::volumeOfPart() const
{
    double volume = 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        volume *= grid.spacing[axis] / parts[axis];
    }
    return volume;
}

Raster finestRaster(const Geometry& grid)
{
    Raster raster{grid, {}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        raster.parts[axis] = finestParts(grid.spacing[axis], grid.size[axis]);
    }
    return raster;
}

bool coarsen(Raster& raster)
{
    bool isCoarser = false;
    for (int& parts : raster.parts) {
        isCoarser = isCoarser || parts > 1;
        parts = std::max(parts - 1, 1);
    }
    return isCoarser;
}

} // namespace files
