/**
 * @file subPoints.h
 * The points by which the volume and the doses of a structure are sampled.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_SUBPOINTS_H
#define ZARNGI_COMPARISON_STRUCTURES_SUBPOINTS_H

#include <cstddef>
#include <functional>

#include "files/structures/raster.h"
#include "files/structures/runs.h"

namespace zarngi
{

/** Parts of voxels whose centres belong to a structure, whichever voxel they lie in. */
struct SubPoints {
    files::Raster raster;
    files::Runs runs;

    std::size_t count() const { return files::pointCount(runs); }
    double volume() const; ///< cc
};

/** The points of a raster that belong to a structure. */
using PointsIn = std::function<files::Runs(const files::Raster&)>;

/**
 * On the finest raster of a grid; one part less along each axis while more than four million
 * points belong.
 */
SubPoints subPointsOf(const files::Geometry& grid, const PointsIn& pointsIn);

} // namespace zarngi

#endif
