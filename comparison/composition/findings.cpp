#include "comparison/composition/findings.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "comparison/explanation/runEngine.h"
#include "comparison/failure.h"
#include "comparison/noise/differences.h"
#include "comparison/noise/noisyRates.h"
#include "comparison/structures/maskRuns.h"
#include "comparison/structures/namePattern.h"
#include "comparison/text.h"
#include "comparison/uncertainPair.h"

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

void checkUncertainties(const Comparison& comparison)
{
    if (comparison.reference.uncertainty.empty() && comparison.evaluation.uncertainty.empty()) {
        throw InputError(
            Sentence(Member::noise) + ": neither " + FileName{comparison.reference.path} + " nor " +
            FileName{comparison.evaluation.path} + " tells the uncertainties of its doses; " +
            Member::referenceUncertainty + " or " + Member::evaluationUncertainty + " gives them");
    }
}

/** Sets the estimates of a result, by the counts in all voxels, in each row, and outside. */
void setEstimates(CriterionResult& result, std::vector<NoiseCounts> counts)
{
    const auto set = [](std::optional<NoiseEstimate>& estimate, NoiseCounts& count,
                        std::size_t passed) {
        count.passed = passed;
        estimate = noiseEstimate(count);
    };
    set(result.withoutNoise, counts.front(), result.statistics.passed);
    for (std::size_t row = 0; row < result.structures.size(); ++row) {
        if (std::optional<StructureGamma>& gamma = result.structures[row]) {
            set(gamma->withoutNoise, counts[row + 1], gamma->statistics.passed);
        }
    }
    if (result.outside) {
        set(result.outside->withoutNoise, counts.back(), result.outside->statistics.passed);
    }
}

/** What differences in flat regions say against the uncertainties that were told. */
std::vector<std::string> noiseNotes(const FlatRegion& flat)
{
    constexpr double mostCorrelation = 0.1;
    constexpr double mostScatter = 1.4;
    std::vector<std::string> notes;
    if (flat.correlation && *flat.correlation > mostCorrelation) {
        notes.emplace_back("the noise of neighbouring voxels is correlated (" +
                           number(*flat.correlation, 2) +
                           " where the dose is flat), as smoothing makes it: rates without "
                           "noise are estimated for independent noise and will be wrong");
    } else if (flat.scatter && (*flat.scatter > mostScatter || *flat.scatter < 1 / mostScatter)) {
        notes.emplace_back("where the dose is flat the doses scatter " + number(*flat.scatter, 3) +
                           " times as much as their uncertainties tell: rates without noise "
                           "are only as good as the uncertainties");
    }
    return notes;
}

} // namespace

void checkFindings(const Comparison& comparison)
{
    const Request& request = comparison.request;
    if (arePoints(comparison.placed.space) &&
        (request.explanation || !request.sweeps.empty() || request.noise)) {
        const Member member = request.explanation       ? Member::explain
                              : !request.sweeps.empty() ? Member::sweeps
                                                        : Member::noise;
        throw UsageError({member}, Sentence(member) + " is for grids, and " +
                                       FileName{comparison.reference.path} +
                                       " holds single points");
    }
    if (request.noise) {
        checkUncertainties(comparison);
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

void addNoiseFindings(Comparison& comparison, Searches& searches, const WatchWork& watch)
{
    if (!comparison.request.noise || comparison.results.empty()) {
        return;
    }
    const auto start = std::chrono::steady_clock::now();
    const UncertainPair pair = uncertainPairOf(comparison, searches.centres());
    NoiseFindings findings;
    findings.seed = comparison.request.noise->seed;
    findDifferences(findings, pair, comparison.normalisation, partsOf(comparison));
    findings.notes = noiseNotes(findings.flat);
    const files::Runs all = runsOf(pair.box);
    NoisyRequest request{
        fixedSettings(comparison), comparison.request.criteriaToCompute(), {&all}, findings.seed};
    for (const NamedPart& part : partsOf(comparison)) {
        request.parts.push_back(part.voxels);
    }
    if (comparison.structures) {
        request.parts.push_back(&comparison.structures->outside);
    }
    const std::vector<std::vector<NoiseCounts>> counts =
        noisyCounts(searches.run(), pair, request, watch ? watch("without noise") : WatchNoise());
    for (std::size_t i = 0; i < counts.size(); ++i) {
        setEstimates(comparison.results[i], counts[i]);
    }
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    findings.seconds = duration.count();
    comparison.noise = std::move(findings);
}

} // namespace zarngi
