/**
 * @file doseExtremes.h
 * The smallest and the largest dose of a grid.
 */
#ifndef ZARNGI_CLI_DOSEEXTREMES_H
#define ZARNGI_CLI_DOSEEXTREMES_H

#include "doseImage.h"

namespace cli
{

struct DoseExtremes {
    double minimum;
    double maximum;
    std::array<int, 3> maximumIndex; ///< the first voxel with the largest dose
    Vec3 maximumPosition;            ///< mm, its centre
};

DoseExtremes doseExtremes(const Image& image);

} // namespace cli

#endif
