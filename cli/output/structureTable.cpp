#include "cli/output/structureTable.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cli/output/columns.h"
#include "cli/output/gammaFigures.h"
#include "cli/output/units.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::size_t narrowestName = 14;
constexpr std::size_t widestName = 22;
constexpr const char* outsideName = "outside all";

std::string nameCell(const std::string& name, std::size_t width)
{
    return leftCell(oneLine(name), width);
}

std::size_t nameWidth(const StructureComparison& structures)
{
    std::size_t width = narrowestName;
    for (const StructureRow& row : structures.rows) {
        width = std::max(width, widthOf(oneLine(row.chosen.name)));
    }
    return std::min(width, widestName);
}

struct GammaRow {
    std::string name;
    const StructureGamma* gamma;
};

/** The lowest rates first, nothing tested last. */
bool isBefore(const GammaRow& a, const GammaRow& b)
{
    const auto key = [](const GammaRow& row) {
        const GammaStatistics& statistics = row.gamma->statistics;
        return statistics.tested > 0 ? statistics.passRate : 101;
    };
    return key(a) < key(b);
}

std::string describeGamma(const GammaRow& row, double limit, std::size_t width)
{
    const GammaStatistics& statistics = row.gamma->statistics;
    const std::string name = nameCell(row.name, width);
    if (statistics.tested == 0) {
        return name + "  nothing tested\n";
    }
    std::string text =
        name + cell(std::to_string(statistics.tested), 9) +
        cell(std::to_string(statistics.failed), 8) + cell(std::to_string(statistics.sides.hot), 7) +
        cell(std::to_string(statistics.sides.cold), 7) + cell(fixed(statistics.passRate, 2), 10);
    if (statistics.spread) {
        const GammaSpread& spread = *statistics.spread;
        text += meanCell(statistics) + gammaCell(spread.percentile99, limit) +
                gammaCell(spread.maximum, limit);
    } else {
        text += std::string(3 * 7, ' ');
    }
    return text + "  " + verdictName(*row.gamma->verdict) + "\n";
}

std::string describeCriterion(const CriterionResult& result, double limit,
                              const StructureComparison& structures)
{
    std::vector<GammaRow> rows;
    for (std::size_t i = 0; i < structures.rows.size(); ++i) {
        if (result.structures[i]) {
            rows.push_back({structures.rows[i].chosen.name, &*result.structures[i]});
        }
    }
    std::stable_sort(rows.begin(), rows.end(), isBefore);
    if (result.outside) {
        rows.push_back({outsideName, &*result.outside});
    }
    const std::size_t width = nameWidth(structures);
    std::string text = nameCell(result.label(), width) +
                       "   tested  failed    hot   cold pass rate   mean    P99    max  verdict\n";
    for (const GammaRow& row : rows) {
        text += describeGamma(row, limit, width);
    }
    return text;
}

std::string withSign(double value)
{
    const std::string text = fixed(value, 2);
    if (text == "-0.00" || text == "0.00") {
        return "0.00";
    }
    return value < 0 ? text : '+' + text;
}

/** A figure of the reference, and by how much that of the evaluation is above. */
std::string figureCell(const std::optional<double>& reference,
                       const std::optional<double>& evaluation)
{
    return cell(reference ? fixed(*reference, 2) : "-", 10) +
           cell(reference && evaluation ? withSign(*evaluation - *reference) : "", 7);
}

std::string headCell(const std::string& text)
{
    return cell(text, 10) + std::string(7, ' ');
}

/** Which metrics stand beside each other: those asked for, else D95 and D2. */
std::vector<std::vector<std::size_t>> metricBlocks(const std::vector<DoseMetric>& asked)
{
    constexpr std::size_t standardOnes = 5;
    constexpr std::size_t mostBesides = 3;
    const std::size_t end = withUsualMetrics(asked).size(); // behind them, those of goals
    if (end == standardOnes) {
        return {{1, 3}};
    }
    std::vector<std::vector<std::size_t>> blocks;
    for (std::size_t i = standardOnes; i < end; ++i) {
        if (blocks.empty() || blocks.back().size() == mostBesides) {
            blocks.emplace_back();
        }
        blocks.back().push_back(i);
    }
    return blocks;
}

std::string describeDoses(const StructureRow& row, const std::vector<std::size_t>& metrics,
                          std::size_t width)
{
    std::string text =
        nameCell(row.chosen.name, width) + cell(fixed(row.volume, row.volume < 10 ? 3 : 2), 9);
    if (!row.reference) {
        return text + "  no doses\n";
    }
    const DoseVolume* const evaluation = row.evaluation ? &*row.evaluation : nullptr;
    const auto ofEvaluation = [&](const auto& figure) {
        return evaluation != nullptr ? std::optional<double>(figure(*evaluation))
                                     : std::optional<double>();
    };
    text +=
        figureCell(row.reference->mean, ofEvaluation([](const DoseVolume& d) { return d.mean; }));
    for (const std::size_t metric : metrics) {
        text += figureCell(row.reference->metrics[metric], evaluation != nullptr
                                                               ? evaluation->metrics[metric]
                                                               : std::optional<double>());
    }
    return text + "\n";
}

} // namespace

std::string describeDoses(const StructureComparison& structures,
                          const std::vector<DoseMetric>& asked, DoseUnit doseUnit)
{
    const std::vector<DoseMetric>& metrics = structures.doseVolume.metrics;
    const std::size_t width = nameWidth(structures);
    const std::string unit = doseUnit == DoseUnit::relative ? "" : unitBehind(doseUnit);
    std::string text;
    for (const std::vector<std::size_t>& block : metricBlocks(asked)) {
        std::string head = nameCell("structure", width) + cell("cc", 9) + headCell("mean" + unit);
        for (const std::size_t metric : block) {
            head += headCell(metrics[metric].label() + (metrics[metric].isVolume() ? " %" : unit));
        }
        head.erase(head.find_last_not_of(' ') + 1);
        text += head + '\n';
        for (const StructureRow& row : structures.rows) {
            text += describeDoses(row, block, width);
        }
    }
    return text;
}

/** A note that several structures share stands once, with their names behind it. */
std::string describeNotes(const StructureComparison& structures)
{
    std::vector<std::pair<std::string, std::vector<std::string>>> notes;
    for (const StructureRow& row : structures.rows) {
        for (const std::string& note : row.notes) {
            auto place = std::find_if(notes.begin(), notes.end(),
                                      [&](const auto& known) { return known.first == note; });
            if (place == notes.end()) {
                place = notes.insert(place, {note, {}});
            }
            place->second.push_back(row.chosen.name);
        }
    }
    std::string text;
    for (const auto& [note, names] : notes) {
        const std::string list = join(names, ", ");
        const bool isOfOne = names.size() == 1;
        const std::string& what = isOfOne ? list : note;
        text += line("note", oneLine(what + ": " + (isOfOne ? note : list)));
    }
    for (const RefusedStructure& refused : structures.refused) {
        text += line("left out", oneLine(refused.name + ": " + refused.reason));
    }
    return text.empty() ? text : '\n' + text;
}

std::string describeStructures(const Comparison& comparison)
{
    std::string text;
    for (const CriterionResult& result : comparison.results) {
        text += '\n';
        text += describeCriterion(result, comparison.settings.maxGamma, *comparison.structures);
    }
    return text + "\nreference doses, and by how much those of the evaluation are above\n" +
           describeDoses(*comparison.structures, comparison.request.structures.metrics,
                         comparison.reference.unit) +
           describeNotes(*comparison.structures);
}

} // namespace zarngi
