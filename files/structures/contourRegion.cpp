#include "files/structures/contourRegion.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "files/structures/planeRows.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr double perCc = 1000; // mm^3

Rectangle everywhere()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return {{-infinity, -infinity}, {infinity, infinity}};
}

double lowerFace(const Geometry& grid, std::size_t axis)
{
    return grid.origin[axis] - grid.spacing[axis] / 2;
}

double upperFace(const Geometry& grid, std::size_t axis)
{
    return grid.origin[axis] + (grid.size[axis] - 0.5) * grid.spacing[axis];
}

Rectangle facesOf(const Geometry& grid)
{
    return {{lowerFace(grid, 0), lowerFace(grid, 1)}, {upperFace(grid, 0), upperFace(grid, 1)}};
}

/** Of a slab, mm, as far as it lies between the faces of a grid. */
double thicknessWithin(const Slab& slab, const Geometry& grid)
{
    constexpr double perMillimetre = 4000;
    const double lower = static_cast<double>(slab.lower) / perMillimetre;
    const double upper = static_cast<double>(slab.upper) / perMillimetre;
    if (lower >= lowerFace(grid, 2) && upper <= upperFace(grid, 2)) {
        return slab.thickness();
    }
    return std::max(0.0, std::min(upper, upperFace(grid, 2)) - std::max(lower, lowerFace(grid, 2)));
}

std::size_t loopsBeside(const Plane& plane, const Rectangle& faces)
{
    return static_cast<std::size_t>(
        std::count_if(plane.loops.begin(), plane.loops.end(),
                      [&](const Loop& loop) { return !overlap(boundsOf(loop), faces); }));
}

std::string millimetres(std::int64_t micrometres)
{
    return number(static_cast<double>(micrometres) / 1000, 9) + " mm";
}

/** "has a gap of 10 mm between its planes at z = 3 mm and 13 mm", for a few of them. */
std::string describeGaps(const std::vector<Plane>& planes, std::int64_t sliceDistance)
{
    constexpr std::size_t mostTold = 3;
    std::size_t count = 0;
    std::string places;
    for (std::size_t i = 1; i < planes.size(); ++i) {
        const std::int64_t distance = planes[i].height - planes[i - 1].height;
        if (!isGap(distance, sliceDistance)) {
            continue;
        }
        if (++count <= mostTold) {
            places += (places.empty() ? "" : ", ") + millimetres(distance) +
                      " above z = " + millimetres(planes[i - 1].height);
        }
    }
    if (count == 0) {
        return {};
    }
    return (count == 1 ? std::string("has a gap: ") : "has " + std::to_string(count) + " gaps: ") +
           places + (count > mostTold ? ", ..." : "");
}

} // namespace

ContourRegion::ContourRegion(Planes planes, std::int64_t sliceDistance,
                             std::int64_t distanceOfOthers)
    : planes_(std::move(planes)), sliceDistance_(sliceDistance),
      distanceOfOthers_(distanceOfOthers), slabs_(slabsOf(planes_.list, sliceDistance))
{
}

/** The slab that holds a height, or their number where none does. */
std::size_t ContourRegion::slabAt(std::int64_t height) const
{
    const std::int64_t quarters = 4 * height;
    const auto slab = std::upper_bound(slabs_.begin(), slabs_.end(), quarters,
                                       [](std::int64_t z, const Slab& s) { return z < s.upper; });
    return slab != slabs_.end() && slab->lower <= quarters
               ? static_cast<std::size_t>(slab - slabs_.begin())
               : slabs_.size();
}

Runs ContourRegion::pointsIn(const Raster& raster) const
{
    Runs runs;
    if (slabs_.empty()) {
        return runs;
    }
    constexpr double perMillimetre = 4000;
    // A micrometre off, as heights are rounded; which slices belong is told by the slabs.
    const double bottom = static_cast<double>(slabs_.front().lower) / perMillimetre - 1e-3;
    const double top = static_cast<double>(slabs_.back().upper) / perMillimetre + 1e-3;
    const std::int64_t end = raster.firstFrom(2, top);
    std::size_t known = slabs_.size();
    Runs rows; // of the slab that is known
    for (std::int64_t z = raster.firstFrom(2, bottom); z < end; ++z) {
        const std::size_t slab = slabAt(heightOf(raster.position(2, z)));
        if (slab == slabs_.size()) {
            continue;
        }
        if (slab != known) {
            rows = rowsOf(planes_.list[slab], raster);
            known = slab;
        }
        for (const Run& run : rows) {
            runs.push_back({static_cast<int>(z), run.y, run.begin, run.end});
        }
    }
    return runs;
}

OutsideGrid ContourRegion::outside(const Geometry& grid) const
{
    OutsideGrid outside;
    const Rectangle faces = facesOf(grid);
    double whole = 0;
    double within = 0;
    for (std::size_t i = 0; i < slabs_.size(); ++i) {
        const Plane& plane = planes_.list[i];
        const double thickness = thicknessWithin(slabs_[i], grid);
        const bool isWithin = thickness > 0;
        outside.planes += isWithin ? 0 : 1;
        outside.contours += isWithin ? loopsBeside(plane, faces) : plane.loops.size();
        const double area = areaOf(plane, everywhere());
        const double areaWithin = contains(faces, boundsOf(plane)) ? area : areaOf(plane, faces);
        whole += area * slabs_[i].thickness();
        within += areaWithin * thickness;
    }
    outside.share = whole > 0 ? std::clamp(1 - within / whole, 0.0, 1.0) : 0;
    return outside;
}

double ContourRegion::volume() const
{
    double volume = 0;
    for (std::size_t i = 0; i < slabs_.size(); ++i) {
        volume += areaOf(planes_.list[i], everywhere()) * slabs_[i].thickness();
    }
    return volume / perCc;
}

std::vector<std::string> ContourRegion::notes() const
{
    std::vector<std::string> notes;
    if (planes_.list.size() == 1) {
        notes.push_back("has one plane, which stands for " + millimetres(sliceDistance_));
    } else if (sliceDistance_ != distanceOfOthers_) {
        notes.push_back("has planes every " + millimetres(sliceDistance_) +
                        ", those of the file lie " + millimetres(distanceOfOthers_) + " apart");
    }
    if (std::string gaps = describeGaps(planes_.list, sliceDistance_); !gaps.empty()) {
        notes.push_back(std::move(gaps));
    }
    if (planes_.repeated > 0) {
        notes.push_back("has " + std::to_string(planes_.repeated) +
                        (planes_.repeated == 1 ? " contour" : " contours") +
                        " given twice, which count once");
    }
    return notes;
}

} // namespace files
