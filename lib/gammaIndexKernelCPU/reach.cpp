#include "reach.h"

#include <algorithm>
#include <cmath>

#include "engineState.h"

namespace
{

/** No lattice index beyond this is considered: its square still fits 64 bits with room to add. */
constexpr std::int64_t maxLatticeIndex = std::int64_t{1} << 30;

/** The first index in [low, high] for which the monotone predicate holds, high + 1 if none. */
template <class Predicate>
std::int64_t firstIndex(std::int64_t low, std::int64_t high, const Predicate& holds)
{
    while (low <= high) {
        const std::int64_t middle = low + (high - low) / 2;
        if (holds(middle)) {
            high = middle - 1;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

/** Position of a voxel's sample point on one axis, in the order of operations of the search. */
float samplePosition(int axis, int index)
{
    const float node = static_cast<float>(index) * Env->hs_ref[axis] + Env->xmin_ref[axis];
    return node + ptsSob_vox.front()[axis];
}

LatticeRange indicesInsideBox(int axis, int index)
{
    const float ref = samplePosition(axis, index);
    const auto position = [&](std::int64_t i) {
        return ref + static_cast<float>(i) * Env->stepSize;
    };
    const std::int64_t first = firstIndex(-maxLatticeIndex, maxLatticeIndex, [&](std::int64_t i) {
        return !(position(i) < Env->xmin_eval[axis]);
    });
    const std::int64_t beyond = firstIndex(-maxLatticeIndex, maxLatticeIndex, [&](std::int64_t i) {
        return position(i) > Env->xmax_eval[axis];
    });
    return {first, beyond - 1};
}

/** Distance from the sample point to the farthest corner of the evaluation box, mm. */
double farthestCorner(const int (&index)[3])
{
    double squared = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const double ref = samplePosition(axis, index[axis]);
        const double distance =
            std::max(std::fabs(ref - Env->xmin_eval[axis]), std::fabs(ref - Env->xmax_eval[axis]));
        squared += distance * distance;
    }
    return std::sqrt(squared);
}

} // namespace

LatticeReach::LatticeReach()
{
    for (int axis = 0; axis < 3; ++axis) {
        ranges_[axis].reserve(static_cast<std::size_t>(Env->nn_ref[axis]));
        for (int index = 0; index < Env->nn_ref[axis]; ++index) {
            ranges_[axis].push_back(indicesInsideBox(axis, index));
        }
    }
}

bool LatticeReach::reachesBeyond(std::int32_t ivxl, float rmax) const
{
    const int nx = Env->nn_ref[0];
    const int ny = Env->nn_ref[1];
    const int index[3] = {ivxl % nx, ivxl / nx % ny, ivxl / nx / ny};
    if (Env->randomRotation) {
        // A rotated point's distance carries the rounding of the matrix and of three products and
        // sums, some 1e-6 of its length.
        constexpr double rotationRounding = 1e-5;
        return farthestCorner(index) > static_cast<double>(rmax) * (1 - rotationRounding);
    }
    std::int64_t squared = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const LatticeRange& range = insideBox(axis, index[axis]);
        if (range.first > range.last) {
            return false;
        }
        const std::int64_t farthest = std::max(std::abs(range.first), std::abs(range.last));
        squared += farthest * farthest;
    }
    return static_cast<float>(squared) > ShellLattice(0, rmax, Env->stepSize).outerRadiusSquared();
}

void LatticeReach::closeVoxelsBeyond(float rmax) const
{
    for (ActiveVoxel& voxel : activeVoxels) {
        if (!voxel.stopSearching && !reachesBeyond(voxel.ivxl, rmax)) {
            voxel.stopSearching = true;
        }
    }
}
