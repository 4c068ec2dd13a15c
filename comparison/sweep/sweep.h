/**
 * @file sweep.h
 * Pass rates by criterion.
 */
#ifndef ZARNGI_COMPARISON_SWEEP_SWEEP_H
#define ZARNGI_COMPARISON_SWEEP_SWEEP_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "comparison/criterion.h"
#include "comparison/gammaRun.h"
#include "comparison/structures/namedPart.h"
#include "comparison/sweep/criterionRange.h"

namespace zarngi
{

struct SweepCount {
    std::size_t tested = 0;
    std::size_t passed = 0;
    double passRate = 0; ///< %; 0 where nothing is tested
};

/** Everything, or a structure: a count for each criterion. */
struct SweepPart {
    std::string name; ///< empty: all tested voxels
    /** Of the first dose difference with each distance, then of the next one. */
    std::vector<SweepCount> counts;
};

struct Sweep {
    CriterionRange range;
    std::vector<SweepPart> parts; ///< everything first
    double seconds = 0;
};

/** Is told the part of the criteria that are done, in each search again; false ends the sweep. */
using WatchSweep = std::function<bool(double)>;

/**
 * @param settings with a normalisation dose.
 * @throws InputError
 */
Sweep sweep(GammaRun& run, const GammaSettings& settings, const CriterionRange& range,
            const Geometry& grid, const std::vector<NamedPart>& parts,
            const WatchSweep& watch = {});

} // namespace zarngi

#endif
