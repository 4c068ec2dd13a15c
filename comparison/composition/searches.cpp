#include "comparison/composition/searches.h"

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "comparison/composition/chosenStructures.h"
#include "comparison/failedSides.h"
#include "comparison/measurements/pointSearch.h"
#include "comparison/parallel.h"

namespace zarngi
{

namespace
{

/** The reference where only some voxels are tested. */
DoseImage testedReference(const Comparison& comparison)
{
    DoseImage reference;
    if (comparison.within) {
        reference.path = comparison.reference.path;
        reference.image = onlyWithin(comparison.reference.image, comparison.within->voxels);
    }
    return reference;
}

/** For parts, with the normalisation that the library would find in the whole grid. */
GammaSettings partedSettings(const Comparison& comparison)
{
    GammaSettings settings = comparison.settings;
    const files::Values& doses = comparison.reference.image.values;
    // The library takes a first dose that is not a number for the largest, and then tests nothing.
    const bool isLargest = comparison.normalisation > 0 && !std::isnan(doses.front());
    if (doses.size() > largestWhole && isLargest && !settings.normalisation) {
        settings.normalisation = comparison.normalisation;
    }
    return settings;
}

/** Worse: its verdict, then its rate; nothing tested is no verdict. */
bool isWorse(const StructureGamma& gamma, const StructureGamma& other)
{
    return gamma.verdict != other.verdict ? gamma.verdict > other.verdict
                                          : gamma.statistics.passRate < other.statistics.passRate;
}

/** Judges a criterion for structures by them: where nothing is tested in them, it fails. */
void judgeByStructures(CriterionResult& result)
{
    for (std::size_t i = 0; i < result.structures.size(); ++i) {
        const std::optional<StructureGamma>& gamma = result.structures[i];
        if (gamma && gamma->verdict &&
            (!result.judgedRow || isWorse(*gamma, *result.structures[*result.judgedRow]))) {
            result.judgedRow = i;
        }
    }
    result.verdict =
        result.judgedRow ? *result.structures[*result.judgedRow]->verdict : Verdict::fail;
}

} // namespace

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
    if (!result.patterns.empty()) {
        judgeByStructures(result);
    } else {
        result.outside = structureGamma(tested, structures.outside, comparison.limits());
    }
}

Searches::Searches(const Comparison& comparison)
    : comparison_(comparison), settings_(partedSettings(comparison)),
      part_(testedReference(comparison)), run_(searchedReference(), comparison.evaluation),
      centres_(viewOf(comparison.reference.image), viewOf(comparison.evaluation.image))
{
}

GammaMap Searches::searched(const Criterion& criterion, const WatchSearch& watch)
{
    return arePoints(comparison_.placed.space)
               ? searchPoints(run_, comparison_.reference, comparison_.settings, criterion, watch)
               : run_.compute(settings_, criterion, watch);
}

std::unique_ptr<GammaSearch> Searches::search(const Criterion& criterion) const
{
    return std::make_unique<GammaSearch>(run_, settings_, criterion);
}

CriterionResult Searches::result(const CriterionRequest& asked, const WatchSearch& watch)
{
    return result(asked, searched(asked.criterion, watch));
}

CriterionResult Searches::result(const CriterionRequest& asked, GammaMap map) const
{
    CriterionResult result;
    result.criterion = asked.criterion;
    result.patterns = asked.patterns;
    result.step = static_cast<double>(stepSize(comparison_.settings, asked.criterion));
    result.statistics = gammaStatistics(map, comparison_.settings);
    result.statistics.sides =
        arePoints(comparison_.placed.space)
            ? failedPointSides(comparison_.reference, viewOf(comparison_.evaluation.image),
                               map.passed)
            : failedSides(centres_, map.passed);
    result.verdict = verdictOf(map.passRate, comparison_.limits());
    result.seconds = map.seconds;
    result.gamma = std::move(map.values);
    result.passed = std::move(map.passed);
    if (comparison_.structures) {
        judgeStructures(result, comparison_, centres_);
    }
    return result;
}

} // namespace zarngi
