/**
 * @file planeRows.h
 * The inside of the contours of a plane.
 */
#ifndef ZARNGI_FILES_STRUCTURES_PLANEROWS_H
#define ZARNGI_FILES_STRUCTURES_PLANEROWS_H

#include "files/structures/planes.h"
#include "files/structures/raster.h"
#include "files/structures/runs.h"

namespace files
{

/**
 * The points inside, as runs of slice 0. An edge from (x1, y1), its end with the smaller y, to
 * (x2, y2) is crossed at row y if y1 <= y < y2, by the points with
 * x1 + (y - y1) * (x2 - x1) / (y2 - y1) <= x; inside are those that cross an odd number of edges.
 */
Runs rowsOf(const Plane& plane, const Raster& raster);

/** A part of a plane, mm. */
struct Rectangle {
    std::array<double, 2> lower;
    std::array<double, 2> upper;
};

/** Of what is inside of an odd number of loops, mm^2, as far as it lies in the rectangle. */
double areaOf(const Plane& plane, const Rectangle& rectangle);

/** Around all vertices. */
Rectangle boundsOf(const Plane& plane);
Rectangle boundsOf(const Loop& loop);

bool contains(const Rectangle& outer, const Rectangle& inner);

/** Whether they have a point in common; those that only touch have none. */
bool overlap(const Rectangle& a, const Rectangle& b);

} // namespace files

#endif
