/**
 * @file pointSearch.h
 * The gamma test of places that form no grid.
 */
#ifndef ZARNGI_COMPARISON_MEASUREMENTS_POINTSEARCH_H
#define ZARNGI_COMPARISON_MEASUREMENTS_POINTSEARCH_H

#include "comparison/failedSides.h"
#include "comparison/gammaRun.h"

namespace zarngi
{

/** A point as a grid of one voxel, small enough for any plane. */
Geometry gridAround(const Vec3& point);

/**
 * Searches the points of a dose one by one, each as the one voxel of a grid.
 * @param points a dose that isPoints().
 * @param settings with a normalisation: that of one voxel would be its own dose.
 * @param watch told how many of the points are done; may be empty.
 * @throws InputError as GammaRun::compute().
 */
GammaMap searchPoints(GammaRun& run, const DoseImage& points, const GammaSettings& settings,
                      const Criterion& criterion, const WatchSearch& watch = {});

/** Whether failed points have too much dose or too little. */
FailedSides failedPointSides(const DoseImage& points, const DoseView& evaluation,
                             std::span<const unsigned char> passed);

} // namespace zarngi

#endif
