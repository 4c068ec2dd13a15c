#include "comparison/request/computation.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "comparison/doseSampling.h"
#include "comparison/failedSides.h"
#include "comparison/measurements/pointSearch.h"
#include "comparison/parallel.h"
#include "comparison/request/requestedStructures.h"

namespace zarngi
{

namespace
{

/** The reference as the search gets it. */
DoseImage searchedReference(const Comparison& comparison)
{
    DoseImage reference;
    reference.path = comparison.reference.path;
    reference.image = onlyWithin(comparison.reference.image, comparison.within->voxels);
    return reference;
}

/** A part, or a point, is judged as within the whole: the percentages refer to the same dose. */
GammaSettings searchSettings(const Comparison& comparison)
{
    GammaSettings settings = comparison.settings;
    if (comparison.within || arePoints(comparison.placed.space)) {
        settings.normalisation = comparison.normalisation();
    }
    return settings;
}

GammaMap searched(GammaRun& run, const Comparison& comparison, const GammaSettings& settings,
                  const Criterion& criterion, const WatchSearch& watch)
{
    return arePoints(comparison.placed.space)
               ? searchPoints(run, comparison.reference, settings, criterion, watch)
               : run.compute(settings, criterion, watch);
}

void judgeStructures(CriterionResult& result, const Comparison& comparison,
                     const CentreDoses& doses)
{
    const TestedVoxels tested{result.gamma, result.passed, doses,
                              comparison.reference.image.geometry, comparison.settings};
    const StructureComparison& structures = *comparison.structures;
    const std::vector<bool> isWanted = rowsOf(result.patterns, structures);
    result.structures.resize(structures.rows.size());
    forEachIndex(structures.rows.size(), comparison.settings.threads, [&](std::size_t i) {
        if (isWanted[i]) {
            const StructureRow& row = structures.rows[i];
            result.structures[i] = structureGamma(tested, row.voxels, row.limits);
        }
    });
    if (result.patterns.empty()) {
        result.outside = structureGamma(tested, structures.outside, comparison.limits);
    }
}

} // namespace

void compute(Comparison& comparison, const ExplainOptions& explain, const Watchers& watchers)
{
    const DoseImage part = comparison.within ? searchedReference(comparison) : DoseImage();
    const DoseImage& reference = comparison.within ? part : comparison.reference;
    GammaRun run(reference, comparison.evaluation);
    GammaSettings settings = searchSettings(comparison);
    const CentreDoses doses(viewOf(comparison.reference.image),
                            viewOf(comparison.evaluation.image));
    for (CriterionResult& result : comparison.results) {
        GammaMap map =
            searched(run, comparison, settings, result.criterion,
                     watchers.search ? watchers.search(result.criterion) : WatchSearch());
        result.step = static_cast<double>(stepSize(settings, result.criterion));
        result.statistics = gammaStatistics(map, settings);
        result.statistics.sides =
            arePoints(comparison.placed.space)
                ? failedPointSides(comparison.reference, viewOf(comparison.evaluation.image),
                                   map.passed)
                : failedSides(doses, map.passed);
        result.verdict = verdictOf(map.passRate, comparison.limits);
        result.seconds = map.seconds;
        result.gamma = std::move(map.values);
        result.passed = std::move(map.passed);
        if (comparison.structures) {
            judgeStructures(result, comparison, doses);
        }
    }
    settings.normalisation = comparison.normalisation();
    explainAndSweep(comparison, run, viewOf(reference.image), settings, explain, watchers.work);
}

} // namespace zarngi
