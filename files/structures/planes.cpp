#include "files/structures/planes.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

namespace files
{

namespace
{

using Vertex = Loop::value_type;

std::int64_t meanHeight(const Contour& contour)
{
    double sum = 0;
    for (const Vec3& vertex : contour.vertices) {
        sum += vertex[2];
    }
    return heightOf(sum / static_cast<double>(contour.vertices.size()));
}

Loop loopOf(const Contour& contour)
{
    Loop loop;
    loop.reserve(contour.vertices.size());
    for (const Vec3& vertex : contour.vertices) {
        loop.push_back({vertex[0], vertex[1]});
    }
    return loop;
}

/** Where the least rotation of a loop begins, in linear time (two candidates that race). */
std::size_t leastRotation(const Loop& loop)
{
    const std::size_t n = loop.size();
    std::size_t a = 0;
    std::size_t b = 1;
    std::size_t same = 0;
    while (a < n && b < n && same < n) {
        const Vertex& ofA = loop[(a + same) % n];
        const Vertex& ofB = loop[(b + same) % n];
        if (ofA == ofB) {
            ++same;
            continue;
        }
        (ofB < ofA ? a : b) += same + 1;
        b += a == b ? 1 : 0;
        same = 0;
    }
    return std::min(a, b);
}

Loop rotated(Loop loop)
{
    const auto first = loop.begin() + static_cast<std::ptrdiff_t>(leastRotation(loop));
    std::rotate(loop.begin(), first, loop.end());
    return loop;
}

/** One loop that stands for all with its vertices in their cyclic order, either way round. */
Loop canonical(const Loop& loop)
{
    return std::min(rotated(loop), rotated(Loop(loop.rbegin(), loop.rend())));
}

/** Leaves one of the loops that are the same; tells how many went. */
std::size_t removeRepeated(std::vector<Loop>& loops)
{
    if (loops.size() < 2) {
        return 0;
    }
    std::vector<std::pair<Loop, std::size_t>> sorted;
    for (std::size_t i = 0; i < loops.size(); ++i) {
        sorted.emplace_back(canonical(loops[i]), i);
    }
    std::sort(sorted.begin(), sorted.end());
    std::vector<bool> isRepeated(loops.size());
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        isRepeated[sorted[i].second] = sorted[i].first == sorted[i - 1].first;
    }
    std::size_t index = 0;
    return std::erase_if(loops, [&](const Loop&) { return isRepeated[index++]; });
}

} // namespace

std::int64_t heightOf(double z)
{
    constexpr double perMillimetre = 1000;
    return static_cast<std::int64_t>(std::floor(z * perMillimetre + 0.5));
}

Planes planesOf(const std::vector<Contour>& contours)
{
    std::map<std::int64_t, std::vector<Loop>> byHeight;
    for (const Contour& contour : contours) {
        byHeight[meanHeight(contour)].push_back(loopOf(contour));
    }
    Planes planes;
    for (auto& [height, loops] : byHeight) {
        planes.repeated += removeRepeated(loops);
        planes.list.push_back({height, std::move(loops)});
    }
    return planes;
}

void addDistances(const std::vector<Plane>& planes, std::vector<std::int64_t>& distances)
{
    for (std::size_t i = 1; i < planes.size(); ++i) {
        distances.push_back(planes[i].height - planes[i - 1].height);
    }
}

std::int64_t medianOf(std::vector<std::int64_t> distances)
{
    const auto middle = distances.begin() + static_cast<std::ptrdiff_t>((distances.size() - 1) / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    return *middle;
}

std::vector<Slab> slabsOf(const std::vector<Plane>& planes, std::int64_t sliceDistance)
{
    std::vector<Slab> slabs;
    for (const Plane& plane : planes) {
        slabs.push_back(
            {4 * plane.height - 2 * sliceDistance, 4 * plane.height + 2 * sliceDistance});
    }
    for (std::size_t i = 1; i < planes.size(); ++i) {
        const std::int64_t below = planes[i - 1].height;
        const std::int64_t above = planes[i].height;
        if (!isGap(above - below, sliceDistance)) {
            slabs[i - 1].upper = slabs[i].lower = 2 * (below + above);
        }
    }
    return slabs;
}

} // namespace files
