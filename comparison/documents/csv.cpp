#include "comparison/documents/csv.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "comparison/conditions.h"
#include "comparison/documents/csvCells.h"
#include "comparison/documents/disclosure.h"
#include "comparison/documents/headerJson.h"
#include "comparison/documents/noiseJson.h"
#include "comparison/explanation/conclusion.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** What the table is of. */
struct Told {
    const Comparison& comparison;
    const Disclosure& disclosure;
    Cells header; ///< of each row, behind its other cells

    std::string row(Cells cells) const
    {
        append(cells, header);
        return csvRow(cells);
    }
};

/** The columns of a criterion, filled with what it found in some voxels. */
Cells resultCells(const CriterionResult& result, const GammaStatistics& statistics,
                  const char* verdict, const Told& told)
{
    const Comparison& comparison = told.comparison;
    const auto gamma = [&statistics](double GammaSpread::*member) {
        return statistics.spread ? number((*statistics.spread).*member, csvDigits) : std::string();
    };
    return {told.disclosure.pathOf(told.comparison.reference.path),
            told.disclosure.pathOf(told.comparison.evaluation.path),
            result.label(),
            number(result.criterion.doseDifference),
            number(result.criterion.distance),
            result.criterion.isLocal ? "local" : "global",
            number(comparison.settings.cutOff),
            number(comparison.cutOffDose(), csvDigits),
            number(comparison.normalisation, csvDigits),
            std::to_string(statistics.tested),
            std::to_string(statistics.passed),
            std::to_string(statistics.failed),
            statistics.tested > 0 ? fixed(statistics.passRate, 6) : "",
            gamma(&GammaSpread::minimum),
            gamma(&GammaSpread::mean),
            gamma(&GammaSpread::percentile95),
            gamma(&GammaSpread::percentile99),
            gamma(&GammaSpread::maximum),
            fixed(result.seconds, 3),
            verdict,
            std::to_string(statistics.sides.hot),
            std::to_string(statistics.sides.cold),
            textOf(conditionsOf(comparison))};
}

Cells structureNames(const std::vector<DoseMetric>& metrics)
{
    Cells cells{"structure", "structure_voxels", "structure_volume_cc", "unreached"};
    append(cells, doseNames("reference", metrics));
    append(cells, doseNames("evaluation", metrics));
    return cells;
}

/** Of what is no structure: without volume and doses. */
Cells plainCells(const std::string& name, const GammaStatistics& statistics,
                 const std::vector<DoseMetric>& metrics)
{
    Cells cells{name, "", "", std::to_string(statistics.unreached)};
    cells.resize(structureNames(metrics).size());
    return cells;
}

Cells explanationNames()
{
    return {"explained_by",
            "shift_x_mm",
            "shift_y_mm",
            "shift_z_mm",
            "dose_factor",
            "pass_rate_after_percent",
            "pass_rate_shift_alone_percent",
            "pass_rate_factor_alone_percent"};
}

/** Whether it was explained: the first one for everything, or else the first. */
bool isExplained(const CriterionResult& result, const Comparison& comparison)
{
    const bool isOneForAll =
        std::any_of(comparison.results.begin(), comparison.results.end(),
                    [](const CriterionResult& one) { return one.patterns.empty(); });
    return comparison.explanation->criterion.label() == result.criterion.label() &&
           result.patterns.empty() == isOneForAll;
}

/** @param structure empty: all voxels. */
Cells explanationCells(const Comparison& comparison, const CriterionResult& result,
                       const std::string& structure)
{
    const Explanation& explanation = *comparison.explanation;
    if (!isExplained(result, comparison) || explanation.within != structure) {
        return Cells(explanationNames().size());
    }
    const DoseChange& change = explanation.both.change;
    return {conclusionName(explanation.conclusion),    number(change.shift[0], csvDigits),
            number(change.shift[1], csvDigits),        number(change.shift[2], csvDigits),
            number(change.factor, csvDigits),          fixed(explanation.both.passRate, 6),
            fixed(explanation.shiftAlone.passRate, 6), fixed(explanation.factorAlone.passRate, 6)};
}

Cells noiseNames()
{
    return {"without_noise", "pass_rate_without_noise_percent", "without_noise_lower_percent",
            "without_noise_upper_percent", "noise_by_dose_difference"};
}

Cells noiseCells(const std::optional<NoiseEstimate>& estimate)
{
    if (!estimate) {
        return Cells(noiseNames().size());
    }
    const bool isTold = estimate->kind == NoiseEstimate::Kind::told;
    const auto percent = [&](double value) { return isTold ? fixed(value, 6) : std::string(); };
    return {kindName(estimate->kind), percent(estimate->passRate), percent(estimate->lower),
            percent(estimate->upper), number(estimate->noise, csvDigits)};
}

/** The row of a criterion, in a structure or in all voxels. */
std::string finishedRow(Cells cells, const CriterionResult& result, const std::string& structure,
                        const Told& told, const std::optional<NoiseEstimate>& withoutNoise)
{
    const Comparison& comparison = told.comparison;
    if (comparison.noise) {
        append(cells, noiseCells(withoutNoise));
    }
    if (comparison.explanation) {
        append(cells, explanationCells(comparison, result, structure));
    }
    if (!comparison.goals.empty()) {
        append(cells, Cells(goalNames(true).size()));
    }
    return told.row(std::move(cells));
}

