/**
 * @file gammaStatistics.h
 * Counts and statistics of a gamma map.
 */
#ifndef ZARNGI_COMPARISON_GAMMASTATISTICS_H
#define ZARNGI_COMPARISON_GAMMASTATISTICS_H

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "comparison/failedSides.h"
#include "comparison/gammaRun.h"

namespace zarngi
{

/** The library's gamma of a voxel around which no evaluation dose was found, 1e10, is above this.
 */
constexpr float unreachedGamma = 1e9F;

/** Gamma values of the tested voxels for which the search found a dose to compare with. */
struct GammaSpread {
    double minimum;
    double mean;
    double percentile95; ///< linear interpolation between the two nearest ranks
    double percentile99;
    double maximum;
};

/**
 * Numbers of tested voxels by gamma: bin i counts i * width < gamma <= (i + 1) * width, the first
 * one gamma 0 as well, the last one everything above it. The bins up to gamma 1 count the passed.
 */
struct Histogram {
    static constexpr int binsPerUnit = 20;
    static constexpr double binWidth = 0.05;
    std::vector<std::size_t> counts;
};

struct GammaStatistics {
    std::size_t tested = 0;
    std::size_t passed = 0;
    std::size_t failed = 0;
    FailedSides sides;                  ///< of the failed ones; counted apart
    std::size_t unreached = 0;          ///< failed because no evaluation dose was within reach
    std::size_t beyondLimit = 0;        ///< gamma above the largest one that was searched for
    double passRate = 0;                ///< %
    std::optional<GammaSpread> spread;  ///< none in pass-rate mode, and when all are unreached
    std::optional<Histogram> histogram; ///< none in pass-rate mode

    /** Failed voxels without an evaluation dose at their centre, or with an equal one there. */
    std::size_t onNeitherSide() const { return failed - sides.hot - sides.cold - unreached; }
};

/**
 * Of some voxels.
 * @param gammas -1: not tested.
 * @param passed of the same voxels: 1, 0, or 255: not tested.
 */
GammaStatistics gammaStatistics(std::span<const float> gammas,
                                std::span<const unsigned char> passed,
                                const GammaSettings& settings);

/** Of all voxels; the pass rate is the library's own figure, in single precision. */
GammaStatistics gammaStatistics(const GammaMap& map, const GammaSettings& settings);

} // namespace zarngi

#endif
