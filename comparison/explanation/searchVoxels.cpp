#include "comparison/explanation/searchVoxels.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zarngi
{

namespace
{

/** mm below which a shift along an axis is not worth searching. */
constexpr double leastBound = 1;

/** For each place along an axis of the reference, whether it stays inside under every shift. */
std::vector<bool> staysInside(const Geometry& reference, const Geometry& evaluation,
                              std::size_t axis, double bound)
{
    const double half = evaluation.spacing[axis] / 2;
    const double first = evaluation.origin[axis] - half + bound;
    const double last = evaluation.centre(axis, evaluation.size[axis] - 1) + half - bound;
    std::vector<bool> inside;
    for (int voxel = 0; voxel < reference.size[axis]; ++voxel) {
        const double position = reference.centre(axis, voxel);
        inside.push_back(position >= first && position <= last);
    }
    return inside;
}

/** By this much a voxel must be able to move: whole voxels tell whether an axis matters. */
double marginOf(const Geometry& evaluation, std::size_t axis, double bound, double reach)
{
    return bound > 0 ? std::max(bound, evaluation.spacing[axis]) + reach : 0;
}

VoxelList insideOf(const Geometry& reference, const Geometry& evaluation, const VoxelList& voxels,
                   const Vec3& bounds, double reach)
{
    std::array<std::vector<bool>, 3> inside;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        inside[axis] = staysInside(reference, evaluation, axis,
                                   marginOf(evaluation, axis, bounds[axis], reach));
    }
    const std::size_t width = inside[0].size();
    const std::size_t height = inside[1].size();
    VoxelList list;
    std::copy_if(voxels.begin(), voxels.end(), std::back_inserter(list), [&](std::size_t voxel) {
        const std::size_t row = voxel / width;
        return inside[0][voxel % width] && inside[1][row % height] && inside[2][row / height];
    });
    return list;
}

/** Halves the bound of one axis until half of the voxels stay inside; 0: it cannot be moved. */
double boundAlong(const Geometry& reference, const Geometry& evaluation, const VoxelList& voxels,
                  std::size_t axis, double bound, double reach)
{
    Vec3 bounds{};
    bounds[axis] = bound;
    while (bounds[axis] >= leastBound &&
           insideOf(reference, evaluation, voxels, bounds, reach).size() * 2 < voxels.size()) {
        bounds[axis] /= 2;
    }
    return bounds[axis] >= leastBound ? bounds[axis] : 0;
}

/** Spreads numbers over all 64 bits (the finaliser of SplitMix64). */
std::uint64_t spread(std::uint64_t number)
{
    number += 0x9E3779B97F4A7C15U;
    number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
    number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
    return number ^ (number >> 31U);
}

} // namespace

ShiftBounds shiftBounds(const Geometry& reference, const Geometry& evaluation,
                        const VoxelList& voxels, Vec3 bounds, double reach)
{
    const VoxelList overlapping = insideOf(reference, evaluation, voxels, {}, 0);
    if (overlapping.empty()) {
        return {};
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bounds[axis] = boundAlong(reference, evaluation, overlapping, axis, bounds[axis], reach);
    }
    VoxelList inside = insideOf(reference, evaluation, overlapping, bounds, reach);
    while (inside.size() * 4 < overlapping.size()) {
        for (double& bound : bounds) {
            bound = bound / 2 < leastBound ? 0 : bound / 2;
        }
        inside = insideOf(reference, evaluation, overlapping, bounds, reach);
    }
    return {bounds, std::move(inside)};
}

VoxelList someOf(const VoxelList& voxels, std::size_t count)
{
    if (count >= voxels.size()) {
        return voxels;
    }
    constexpr std::uint64_t parts = 1U << 20U;
    const std::uint64_t limit = (count * parts + voxels.size() - 1) / voxels.size();
    VoxelList some;
    std::copy_if(voxels.begin(), voxels.end(), std::back_inserter(some),
                 [limit](std::size_t voxel) { return spread(voxel) % parts < limit; });
    return some.empty() ? voxels : some;
}

} // namespace zarngi
