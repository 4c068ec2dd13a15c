#include "files/structures/planeRows.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace files
{

namespace
{

using Vertex = Loop::value_type;

/** An edge that some row can cross, from its end with the smaller y. */
struct Edge {
    Vertex first;
    Vertex second;

    double xAt(double y) const
    {
        return first[0] + (y - first[1]) * (second[0] - first[0]) / (second[1] - first[1]);
    }
};

template <class Use> void forEachEdge(const Plane& plane, const Use& use)
{
    for (const Loop& loop : plane.loops) {
        Vertex last = loop.back();
        for (const Vertex& vertex : loop) {
            if (last[1] != vertex[1]) {
                use(last[1] < vertex[1] ? Edge{last, vertex} : Edge{vertex, last});
            }
            last = vertex;
        }
    }
}

/** The row, and the first of its points that crosses. */
using Crossing = std::pair<int, int>;

std::size_t edgeCount(const Plane& plane)
{
    std::size_t count = 0;
    for (const Loop& loop : plane.loops) {
        count += loop.size();
    }
    return count;
}

/** As many crossings are kept at once; lines that go up and down all the time have more. */
constexpr std::size_t mostCrossings = 4'000'000;

std::size_t rowsAtOnce(const Plane& plane)
{
    return std::max<std::size_t>(1, mostCrossings / std::max<std::size_t>(1, edgeCount(plane)));
}

/** The crossings of some rows, one after another. */
void findCrossings(const Plane& plane, const Raster& raster, std::int64_t firstRow,
                   std::int64_t endRow, std::vector<Crossing>& crossings)
{
    crossings.clear();
    forEachEdge(plane, [&](const Edge& edge) {
        const std::int64_t end = std::min(raster.firstFrom(1, edge.second[1]), endRow);
        for (std::int64_t row = std::max(raster.firstFrom(1, edge.first[1]), firstRow); row < end;
             ++row) {
            const double x = edge.xAt(raster.position(1, row));
            crossings.emplace_back(static_cast<int>(row), static_cast<int>(raster.firstFrom(0, x)));
        }
    });
    std::sort(crossings.begin(), crossings.end());
}

/** Closed lines cross every row an even number of times. */
void appendInside(const std::vector<Crossing>& crossings, Runs& runs)
{
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
        const auto [row, begin] = crossings[i];
        const int end = crossings[i + 1].second;
        if (begin == end) {
            continue;
        }
        if (!runs.empty() && runs.back().y == row && runs.back().end == begin) {
            runs.back().end = end;
        } else {
            runs.push_back({0, row, begin, end});
        }
    }
}

void addTo(std::vector<double>& cuts, const Edge& edge, double x)
{
    if ((edge.first[0] < x) != (edge.second[0] < x)) {
        cuts.push_back(edge.first[1] + (x - edge.first[0]) * (edge.second[1] - edge.first[1]) /
                                           (edge.second[0] - edge.first[0]));
    }
}

/** The heights between which no edge begins, ends or leaves the rectangle. */
std::vector<double> cutsOf(const Plane& plane, const Rectangle& rectangle)
{
    std::vector<double> cuts = {rectangle.lower[1], rectangle.upper[1]};
    forEachEdge(plane, [&](const Edge& edge) {
        cuts.push_back(edge.first[1]);
        cuts.push_back(edge.second[1]);
        addTo(cuts, edge, rectangle.lower[0]);
        addTo(cuts, edge, rectangle.upper[0]);
    });
    std::erase_if(cuts, [&](double y) { return y < rectangle.lower[1] || y > rectangle.upper[1]; });
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    return cuts;
}

/** Cuts, and the heights in the middle between two. */
struct Strips {
    explicit Strips(std::vector<double> between) : cuts(std::move(between))
    {
        for (std::size_t i = 1; i < cuts.size(); ++i) {
            middles.push_back((cuts[i - 1] + cuts[i]) / 2);
        }
    }

    /** The strips whose middle an edge crosses: the first one, and the one behind the last. */
    std::pair<std::size_t, std::size_t> crossedBy(const Edge& edge) const
    {
        const auto indexOf = [this](double y) {
            const auto middle = std::lower_bound(middles.begin(), middles.end(), y);
            return static_cast<std::size_t>(middle - middles.begin());
        };
        return {indexOf(edge.first[1]), indexOf(edge.second[1])};
    }

    double height(std::size_t strip) const { return cuts[strip + 1] - cuts[strip]; }

    std::vector<double> cuts;
    std::vector<double> middles;
};

std::size_t crossingCount(const Plane& plane, const Strips& strips)
{
    std::size_t count = 0;
    forEachEdge(plane, [&](const Edge& edge) {
        const auto [begin, end] = strips.crossedBy(edge);
        count += end - begin;
    });
    return count;
}

std::vector<double> evenCuts(const Rectangle& rectangle, std::size_t count)
{
    std::vector<double> cuts;
    const double height = rectangle.upper[1] - rectangle.lower[1];
    for (std::size_t i = 0; i <= count; ++i) {
        cuts.push_back(rectangle.lower[1] +
                       height * static_cast<double>(i) / static_cast<double>(count));
    }
    return cuts;
}

Rectangle intersection(const Rectangle& a, const Rectangle& b)
{
    Rectangle both{};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        both.lower[axis] = std::max(a.lower[axis], b.lower[axis]);
        both.upper[axis] = std::min(a.upper[axis], b.upper[axis]);
    }
    return both;
}

