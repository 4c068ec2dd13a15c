/**
 * @file noiseEstimate.h
 * The pass rate that doses would have without their statistical noise, from rates with more of it.
 */
#ifndef ZARNGI_COMPARISON_NOISE_NOISEESTIMATE_H
#define ZARNGI_COMPARISON_NOISE_NOISEESTIMATE_H

#include <array>
#include <cstddef>

namespace zarngi
{

/** By how much of the doses' own variance that of the noise grows, one step after the other. */
constexpr std::array<double, 4> addedVariances{0.5, 1, 2, 3};
/** Computations with each of them. */
constexpr std::size_t noiseRepetitions = 2;
/** Tested voxels below which nothing is estimated. */
constexpr std::size_t fewestVoxels = 50;

/** What the computations counted in some voxels. */
struct NoiseCounts {
    std::size_t tested = 0;
    std::size_t passed = 0; ///< by the doses as they are
    /** By the added variance, then by the repetition. */
    std::array<std::array<std::size_t, noiseRepetitions>, addedVariances.size()> passedWith{};
    /** Voxels about which both repetitions disagree, by the added variance. */
    std::array<std::size_t, addedVariances.size()> disagreements{};
    /** Mean square of the combined uncertainty as a part of the criterion's dose difference. */
    double noiseSquare = 0;
};

struct NoiseEstimate {
    enum class Kind {
        told,
        tooNoisy, ///< the noise exceeds the criterion
        tooFew    ///< tested voxels
    };

    Kind kind = Kind::tooFew;
    double noise =
        0; ///< combined uncertainty, of the criterion's dose difference, root mean square
    double passRate = 0; ///< %, of Kind::told
    double lower = 0;    ///< %, between which and `upper` it lies
    double upper = 0;
};

/** As docs/noise.md tells. */
NoiseEstimate noiseEstimate(const NoiseCounts& counts);

/**
 * The rate at no variance, by rates at the doses' own variance times 1 and 1 + addedVariances: the
 * curve through them, which counts as constant where less noise would turn it round.
 */
double extrapolatedRate(const std::array<double, addedVariances.size() + 1>& rates);

} // namespace zarngi

#endif
