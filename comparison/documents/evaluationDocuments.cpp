#include "comparison/documents/evaluationDocuments.h"

#include "comparison/documents/csvCells.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/goalJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/structureJson.h"
#include "comparison/gammaRun.h"
#include "comparison/text.h"

namespace zarngi
{

Json evaluationJson(const DoseEvaluation& evaluation)
{
    const Disclosure disclosure(evaluation.digests, evaluation.request.identify);
    Json document = {{"format", "zarngi-dvh"},
                     {"formatVersion", 1},
                     {"program", {{"name", "zarngi"}, {"version", projectVersion()}}},
                     {"created", nowInUtc()},
                     {"command", evaluation.request.commandLine},
                     {"file", fileJson(evaluation.dose, disclosure)},
                     {"grid", gridJson(evaluation.dose, evaluation.extremes)},
                     {"orientation", "LPS"},
                     {"doseUnit", files::unitName(evaluation.dose.unit)},
                     {"structures", structuresJson(evaluation.structures, disclosure)},
                     {"goals", goalsJson(evaluation.request.goals, evaluation.goals)},
                     {"warnings", Json::array()}};
    for (const Sentence& warning : evaluation.warnings) {
        document["warnings"].push_back(warning.text());
    }
    return document;
}

std::string evaluationCsv(const DoseEvaluation& evaluation)
{
    const std::vector<DoseMetric>& metrics = evaluation.structures.doseVolume.metrics;
    Cells names{"dose", "structure", "structure_volume_cc"};
    append(names, doseNames("", metrics));
    const std::size_t figures = names.size();
    append(names, goalNames(false));
    std::string text = csvRow(names);
    for (const StructureRow& row : evaluation.structures.rows) {
        Cells cells{evaluation.dose.path, row.chosen.name, number(row.volume, csvDigits)};
        append(cells, doseCells(row.reference, metrics.size()));
        cells.resize(names.size());
        text += csvRow(cells);
    }
    for (const GoalResult& result : evaluation.goals) {
        Cells cells{evaluation.dose.path, result.structure};
        cells.resize(figures);
        append(cells, goalCells(evaluation.request.goals[result.goal], result, false));
        text += csvRow(cells);
    }
    return text;
}

} // namespace zarngi
