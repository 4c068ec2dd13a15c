#include "lattice/axes.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engineState.h"
#include "shellLattice.h"

namespace zarngi::engine
{

namespace
{

/** No lattice index beyond this is considered: a sum of three squares still fits 64 bits. */
constexpr std::int32_t maxLatticeIndex = std::int32_t{1} << 30;

/** The first index in [low, high] for which the monotone predicate holds, high + 1 if none. */
template <class Predicate>
std::int32_t firstIndex(std::int32_t low, std::int32_t high, const Predicate& holds)
{
    while (low <= high) {
        const auto middle = static_cast<std::int32_t>((std::int64_t{low} + high) / 2);
        if (holds(middle)) {
            high = middle - 1;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

/** Position of a voxel's sample point on one axis, in the order of operations of the search. */
float samplePosition(const DoseGrid& reference, int axis, int index)
{
    const float node = static_cast<float>(index) * reference.h[axis] + reference.x0[axis];
    return node + ptsSob_vox.front()[axis];
}

/** The lattice on one axis around one reference sample point. */
struct LatticeLine {
    const SearchCriteria& criteria;
    int axis;
    float origin;

    [[nodiscard]] float position(std::int32_t i) const
    {
        return origin + static_cast<float>(i) * criteria.stepSize;
    }
    [[nodiscard]] float fractional(std::int32_t i) const
    {
        return (position(i) - criteria.evaluation.x0[axis]) / criteria.evaluation.h[axis];
    }
};

LatticeInterval insideBox(const LatticeLine& line)
{
    const float low = line.criteria.boxBegin[line.axis];
    const float high = line.criteria.boxEnd[line.axis];
    const std::int32_t first = firstIndex(-maxLatticeIndex, maxLatticeIndex, [&](std::int32_t i) {
        return !(line.position(i) < low);
    });
    const std::int32_t beyond = firstIndex(-maxLatticeIndex, maxLatticeIndex,
                                           [&](std::int32_t i) { return line.position(i) > high; });
    return {first, beyond - 1};
}

LatticeInterval centreZone(const LatticeLine& line, const LatticeInterval& inside)
{
    const float last = static_cast<float>(line.criteria.evaluation.n[line.axis]) - 0.5F;
    const std::int32_t first = firstIndex(
        inside.first, inside.last, [&](std::int32_t i) { return line.fractional(i) >= 0.5F; });
    const std::int32_t beyond = firstIndex(
        first, inside.last, [&](std::int32_t i) { return !(line.fractional(i) <= last); });
    return {first, beyond - 1};
}

AxisSample tabulate(const SearchCriteria& criteria, int axis, int index)
{
    const DoseGrid& reference = criteria.reference;
    const DoseGrid& evaluation = criteria.evaluation;
    AxisSample sample{};
    sample.position = samplePosition(reference, axis, index);
    sample.inReference = locate(sample.position, reference.x0[axis], reference.h[axis],
                                reference.n[axis], criteria.reader);
    const LatticeLine line{criteria, axis, sample.position};
    sample.inside = insideBox(line);
    sample.centre = criteria.reader == Reader::nearest ? LatticeInterval{0, -1}
                                                       : centreZone(line, sample.inside);
    const std::int32_t low = std::abs(sample.inside.first);
    const std::int32_t high = std::abs(sample.inside.last);
    const bool holdsZero = sample.inside.first <= 0 && sample.inside.last >= 0;
    sample.nearest = holdsZero ? 0 : std::min(low, high);
    sample.farthest = std::max(low, high);
    const double toFirst = static_cast<double>(evaluation.x0[axis]) +
                           0.5 * static_cast<double>(evaluation.h[axis]) -
                           static_cast<double>(sample.position);
    sample.firstCentre = static_cast<float>(toFirst / static_cast<double>(criteria.stepSize));
    return sample;
}

/** Distance from the sample point to the evaluation box, mm; 0 inside it. */
double distanceToBox(const SearchCriteria& criteria, const LatticeAxes& axes,
                     const VoxelPlace& place)
{
    double squared = 0;
    for (int a = 0; a < 3; ++a) {
        const double origin = axes.axis[a][static_cast<std::size_t>(place.index[a])].position;
        const double distance = std::max({static_cast<double>(criteria.boxBegin[a]) - origin,
                                          origin - static_cast<double>(criteria.boxEnd[a]), 0.0});
        squared += distance * distance;
    }
    return std::sqrt(squared);
}

/** Distance from the sample point to the farthest corner of the evaluation box, mm. */
double farthestCorner(const SearchCriteria& criteria, const LatticeAxes& axes,
                      const VoxelPlace& place)
{
    double squared = 0;
    for (int a = 0; a < 3; ++a) {
        const double origin = axes.axis[a][static_cast<std::size_t>(place.index[a])].position;
        const double distance = std::max(std::fabs(origin - criteria.boxBegin[a]),
                                         std::fabs(origin - criteria.boxEnd[a]));
        squared += distance * distance;
    }
    return std::sqrt(squared);
}

/** Squared distance, in steps, of the farthest lattice point inside the box; -1 if there is none.
 */
float farthestSquared(const LatticeAxes& axes, const VoxelPlace& place)
{
    std::int64_t squared = 0;
    for (int a = 0; a < 3; ++a) {
        const AxisSample& sample = axes.axis[a][static_cast<std::size_t>(place.index[a])];
        if (sample.inside.empty()) {
            return -1.0F;
        }
        squared += std::int64_t{sample.farthest} * sample.farthest;
    }
    return static_cast<float>(squared);
}

} // namespace

LatticeAxes tabulateLatticeAxes(const SearchCriteria& criteria)
{
    LatticeAxes axes;
    for (int a = 0; a < 3; ++a) {
        axes.axis[a].reserve(static_cast<std::size_t>(criteria.reference.n[a]));
        for (int index = 0; index < criteria.reference.n[a]; ++index) {
            axes.axis[a].push_back(tabulate(criteria, a, index));
        }
    }
    return axes;
}

float reachedFromEverywhere(const LatticeAxes& axes)
{
    double squared = 0;
    for (const std::vector<AxisSample>& samples : axes.axis) {
        std::int32_t least = std::numeric_limits<std::int32_t>::max();
        for (const AxisSample& sample : samples) {
            if (sample.inside.empty()) {
                return -1.0F;
            }
            least = std::min(least, sample.farthest);
        }
        squared += static_cast<double>(least) * least;
    }
    return static_cast<float>(squared);
}

double nearestOpenVoxel(const SearchCriteria& criteria, const LatticeAxes& axes, double reach)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (const ActiveVoxel& voxel : activeVoxels) {
        if (voxel.stopSearching) {
            continue;
        }
        const VoxelPlace place = placeOf(criteria.reference.n, voxel.ivxl);
        const double distance = distanceToBox(criteria, axes, place);
        if (!(distance > reach)) {
            return distance;
        }
        nearest = std::min(nearest, distance);
    }
    return nearest;
}

void closeVoxelsOutOfReach(const SearchCriteria& criteria, const LatticeAxes& axes, float rmax)
{
    // A rotated point's distance carries the rounding of the matrix and of three products and sums,
    // well below 1e-5 of its length.
    const double rotatedRadius = static_cast<double>(rmax) * (1 - 1e-5);
    const float radiusSquared = ShellLattice(0, rmax, criteria.stepSize).outerRadiusSquared();
    if (!criteria.randomRotation && reachedFromEverywhere(axes) > radiusSquared) {
        return;
    }
    for (ActiveVoxel& voxel : activeVoxels) {
        if (voxel.stopSearching) {
            continue;
        }
        const VoxelPlace place = placeOf(criteria.reference.n, voxel.ivxl);
        const bool reachable = criteria.randomRotation
                                   ? farthestCorner(criteria, axes, place) > rotatedRadius
                                   : farthestSquared(axes, place) > radiusSquared;
        voxel.stopSearching = !reachable;
    }
}

} // namespace zarngi::engine
