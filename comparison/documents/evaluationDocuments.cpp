#include "comparison/documents/evaluationDocuments.h"

#include "comparison/documents/csvCells.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/goalJson.h"
#include "comparison/documents/headerJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/protocols.h"
#include "comparison/documents/structureJson.h"
#include "comparison/documents/warningsJson.h"
#include "comparison/gammaRun.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

Header headerFor(const DoseEvaluation& evaluation, const Disclosure& disclosure)
{
    return toldHeader({{&evaluation.dose}, evaluation.plans}, evaluation.request, disclosure);
}

} // namespace

Json evaluationJson(const DoseEvaluation& evaluation, const std::optional<std::string>& alias)
{
    const Disclosure disclosure(evaluation, alias);
    const Wording wording = disclosure.wording();
    Json document = {{"format", "zarngi-dvh"},
                     {"formatVersion", 1},
                     {"program", {{"name", "zarngi"}, {"version", projectVersion()}}},
                     {"created", nowInUtc()},
                     {"command", disclosed(evaluation.request, disclosure).commandLine},
                     {"protocol", usedProtocolJson(evaluation.asked)},
                     {"header", headerJson(headerFor(evaluation, disclosure))},
                     {"file", fileJson(evaluation.dose, disclosure)},
                     {"grid", gridJson(evaluation.dose, evaluation.extremes)},
                     {"orientation", "LPS"},
                     {"doseUnit", files::unitName(evaluation.dose.unit)},
                     {"structures", structuresJson(evaluation.structures, disclosure)},
                     {"goals", goalsJson(evaluation.request.goals, evaluation.goals)},
                     {"gate", gateJson(evaluation.gate, wording)},
                     {"warnings", warningsJson(evaluation.warnings, wording)}};
    if (!evaluation.plans.empty()) {
        document["plans"] = plansJson(evaluation.plans, disclosure);
    }
    if (alias) {
        document["title"] = *alias;
    }
    return document;
}

std::string evaluationCsv(const DoseEvaluation& evaluation, const std::optional<std::string>& alias)
{
    const Disclosure disclosure(evaluation, alias);
    const std::string dose = disclosure.pathOf(evaluation.dose.path);
    const std::vector<DoseMetric>& metrics = evaluation.structures.doseVolume.metrics;
    Cells names{"dose", "structure", "structure_volume_cc"};
    append(names, doseNames("", metrics));
    const std::size_t figures = names.size();
    append(names, goalNames(false));
    const Header header = headerFor(evaluation, disclosure);
    const auto withHeader = [](Cells cells, const Cells& more) {
        append(cells, more);
        return csvRow(cells);
    };
    std::string text = withHeader(names, headerNames(header));
    for (const StructureRow& row : evaluation.structures.rows) {
        Cells cells{dose, row.chosen.name, number(row.volume, csvDigits)};
        append(cells, doseCells(row.reference, metrics.size()));
        cells.resize(names.size());
        text += withHeader(std::move(cells), headerCells(header));
    }
    for (const GoalResult& result : evaluation.goals) {
        Cells cells{dose, result.structure};
        cells.resize(figures);
        append(cells, goalCells(evaluation.request.goals[result.goal], result, false));
        text += withHeader(std::move(cells), headerCells(header));
    }
    return text;
}

} // namespace zarngi
