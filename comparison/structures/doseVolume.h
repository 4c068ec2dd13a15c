/**
 * @file doseVolume.h
 * The dose-volume histogram of a structure and the figures that are read off it.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_DOSEVOLUME_H
#define ZARNGI_COMPARISON_STRUCTURES_DOSEVOLUME_H

#include <cstddef>
#include <optional>
#include <vector>

#include "comparison/doseSampling.h"
#include "comparison/structures/doseMetric.h"
#include "comparison/structures/subPoints.h"

namespace zarngi
{

/** What is wanted of every structure. */
struct DoseVolumeSettings {
    std::vector<DoseMetric> metrics;
    double fullDose = 0; ///< Gy, 100 % of a V95%
    double binWidth = 1; ///< Gy, > 0, of the curves
};

/** Doses in Gy (or the unit of relative doses), over the sub-points that have a dose. */
struct DoseVolume {
    double volume = 0; ///< cc, of the points that have a dose
    double minimum = 0;
    double mean = 0;
    double maximum = 0;
    /**
     * In the order of the settings, Gy or % of the volume. The dose that x % reach is the
     * (100 - x)th percentile, linear between order statistics. A dose to a volume is that of its
     * share of the structure; there is none where the structure is smaller. Volumes count points at
     * or above the dose.
     */
    std::vector<std::optional<double>> metrics;
    std::size_t withoutDose = 0; ///< sub-points outside the faces of the dose grid
    /** The share, 0 to 1, at or above i * binWidth; ends with the first 0. */
    std::vector<double> curve;
};

/** None where no sub-point has a dose. */
std::optional<DoseVolume> doseVolume(const DoseView& dose, const SubPoints& points,
                                     const DoseVolumeSettings& settings);

/** The smallest of 1, 2 and 5 times a power of ten of which `largestDose` takes at most 1000. */
double curveBinWidth(double largestDose);

} // namespace zarngi

#endif
