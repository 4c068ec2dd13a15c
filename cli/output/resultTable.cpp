#include "cli/output/resultTable.h"

#include <algorithm>
#include <filesystem>

#include "cli/output/columns.h"
#include "cli/output/explanationTable.h"
#include "cli/output/noiseTable.h"
#include "cli/output/places.h"
#include "cli/output/structureTable.h"
#include "cli/output/units.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

std::string describeGrid(const DoseImage& dose, const DoseExtremes& extremes)
{
    return oneLine(std::filesystem::path(dose.path).filename().string()) + " (" + dose.format +
           "), " + describePlaces(dose) + ", maximum " + number(extremes.maximum) +
           unitBehind(dose.unit);
}

std::string describeSearch(const Comparison& comparison)
{
    const GammaSettings& settings = comparison.settings;
    std::string text =
        settings.passRateOnly ? "pass rate only" : "up to gamma " + number(settings.maxGamma);
    text += settings.nearest  ? ", dose of the containing voxel"
            : settings.slices ? ", interpolated within planes of constant z"
                              : ", interpolated doses";
    text += settings.rotate ? ", lattice rotated at random" : "";
    text += settings.step ? ", step " + number(*settings.step) + " mm" : ", step DTA/10";
    return text + ", " + std::to_string(settings.threads) +
           (settings.threads == 1 ? " thread" : " threads");
}

std::string describeVerdict(Verdict verdict, const Limits& limits)
{
    switch (verdict) {
    case Verdict::pass:
        return "pass: within the tolerance limit of " + number(limits.tolerance) + " %";
    case Verdict::investigate:
        return "investigate: below the tolerance limit of " + number(limits.tolerance) + " %";
    case Verdict::fail:
        break;
    }
    return "fail: below the action limit of " + number(limits.action) + " %";
}

std::string describeFailed(const GammaStatistics& statistics)
{
    const auto& [hot, cold] = statistics.sides;
    return std::to_string(statistics.failed) + ": " + std::to_string(hot) + " hot, " +
           std::to_string(cold) + " cold";
}

std::string describeSingle(const CriterionResult& result, const Limits& limits, const char* places)
{
    const GammaStatistics& statistics = result.statistics;
    std::string text = line("tested", std::to_string(statistics.tested) + " " + places) +
                       line("passed", std::to_string(statistics.passed)) +
                       line("failed", describeFailed(statistics)) +
                       line("pass rate", fixed(statistics.passRate, 6) + " %");
    if (statistics.spread) {
        const GammaSpread& spread = *statistics.spread;
        text += line("gamma", "minimum " + number(spread.minimum) + ", mean " +
                                  number(spread.mean) + ", maximum " + number(spread.maximum)) +
                line("", "95th percentile " + number(spread.percentile95) + ", 99th percentile " +
                             number(spread.percentile99));
    }
    const std::string verdict = result.patterns.empty() ? describeVerdict(result.verdict, limits)
                                                        : "that of the structures below";
    return text + line("verdict", verdict) +
           line("time", fixed(result.seconds, 3) + " s for the search");
}

std::string describeRow(const CriterionResult& result)
{
    const GammaStatistics& statistics = result.statistics;
    std::string name = result.criterion.label();
    name.resize(std::max<std::size_t>(name.size(), 11), ' ');
    std::string row =
        name + cell(std::to_string(statistics.tested), 9) +
        cell(std::to_string(statistics.failed), 9) + cell(std::to_string(statistics.sides.hot), 8) +
        cell(std::to_string(statistics.sides.cold), 8) + cell(fixed(statistics.passRate, 4), 10);
    if (statistics.spread) {
        const GammaSpread& spread = *statistics.spread;
        for (const double value :
             {spread.mean, spread.percentile95, spread.percentile99, spread.maximum}) {
            row += cell(fixed(value, 3), 7);
        }
    } else {
        row += std::string(4 * 7, ' ');
    }
    return row + cell(fixed(result.seconds, 2), 8) + "  " +
           (result.patterns.empty() ? verdictName(result.verdict) : "below") + "\n";
}

std::string describeTable(const Comparison& comparison)
{
    std::string text =
        "criterion     tested   failed     hot    cold pass rate   mean    P95    P99"
        "    max seconds  verdict\n";
    for (const CriterionResult& result : comparison.results) {
        text += describeRow(result);
    }
    return text + "verdict: pass from " + number(comparison.limits().tolerance) +
           " %, investigate from " + number(comparison.limits().action) +
           " %, fail below\n"
           "hot, cold: failed with more, with less dose than the reference\n";
}

/** What the dose of 100 % is, where it was asked for otherwise than as a number. */
std::string describeNormalisation(const Comparison& comparison)
{
    const NormalisationRequest& request = comparison.request.normalisation;
    if (request.isEvaluation) {
        return " (maximum of the evaluation)";
    }
    return request.at.empty() ? std::string() : " (reference at " + join(request.at, ", ") + " mm)";
}

/** Sums, factors and places, where there are any. */
std::string describeMaking(const Comparison& comparison)
{
    std::string text;
    const auto add = [&text](const char* name, const std::vector<DoseImage>& added,
                             const DoseFactor& factor) {
        std::string made;
        for (const DoseImage& dose : added) {
            made += (made.empty() ? "+ " : " + ") +
                    oneLine(std::filesystem::path(dose.path).filename().string());
        }
        if (!factor.text.empty()) {
            made += (made.empty() ? "times " : ", times ") + factor.text;
        }
        text += made.empty() ? "" : line(name, made);
    };
    add("  reference", comparison.referenceAdded, comparison.request.reference.factor);
    add("  evaluation", comparison.evaluationAdded, comparison.request.evaluation.factor);
    const std::string placing = describePlacing(comparison.placed);
    return text + (placing.empty() ? placing : line("compared", placing));
}

} // namespace

std::string describeSetup(const Comparison& comparison)
{
    std::string criteria;
    for (const CriterionRequest& asked : comparison.request.criteria) {
        criteria += (criteria.empty() ? "" : ", ") + oneLine(asked.label());
    }
    return line("reference", describeGrid(comparison.reference, comparison.referenceExtremes)) +
           line("evaluation", describeGrid(comparison.evaluation, comparison.evaluationExtremes)) +
           describeMaking(comparison) + line("criteria", criteria) +
           line("cut-off", number(comparison.settings.cutOff) + " % of " +
                               number(comparison.normalisation) +
                               describeNormalisation(comparison) + " = " +
                               number(comparison.cutOffDose()) + " " + comparison.doseUnit()) +
           line("search", describeSearch(comparison)) +
           (comparison.within ? line("within", oneLine(comparison.within->structures) +
                                                   ": only voxels in it " + "are tested")
                              : std::string());
}

std::string describeResults(const Comparison& comparison)
{
    std::string text = comparison.results.size() == 1
                           ? describeSingle(comparison.results.front(), comparison.limits(),
                                            placesName(comparison.reference))
                           : describeTable(comparison);
    const std::size_t unreached = comparison.results.front().statistics.unreached;
    if (unreached > 0) {
        text += line("note", grouped(unreached) + " tested " + placesName(comparison.reference) +
                                 " have no evaluation dose within reach; they fail");
    }
    if (comparison.structures) {
        text += describeStructures(comparison);
    }
    if (comparison.noise) {
        text += describeNoise(comparison);
    }
    for (const Sweep& sweep : comparison.sweeps) {
        text += describeSweep(sweep);
    }
    if (comparison.explanation) {
        text += describeExplanation(*comparison.explanation);
    }
    return text;
}

} // namespace zarngi
