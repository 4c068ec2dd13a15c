#include "comparison/request/requestedExplanation.h"

#include <algorithm>

#include "comparison/explanation/runEngine.h"
#include "comparison/failure.h"
#include "comparison/structures/namePattern.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** The one structure that is meant. @throws UsageError */
const StructureRow& explainedRow(const StructureComparison& structures, const std::string& name)
{
    const std::vector<std::size_t> rows =
        matchesOf("--explain-structure", structures.names(), name);
    if (rows.size() != 1) {
        throw UsageError("--explain-structure: " + oneLine(name) + " means " +
                         std::to_string(rows.size()) + " structures, not one");
    }
    return structures.rows[rows.front()];
}

std::vector<NamedPart> partsOf(const Comparison& comparison)
{
    std::vector<NamedPart> parts;
    if (comparison.structures) {
        for (const StructureRow& row : comparison.structures->rows) {
            parts.push_back({row.chosen.name, &row.voxels});
        }
    }
    return parts;
}

/** The first one that is for everything. */
const Criterion& explainedCriterion(const Comparison& comparison)
{
    const auto found =
        std::find_if(comparison.results.begin(), comparison.results.end(),
                     [](const CriterionResult& result) { return result.patterns.empty(); });
    return found != comparison.results.end() ? found->criterion
                                             : comparison.results.front().criterion;
}

Explanation explained(const Comparison& comparison, GammaRun& run, const DoseView& reference,
                      const GammaSettings& settings, const ExplainOptions& options,
                      const WatchWork& watch)
{
    ExplanationRequest request;
    request.criterion = explainedCriterion(comparison);
    request.step = settings.step;
    request.maxGamma = settings.maxGamma;
    request.range = options.range;
    request.axes = isInPlane(comparison.placed.space) ? ShiftAxes::plane : ShiftAxes::patient;
    if (!options.structure.empty()) {
        const StructureRow& row = explainedRow(*comparison.structures, options.structure);
        request.within = NamedPart{row.chosen.name, &row.voxels};
    } else {
        request.parts = partsOf(comparison);
    }
    RunEngine engine(run, settings, request.criterion.isLocal);
    return explain(engine, reference, viewOf(comparison.evaluation.image), request,
                   watch ? watch("explaining " + request.criterion.label()) : WatchExplanation());
}

} // namespace

void checkExplanation(const Comparison& comparison, const ExplainOptions& options)
{
    if (arePoints(comparison.placed.space) && (options.isWanted || !options.sweeps.empty())) {
        throw UsageError(std::string(options.isWanted ? "--explain" : "--sweep") +
                         " is for grids, and " + oneLine(comparison.reference.path) +
                         " holds single points");
    }
    if (!options.structure.empty()) {
        const StructureRow& row = explainedRow(*comparison.structures, options.structure);
        if (row.voxels.empty()) {
            throw InputError("--explain-structure: " + oneLine(row.chosen.name) +
                             " holds no voxel of the dose grid");
        }
    }
}

void explainAndSweep(Comparison& comparison, GammaRun& run, const DoseView& reference,
                     const GammaSettings& settings, const ExplainOptions& options,
                     const WatchWork& watch)
{
    for (const std::string& text : options.sweeps) {
        const CriterionRange range = parseCriterionRange(text);
        comparison.sweeps.push_back(sweep(run, settings, range, reference.geometry,
                                          partsOf(comparison),
                                          watch ? watch("sweep") : WatchSweep()));
    }
    if (options.isWanted) { // last: it replaces the grids of the run
        comparison.explanation = explained(comparison, run, reference, settings, options, watch);
    }
}

} // namespace zarngi
