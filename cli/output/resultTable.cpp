#include "cli/output/resultTable.h"

#include <algorithm>

#include "cli/output/columns.h"
#include "cli/output/explanationTable.h"
#include "cli/output/gammaFigures.h"
#include "cli/output/goalTable.h"
#include "cli/output/noiseTable.h"
#include "cli/output/places.h"
#include "cli/output/structureTable.h"
#include "cli/output/units.h"
#include "comparison/conditions.h"
#include "comparison/documents/protocols.h"
#include "comparison/text.h"
#include "platform/paths.h"

namespace zarngi
{

namespace
{

std::string describeGrid(const DoseImage& dose, const DoseExtremes& extremes)
{
    return oneLine(platform::nameOf(dose.path)) + " (" + dose.format + "), " +
           describePlaces(dose) + ", maximum " + number(extremes.maximum) + unitBehind(dose.unit);
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

/** The structure that the verdict is about; empty for all voxels. */
std::string judgedName(const CriterionResult& result, const Comparison& comparison)
{
    return result.judgedRow ? oneLine(comparison.structures->rows[*result.judgedRow].chosen.name)
                            : std::string();
}

Limits judgedLimits(const CriterionResult& result, const Comparison& comparison)
{
    return result.judgedRow ? comparison.structures->rows[*result.judgedRow].limits
                            : comparison.limits();
}

std::string describeSingle(const CriterionResult& result, const Comparison& comparison)
{
    const GammaStatistics& statistics = result.judged();
    const double limit = comparison.settings.maxGamma;
    const std::string row = judgedName(result, comparison);
    std::string text =
        (row.empty() ? row : line("structure", row)) +
        line("tested", std::to_string(statistics.tested) + " " + placesName(comparison.reference)) +
        line("passed", std::to_string(statistics.passed)) + line("failed", failedText(statistics)) +
        line("pass rate", fixed(statistics.passRate, 6) + " %");
    if (statistics.spread) {
        const GammaSpread& spread = *statistics.spread;
        text += line("gamma", "minimum " + gammaText(spread.minimum, limit) + ", mean " +
                                  meanText(statistics) + ", maximum " +
                                  gammaText(spread.maximum, limit)) +
                line("", "95th percentile " + gammaText(spread.percentile95, limit) +
                             ", 99th percentile " + gammaText(spread.percentile99, limit));
    }
    const bool hasNothing = !result.patterns.empty() && !result.judgedRow;
    return text +
           line("verdict",
                hasNothing ? "fail: nothing is tested in its structures"
                           : describeVerdict(result.verdict, judgedLimits(result, comparison))) +
           line("time", fixed(result.seconds, 3) + " s for the search");
}

std::string describeRow(const CriterionResult& result, double limit, std::size_t width)
{
    const GammaStatistics& statistics = result.judged();
    std::string row =
        leftCell(oneLine(result.label()), width) + cell(std::to_string(statistics.tested), 9) +
        cell(std::to_string(statistics.failed), 9) + cell(std::to_string(statistics.sides.hot), 8) +
        cell(std::to_string(statistics.sides.cold), 8) + cell(fixed(statistics.passRate, 4), 10);
    if (statistics.spread) {
        const GammaSpread& spread = *statistics.spread;
        row += meanCell(statistics);
        for (const double value : {spread.percentile95, spread.percentile99, spread.maximum}) {
            row += gammaCell(value, limit);
        }
    } else {
        row += std::string(4 * 7, ' ');
    }
    return row + cell(fixed(result.seconds, 2), 8) + "  " + verdictName(result.verdict) + "\n";
}

std::size_t labelWidth(const Comparison& comparison)
{
    std::size_t width = 11;
    for (const CriterionResult& result : comparison.results) {
        width = std::max(width, widthOf(oneLine(result.label())));
    }
    return width;
}

/** Which structures stand in the rows of criteria for structures. */
std::string judgedNote(const Comparison& comparison)
{
    std::string text;
    for (const CriterionResult& result : comparison.results) {
        const std::string name = judgedName(result, comparison);
        text += name.empty() ? name : oneLine(result.label()) + ": that of " + name + "\n";
    }
    return text;
}

std::string describeTable(const Comparison& comparison)
{
    const std::size_t width = labelWidth(comparison);
    std::string text = leftCell("criterion", width) +
                       "   tested   failed     hot    cold pass rate   mean    P95    P99"
                       "    max seconds  verdict\n";
    for (const CriterionResult& result : comparison.results) {
        text += describeRow(result, comparison.settings.maxGamma, width);
    }
    return text + judgedNote(comparison) + "verdict: pass from " +
           number(comparison.limits().tolerance) + " %, investigate from " +
           number(comparison.limits().action) +
           " %, fail below\n"
           "hot, cold: failed with more, with less dose than the reference; other failed ones have "
           "no evaluation dose there, or an equal one\n";
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
            made += (made.empty() ? "+ " : " + ") + oneLine(platform::nameOf(dose.path));
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

/** "tg-218 1, Patient-specific quality assurance of IMRT, changed" */
std::string describeProtocol(const Request& asked)
{
    const std::optional<UsedProtocol> used = usedProtocol(asked);
    if (!used) {
        return {};
    }
    const Protocol& protocol = used->protocol;
    std::string text = oneLine(protocol.name);
    if (!protocol.version.empty()) {
        text.append(1, ' ').append(oneLine(protocol.version));
    }
    if (!protocol.title.empty()) {
        text.append(", ").append(protocol.title);
    }
    text += used->isChanged ? ", changed" : "";
    return line("protocol", text);
}

std::string describeResults(const Comparison& comparison)
{
    std::string text = comparison.results.size() == 1
                           ? describeSingle(comparison.results.front(), comparison)
                           : describeTable(comparison);
    text += describeProtocol(comparison.askedRequest());
    const std::string conditions = textOf(conditionsOf(comparison));
    text += conditions.empty() ? conditions : line("conditions", conditions);
    if (comparison.structures) {
        text += describeStructures(comparison);
    }
    if (!comparison.goals.empty()) {
        text += describeGoals(comparison.request.goals, comparison.goals, true);
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
