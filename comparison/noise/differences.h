/**
 * @file differences.h
 * Differences between two doses in units of their combined uncertainty.
 */
#ifndef ZARNGI_COMPARISON_NOISE_DIFFERENCES_H
#define ZARNGI_COMPARISON_NOISE_DIFFERENCES_H

#include <algorithm>
#include <span>
#include <vector>

#include "comparison/explanation/gridBox.h"
#include "comparison/failedSides.h"
#include "comparison/noise/noiseFindings.h"
#include "comparison/structures/namedPart.h"

namespace zarngi
{

/** Two doses with their uncertainties. */
struct UncertainPair {
    DoseView reference;
    DoseView evaluation;
    std::span<const float> referenceUncertainty; ///< empty: none; not a number: unknown
    std::span<const float> evaluationUncertainty;
    const CentreDoses& centres;
    std::span<const unsigned char> passed; ///< of the reference: 255: not tested
    GridBox box;                           ///< of the reference, around the tested voxels

    bool isTested(std::size_t voxel) const;
    /**
     * Variance of the reference dose plus that of the evaluation there, Gy^2. That of an
     * interpolated dose counts as if it were no mean of several.
     */
    double varianceAt(std::size_t voxel) const;
};

/** Adds what the tested voxels show. @param normalisation of which dose bands are percentages */
void findDifferences(NoiseFindings& findings, const UncertainPair& pair, double normalisation,
                     const std::vector<NamedPart>& parts);

/**
 * (evaluation - reference) / their combined uncertainty for each voxel of the reference; not a
 * number where none is known, or nothing was tested.
 */
std::vector<float> differencesInUncertainties(const UncertainPair& pair);

/** Calls visit(number of a voxel in the grid, number in the box) for those of some runs in the box.
 */
template <class Visit>
void forEachVoxel(const Geometry& grid, const GridBox& box, const files::Runs& runs,
                  const Visit& visit)
{
    const auto width = static_cast<std::size_t>(grid.size[0]);
    const auto height = static_cast<std::size_t>(grid.size[1]);
    for (const files::Run& run : runs) {
        if (run.z < box.first[2] || run.z >= box.end[2] || run.y < box.first[1] ||
            run.y >= box.end[1]) {
            continue;
        }
        const std::size_t row =
            (static_cast<std::size_t>(run.z) * height + static_cast<std::size_t>(run.y)) * width;
        const std::size_t within = (static_cast<std::size_t>(run.z - box.first[2]) * box.width(1) +
                                    static_cast<std::size_t>(run.y - box.first[1])) *
                                   box.width(0);
        const int end = std::min(run.end, box.end[0]);
        for (int x = std::max(run.begin, box.first[0]); x < end; ++x) {
            visit(row + static_cast<std::size_t>(x),
                  within + static_cast<std::size_t>(x - box.first[0]));
        }
    }
}

/** The smallest box around the tested voxels, of which there are some. */
GridBox testedBox(const Geometry& grid, std::span<const unsigned char> passed);

/** All voxels of a box. */
files::Runs runsOf(const GridBox& box);

} // namespace zarngi

#endif
