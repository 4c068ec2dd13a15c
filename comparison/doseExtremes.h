/**
 * @file doseExtremes.h
 * The smallest and the largest dose of a grid.
 */
#ifndef ZARNGI_COMPARISON_DOSEEXTREMES_H
#define ZARNGI_COMPARISON_DOSEEXTREMES_H

#include "comparison/doseImage.h"

namespace zarngi
{

struct DoseExtremes {
    double minimum;
    double maximum;
    std::array<int, 3> maximumIndex; ///< the first voxel with the largest dose
    Vec3 maximumPosition;            ///< mm, its centre
};

DoseExtremes doseExtremes(const Image& image);

/** Of the places that have a dose; the position of a point is its own. */
DoseExtremes extremesOf(const DoseImage& dose);

} // namespace zarngi

#endif
