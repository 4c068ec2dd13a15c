/**
 * @file doseSampling.h
 * Doses between the voxel centres of a grid: trilinear, in double precision, without fused
 * multiply-adds. Within the faces of the outermost voxels the place counts as lying at their
 * centres; outside of the faces there is no dose.
 */
#ifndef ZARNGI_COMPARISON_DOSESAMPLING_H
#define ZARNGI_COMPARISON_DOSESAMPLING_H

#include <cstddef>
#include <span>

#include "comparison/doseImage.h"

namespace zarngi
{

/** A place along one axis of a grid. */
struct AxisPlace {
    int lower = 0; ///< voxels whose doses are interpolated
    int upper = 0;
    double fraction = 0;   ///< of the way from the lower centre to the upper one, 0 to 1
    bool isInside = false; ///< between the faces
};

/** Where a position (mm) lies. */
AxisPlace placeOf(const Geometry& grid, std::size_t axis, double position);

/** The doses of a grid as they lie in memory. */
struct DoseView {
    Geometry geometry;
    std::span<const float> values; ///< x fastest
};

DoseView viewOf(const Image& image);

/** The dose at a place that is inside along each axis. */
inline double doseAt(const DoseView& doses, const AxisPlace& x, const AxisPlace& y,
                     const AxisPlace& z)
{
    const auto width = static_cast<std::size_t>(doses.geometry.size[0]);
    const auto height = static_cast<std::size_t>(doses.geometry.size[1]);
    const auto alongX = [&](int j, int k) {
        const std::size_t row =
            (static_cast<std::size_t>(k) * height + static_cast<std::size_t>(j)) * width;
        const auto lower =
            static_cast<double>(doses.values[row + static_cast<std::size_t>(x.lower)]);
        const auto upper =
            static_cast<double>(doses.values[row + static_cast<std::size_t>(x.upper)]);
        return lower + x.fraction * (upper - lower);
    };
    const auto alongY = [&](int k) {
        const double lower = alongX(y.lower, k);
        return lower + y.fraction * (alongX(y.upper, k) - lower);
    };
    const double lower = alongY(z.lower);
    return lower + z.fraction * (alongY(z.upper) - lower);
}

} // namespace zarngi

#endif
