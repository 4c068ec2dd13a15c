/**
 * @file planeGrid.h
 * Doses at places that are told one by one, or by the edges of a matrix, as grids.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_PLANEGRID_H
#define ZARNGI_FILES_MEASUREMENTS_PLANEGRID_H

#include <vector>

#include "files/doseImage.h"

namespace files
{

/** A matrix as it is written. */
struct DoseMatrix {
    std::vector<double> x;                 ///< mm, of the columns
    std::vector<double> y;                 ///< mm, of the rows
    LargeVector<float> values;             ///< Gy, row by row
    std::vector<unsigned char> isMeasured; ///< 1 or 0 of each; what is not measured has the value 0
    double roundingX = 0; ///< mm, by which rounded positions may be off evenly spaced ones
    double roundingY = 0;
};

/**
 * The plane of a matrix, which is not in space; its axes rise.
 * @throws Refusal when there are fewer than two rows or columns, or they are uneven.
 */
DoseImage planeOf(DoseMatrix matrix);

/** Doses and their places, as they are written. */
struct DosePoints {
    bool isInSpace = false;    ///< else z is 0
    std::vector<Vec3> places;  ///< mm
    LargeVector<float> values; ///< Gy
    double rounding = 0;       ///< mm, by which rounded places may be off a raster
};

/** More points without a raster are refused. */
constexpr std::size_t mostPoints = 10000;

/**
 * The grid of points on a raster, along two axes at least, on which places may be missing; else the
 * points.
 * @throws Refusal when there is no point, two are in one place, or too many are on no raster.
 */
DoseImage gridOf(DosePoints points);

} // namespace files

#endif