/** Between two cuts all edges are straight, so the width in the middle is the mean width. */
double areaOfStrips(const Plane& plane, const Rectangle& rectangle, const Strips& strips)
{
    std::vector<std::pair<std::size_t, double>> crossings;
    forEachEdge(plane, [&](const Edge& edge) {
        const auto [begin, end] = strips.crossedBy(edge);
        for (std::size_t strip = begin; strip < end; ++strip) {
            const double x = edge.xAt(strips.middles[strip]);
            crossings.emplace_back(strip, std::clamp(x, rectangle.lower[0], rectangle.upper[0]));
        }
    });
    std::sort(crossings.begin(), crossings.end());
    double area = 0;
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
        const auto& [strip, x] = crossings[i];
        area += (crossings[i + 1].second - x) * strips.height(strip);
    }
    return area;
}

Rectangle nowhere()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return {{infinity, infinity}, {-infinity, -infinity}};
}

void include(Rectangle& bounds, const Vertex& vertex)
{
    for (std::size_t axis = 0; axis < 2; ++axis) {
        bounds.lower[axis] = std::min(bounds.lower[axis], vertex[axis]);
        bounds.upper[axis] = std::max(bounds.upper[axis], vertex[axis]);
    }
}

} // namespace

Runs rowsOf(const Plane& plane, const Raster& raster)
{
    const Rectangle bounds = boundsOf(plane);
    const std::int64_t end = raster.firstFrom(1, bounds.upper[1]);
    const auto band = static_cast<std::int64_t>(rowsAtOnce(plane));
    std::vector<Crossing> crossings;
    Runs runs;
    for (std::int64_t row = raster.firstFrom(1, bounds.lower[1]); row < end; row += band) {
        findCrossings(plane, raster, row, std::min(row + band, end), crossings);
        appendInside(crossings, runs);
    }
    return runs;
}

double areaOf(const Plane& plane, const Rectangle& rectangle)
{
    const Rectangle bounds = intersection(rectangle, boundsOf(plane));
    if (!overlap(bounds, bounds)) {
        return 0;
    }
    const Strips exact(cutsOf(plane, bounds));
    if (crossingCount(plane, exact) <= mostCrossings) {
        return areaOfStrips(plane, bounds, exact);
    }
    return areaOfStrips(plane, bounds, Strips(evenCuts(bounds, rowsAtOnce(plane))));
}

Rectangle boundsOf(const Loop& loop)
{
    Rectangle bounds = nowhere();
    for (const Vertex& vertex : loop) {
        include(bounds, vertex);
    }
    return bounds;
}

Rectangle boundsOf(const Plane& plane)
{
    Rectangle bounds = nowhere();
    for (const Loop& loop : plane.loops) {
        const Rectangle ofLoop = boundsOf(loop);
        include(bounds, ofLoop.lower);
        include(bounds, ofLoop.upper);
    }
    return bounds;
}

bool contains(const Rectangle& outer, const Rectangle& inner)
{
    return outer.lower[0] <= inner.lower[0] && outer.lower[1] <= inner.lower[1] &&
           inner.upper[0] <= outer.upper[0] && inner.upper[1] <= outer.upper[1];
}

bool overlap(const Rectangle& a, const Rectangle& b)
{
    return a.lower[0] < b.upper[0] && b.lower[0] < a.upper[0] && a.lower[1] < b.upper[1] &&
           b.lower[1] < a.upper[1];
}

} // namespace files
