#include "comparison/composition/findings.h"

#include <algorithm>
#include <cmath>

#include "comparison/explanation/runEngine.h"
#include "comparison/failure.h"
#include "comparison/structures/maskRuns.h"
#include "comparison/structures/namePattern.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** The one structure that is meant. @throws UsageError */
const StructureRow& explainedRow(const StructureComparison& structures, const std::string& name)
{
    const MemberPlace place{Member::explainStructure};
    const std::vector<std::size_t> rows = matchesOf(place, structures.names(), name);
    if (rows.size() != 1) {
        throw refusalOf(place, oneLine(name) + " means " + std::to_string(rows.size()) +
                                   " structures, not one");
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
const Criterion& explainedCriterion(const Request& request)
{
    const auto found =
        std::find_if(request.criteria.begin(), request.criteria.end(),
                     [](const CriterionRequest& asked) { return asked.patterns.empty(); });
    return found != request.criteria.end() ? found->criterion : request.criteria.front().criterion;
}

/** Every trial is judged by the dose that the percentages of the comparison refer to. */
GammaSettings fixedSettings(const Comparison& comparison)
{
    GammaSettings settings = comparison.settings;
    settings.normalisation = comparison.normalisation;
    return settings;
}

} // namespace

void checkFindings(const Comparison& comparison)
{
    const Request& request = comparison.request;
    if (arePoints(comparison.placed.space) && (request.explanation || !request.sweeps.empty())) {
        const Member member = request.explanation ? Member::explain : Member::sweeps;
        throw UsageError({member}, Sentence(member) + " is for grids, and " +
                                       FileName{comparison.reference.path} +
                                       " holds single points");
    }
    if (request.explanation && !request.explanation->structure.empty()) {
        const StructureRow& row =
            explainedRow(*comparison.structures, request.explanation->structure);
        if (row.voxels.empty()) {
            throw InputError(Sentence(Member::explainStructure) + ": " + oneLine(row.chosen.name) +
                             " holds no voxel of the dose grid");
        }
    }
}

std::vector<Sweep> sweepsOf(const Comparison& comparison, Searches& searches,
                            const WatchWork& watch)
{
    std::vector<Sweep> sweeps;
    for (const CriterionRange& range : comparison.request.sweeps) {
        sweeps.push_back(sweep(searches.run(), fixedSettings(comparison), range,
                               comparison.reference.image.geometry, partsOf(comparison),
                               watch ? watch("sweep") : WatchSweep()));
    }
    return sweeps;
}

std::optional<Explanation> explanationOf(const Comparison& comparison, Searches& searches,
                                         const WatchWork& watch)
{
    const std::optional<ExplanationWish>& wish = comparison.request.explanation;
    if (!wish) {
        return {};
    }
    const GammaSettings settings = fixedSettings(comparison);
    ExplanationRequest request;
    request.criterion = explainedCriterion(comparison.request);
    request.step = settings.step;
    constexpr double farthest = 10; // of a map that is not bounded
    request.maxGamma = std::isfinite(settings.maxGamma) ? settings.maxGamma : farthest;
    request.range = wish->range;
    request.axes = comparison.placed.hasPatientAxes() ? ShiftAxes::patient : ShiftAxes::plane;
    files::Runs meant;
    if (wish->voxels) {
        meant = runsOf(comparison.reference.image.geometry, wish->voxels->mask);
        request.within = NamedPart{wish->voxels->name, &meant};
    } else if (!wish->structure.empty()) {
        const StructureRow& row = explainedRow(*comparison.structures, wish->structure);
        request.within = NamedPart{row.chosen.name, &row.voxels};
    } else {
        request.parts = partsOf(comparison);
    }
    const WatchExplanation told =
        watch ? watch("explaining " + request.criterion.label()) : WatchExplanation();
    double done = 0;
    const WatchExplanation watchAll = [&](double share) {
        done = share;
        return !told || told(done);
    };
    const WatchSearch watchOne = [&](const SearchProgress&) { return !told || told(done); };
    RunEngine engine(searches.run(), settings, request.criterion.isLocal,
                     told ? watchOne : WatchSearch());
    return explain(engine, searches.reference(), viewOf(comparison.evaluation.image), request,
                   watchAll);
}

} // namespace zarngi