std::string structureRow(const CriterionResult& result, const StructureGamma& gamma,
                         const StructureRow& structure, const Told& told)
{
    const Comparison& comparison = told.comparison;
    const std::size_t metrics = comparison.structures->doseVolume.metrics.size();
    Cells cells = resultCells(result, gamma.statistics,
                              gamma.verdict ? verdictName(*gamma.verdict) : "none", told);
    append(cells,
           {structure.chosen.name, std::to_string(files::pointCount(structure.voxels)),
            number(structure.volume, csvDigits), std::to_string(gamma.statistics.unreached)});
    append(cells, doseCells(structure.reference, metrics));
    append(cells, doseCells(structure.evaluation, metrics));
    return finishedRow(std::move(cells), result, structure.chosen.name, told, gamma.withoutNoise);
}

std::string resultRows(const CriterionResult& result, const Told& told)
{
    const Comparison& comparison = told.comparison;
    Cells whole = resultCells(result, result.statistics, verdictName(result.verdict), told);
    if (!comparison.structures) {
        return finishedRow(std::move(whole), result, "", told, result.withoutNoise);
    }
    const StructureComparison& structures = *comparison.structures;
    append(whole, plainCells("", result.statistics, structures.doseVolume.metrics));
    std::string text = finishedRow(std::move(whole), result, "", told, result.withoutNoise);
    for (std::size_t i = 0; i < structures.rows.size(); ++i) {
        if (result.structures[i]) {
            text += structureRow(result, *result.structures[i], structures.rows[i], told);
        }
    }
    if (result.outside) {
        const StructureGamma& outside = *result.outside;
        Cells cells = resultCells(result, outside.statistics,
                                  outside.verdict ? verdictName(*outside.verdict) : "none", told);
        append(cells, plainCells("outside of all structures", outside.statistics,
                                 structures.doseVolume.metrics));
        text += finishedRow(std::move(cells), result, "outside of all structures", told,
                            outside.withoutNoise);
    }
    return text;
}

/** A goal in a structure: of the other columns, those that tell of what it is. */
std::string goalRow(const GoalResult& result, const Told& told, const Cells& names)
{
    const Comparison& comparison = told.comparison;
    Cells cells{told.disclosure.pathOf(comparison.reference.path),
                told.disclosure.pathOf(comparison.evaluation.path)};
    const Cells own = goalCells(comparison.request.goals[result.goal], result, true);
    cells.resize(names.size() - own.size());
    const auto cellOf = [&](const char* name) -> std::string& {
        const auto place = std::find(names.begin(), names.end(), name) - names.begin();
        return cells[static_cast<std::size_t>(place)];
    };
    cellOf("structure") = result.structure;
    cellOf("conditions") = textOf(conditionsOf(comparison));
    append(cells, own);
    return told.row(std::move(cells));
}

/** Rates by criterion: the columns up to the rate, and the structure where there are some. */
std::string sweepRows(const Sweep& sweep, const Told& told, std::size_t columns)
{
    const Comparison& comparison = told.comparison;
    std::string text;
    const std::size_t distances = sweep.range.distances.size();
    for (const SweepPart& part : sweep.parts) {
        for (std::size_t i = 0; i < part.counts.size(); ++i) {
            CriterionResult result;
            result.criterion = {sweep.range.doseDifferences[i / distances],
                                sweep.range.distances[i % distances], sweep.range.isLocal};
            GammaStatistics statistics;
            statistics.tested = part.counts[i].tested;
            statistics.passed = part.counts[i].passed;
            statistics.failed = statistics.tested - statistics.passed;
            statistics.passRate = part.counts[i].passRate;
            Cells cells = resultCells(result, statistics, "", told);
            constexpr std::size_t seconds = 18; // and all behind it but the conditions
            for (std::size_t c = seconds; c + 1 < cells.size(); ++c) {
                cells[c].clear();
            }
            if (comparison.structures) {
                cells.push_back(part.name);
            }
            cells.resize(columns);
            text += told.row(std::move(cells));
        }
    }
    return text;
}

} // namespace

std::string comparisonCsv(const Comparison& comparison, const std::optional<std::string>& alias)
{
    const Disclosure disclosure(comparison, alias);
    const Header header = toldHeader(headerFilesOf(comparison), comparison.request, disclosure);
    const Told told{comparison, disclosure, headerCells(header)};
    Cells names{"reference",
                "evaluation",
                "criterion",
                "dd_percent",
                "dta_mm",
                "dd_mode",
                "dco_percent",
                "cutoff_dose",
                "normalisation_dose",
                "tested",
                "passed",
                "failed",
                "pass_rate_percent",
                "gamma_min",
                "gamma_mean",
                "gamma_p95",
                "gamma_p99",
                "gamma_max",
                "seconds",
                "verdict",
                "failed_hot",
                "failed_cold",
                "conditions"};
    if (comparison.structures) {
        append(names, structureNames(comparison.structures->doseVolume.metrics));
    }
    if (comparison.noise) {
        append(names, noiseNames());
    }
    if (comparison.explanation) {
        append(names, explanationNames());
    }
    if (!comparison.goals.empty()) {
        append(names, goalNames(true));
    }
    Cells all = names;
    append(all, headerNames(header));
    std::string text = csvRow(all);
    for (const CriterionResult& result : comparison.results) {
        text += resultRows(result, told);
    }
    for (const Sweep& sweep : comparison.sweeps) {
        text += sweepRows(sweep, told, names.size());
    }
    for (const GoalResult& result : comparison.goals) {
        text += goalRow(result, told, names);
    }
    return text;
}

} // namespace zarngi
