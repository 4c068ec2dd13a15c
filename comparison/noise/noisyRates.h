/**
 * @file noisyRates.h
 * Pass rates of doses to which noise is added.
 */
#ifndef ZARNGI_COMPARISON_NOISE_NOISYRATES_H
#define ZARNGI_COMPARISON_NOISE_NOISYRATES_H

#include <cstdint>
#include <functional>
#include <vector>

#include "comparison/criterion.h"
#include "comparison/gammaRun.h"
#include "comparison/noise/differences.h"
#include "comparison/noise/noiseEstimate.h"

namespace zarngi
{

/** What is counted: each criterion in each part. */
struct NoisyRequest {
    GammaSettings settings; ///< with a normalisation dose
    std::vector<Criterion> criteria;
    std::vector<const files::Runs*> parts;
    std::uint32_t seed = 0;
};

/** Is told the part of the computations that are done; false ends them. */
using WatchNoise = std::function<bool(double)>;

/**
 * Counts by criterion, then by part; `passed` is left to the caller. The tested voxels stay those
 * of the pair. It replaces the grids of the run.
 * @throws InputError
 */
std::vector<std::vector<NoiseCounts>> noisyCounts(GammaRun& run, const UncertainPair& pair,
                                                  const NoisyRequest& request,
                                                  const WatchNoise& watch = {});

} // namespace zarngi

#endif
