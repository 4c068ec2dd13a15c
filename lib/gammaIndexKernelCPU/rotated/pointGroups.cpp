#include "rotated/pointGroups.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "gammaTerm.h"
#include "lattice/radiusGaps.h"
#include "rotation.h"

namespace zarngi::engine
{

namespace
{

/** Points that end up in one group: those in the same small box of the lattice. */
struct GroupedPoint {
    std::tuple<int, int, int> box;
    vec3dRT rotated;
};

std::vector<GroupedPoint> groupPoints(const std::vector<vec3dRT>& points, float step)
{
    // Boxes of 4 x 2 x 2 lattice points, aligned so that the boxes around the origin are centred.
    const auto boxOf = [step](float position, float size) {
        return static_cast<int>(std::floor(position / step / size + 0.5F));
    };
    std::vector<GroupedPoint> grouped;
    grouped.reserve(points.size());
    for (const vec3dRT& p : points) {
        vec3dRT rotated = p;
        applyRotation(Rot, rotated);
        grouped.push_back({{boxOf(p.x, 4), boxOf(p.y, 2), boxOf(p.z, 2)}, rotated});
    }
    std::stable_sort(grouped.begin(), grouped.end(),
                     [](const GroupedPoint& a, const GroupedPoint& b) { return a.box < b.box; });
    return grouped;
}

/** One group: a range of the grouped points and its least squared distance. */
struct Group {
    std::size_t first;
    std::size_t last; ///< behind the last point
    float nearest;
};

std::vector<Group> findGroups(const std::vector<GroupedPoint>& points)
{
    std::vector<Group> groups;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const float squared = dot(points[i].rotated, points[i].rotated);
        const bool starts = groups.empty() || points[groups.back().first].box != points[i].box ||
                            i - groups.back().first == RotatedPoints::groupSize;
        if (starts) {
            groups.push_back({i, i + 1, squared});
        } else {
            groups.back().last = i + 1;
            groups.back().nearest = std::min(groups.back().nearest, squared);
        }
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group& a, const Group& b) { return a.nearest < b.nearest; });
    return groups;
}

} // namespace

RotatedPoints::RotatedPoints(const SearchCriteria& criteria, const std::vector<vec3dRT>& points,
                             const LatticeAxes& latticeAxes)
    : SearchCriteria(criteria), axes(&latticeAxes),
      wholeSquared(wholeSquaredRadius(shellLattice(1)))
{
    std::copy(&Rot[0][0], &Rot[0][0] + 9, &rotation[0][0]);
    const std::vector<GroupedPoint> grouped = groupPoints(points, stepSize);
    const std::vector<Group> groups = findGroups(grouped);
    groupCount = static_cast<std::int32_t>(groups.size());
    float farthest = 0;
    for (const GroupedPoint& p : grouped) {
        farthest = std::max(farthest, dot(p.rotated, p.rotated));
    }
    reach = std::sqrt(farthest);
    largestDistanceTerm = distanceTerm(farthest, dta);
    const std::size_t padded = groups.size() + groupSize;
    nearest.resize(padded);
    extent.resize(padded);
    for (int a = 0; a < 3; ++a) {
        point[a].resize(groups.size() * groupSize);
        centre[a].resize(padded);
        corner[a].resize(padded);
        halfExtent[a] = 0.5F * stepSize; // more than nothing, also for a group of one point
    }
    for (std::size_t g = 0; g < groups.size(); ++g) {
        const Group& group = groups[g];
        nearest[g] = group.nearest;
        for (int a = 0; a < 3; ++a) {
            float low = grouped[group.first].rotated[a];
            float high = low;
            for (std::size_t i = 0; i < groupSize; ++i) {
                const std::size_t from =
                    group.first + i < group.last ? group.first + i : group.first;
                const float position = grouped[from].rotated[a];
                point[a][g * groupSize + i] = position;
                low = std::min(low, position);
                high = std::max(high, position);
            }
            centre[a][g] = 0.5F * (low + high);
            corner[a][g] = low;
            halfExtent[a] = std::max(halfExtent[a], 0.5F * (high - low));
        }
    }
    for (std::size_t g = 0; g < groups.size(); ++g) {
        for (int a = 0; a < 3; ++a) {
            const float share = (centre[a][g] - corner[a][g]) / halfExtent[a];
            extent[g] = std::max(extent[g], share);
        }
    }
}

} // namespace zarngi::engine
