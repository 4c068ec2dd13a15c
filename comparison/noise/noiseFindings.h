/**
 * @file noiseFindings.h
 * What the statistical noise of doses does to a comparison.
 */
#ifndef ZARNGI_COMPARISON_NOISE_NOISEFINDINGS_H
#define ZARNGI_COMPARISON_NOISE_NOISEFINDINGS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zarngi
{

/** Differences between evaluation and reference in units of their combined uncertainty. */
struct NoiseDifferences {
    std::string name;        ///< of a structure; empty: of all tested voxels, or of a dose band
    double lowerPercent = 0; ///< where a dose band begins, % of the normalisation dose
    double upperPercent = 0; ///< where a dose band ends, %; 0: no band
    std::size_t voxels = 0;  ///< tested ones whose uncertainty is known
    double mean = 0;
    double deviation = 0;
    double beyondTwo = 0;   ///< share beyond 2, 0 to 1; 0.046 of noise alone
    double beyondThree = 0; ///< share beyond 3, 0 to 1; 0.0027 of noise alone
};

/** Where doses change little, the differences show the noise itself. */
struct FlatRegion {
    std::size_t voxels = 0;
    double chiSquare = 0; ///< mean square of the differences in units of their uncertainty
    /** How much they scatter from voxel to voxel, in these units: 1, if the uncertainties are
     * right. */
    std::optional<double> scatter;
    std::optional<double> correlation; ///< between neighbouring voxels
};

struct NoiseFindings {
    std::uint32_t seed = 0;
    std::vector<NoiseDifferences> differences; ///< of all voxels, of bands, of structures
    FlatRegion flat;
    std::vector<std::string> notes; ///< what speaks against the uncertainties; sentences
    double seconds = 0;
};

} // namespace zarngi

#endif
