#include "comparison/request/comparisonRequest.h"

#include <algorithm>
#include <array>
#include <utility>

#include "comparison/failure.h"
#include "comparison/structures/doseMetric.h"
#include "comparison/structures/structureLimits.h"
#include "comparison/sweep/criterionRange.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

CriterionRequest requestOf(const std::string& text)
{
    const ForStructures split = splitAtLastColon(text);
    CriterionRequest request{parseCriterion(split.text)};
    if (!split.pattern.empty()) {
        request.patterns.push_back(split.pattern);
    } else if (split.text != text) {
        throw UsageError("--criteria: \"" + oneLine(text) + "\" names no structure");
    }
    return request;
}

/** Criteria of one kind are computed once: for all structures that ask for it. */
void addRequest(std::vector<CriterionRequest>& requests, CriterionRequest request)
{
    for (CriterionRequest& earlier : requests) {
        if (earlier.criterion.label() != request.criterion.label()) {
            continue;
        }
        if (earlier.patterns.empty() && request.patterns.empty()) {
            throw UsageError("--criteria: " + request.criterion.label() + " is given twice");
        }
        if (earlier.patterns.empty() || request.patterns.empty()) {
            earlier.patterns.clear(); // everything holds them, too
        } else {
            earlier.patterns.push_back(request.patterns.front());
        }
        return;
    }
    requests.push_back(std::move(request));
}

/** What makes no sense without structures, or nullptr. */
const char* structureOptionOf(const ComparisonRequest& request)
{
    const StructureOptions& structures = request.structures;
    const auto names = [](const char* option, const std::vector<std::string>& texts) {
        return StructureLimits(option, texts).namesStructures();
    };
    const std::vector<CriterionRequest> requests = request.requests();
    const bool hasPattern =
        std::any_of(requests.begin(), requests.end(),
                    [](const CriterionRequest& asked) { return !asked.patterns.empty(); });
    const std::array<std::pair<bool, const char*>, 11> given{
        {{!structures.shown.empty(), "--structure"},
         {!structures.excluded.empty(), "--exclude"},
         {!structures.within.empty(), "--within"},
         {!structures.metrics.empty(), "--dvh"},
         {structures.prescription.has_value(), "--prescription"},
         {structures.ignoreFrame, "--ignore-frame"},
         {!request.explain.structure.empty(), "--explain-structure"},
         {hasPattern, "--criteria for a structure"},
         {names("--tolerance", request.limits.tolerance), "--tolerance for a structure"},
         {names("--action", request.limits.action), "--action for a structure"},
         {names("--fail-below", request.limits.failBelow), "--fail-below for a structure"}}};
    const auto found =
        std::find_if(given.begin(), given.end(), [](const auto& option) { return option.first; });
    return found != given.end() ? found->second : nullptr;
}

void checkStructureOptions(const ComparisonRequest& request)
{
    const std::vector<std::string>& files = request.structures.files;
    for (auto file = files.begin(); file != files.end(); ++file) {
        if (std::find(files.begin(), file, *file) != file) {
            throw UsageError("--structures: " + oneLine(*file) + " is given twice");
        }
    }
    const char* const option = structureOptionOf(request);
    if (files.empty() && option != nullptr) {
        throw UsageError(std::string(option) + " needs --structures FILE");
    }
    doseMetrics(request.structures.metrics); // tells what is wrong before files are read
}

} // namespace

std::vector<CriterionRequest> ComparisonRequest::requests() const
{
    if (criteria.empty()) {
        return {{single}};
    }
    std::vector<CriterionRequest> requests;
    for (const std::string& text : criteria) {
        addRequest(requests, requestOf(text));
    }
    return requests;
}

std::vector<Criterion> ComparisonRequest::criteriaToCompute() const
{
    std::vector<Criterion> list;
    for (const CriterionRequest& request : requests()) {
        list.push_back(request.criterion);
    }
    return list;
}

Limits generalLimits(const LimitOptions& options)
{
    Limits limits;
    limits.tolerance =
        StructureLimits("--tolerance", options.tolerance).general().value_or(limits.tolerance);
    limits.action = StructureLimits("--action", options.action).general().value_or(limits.action);
    return limits;
}

void checkRequest(const ComparisonRequest& request)
{
    const std::vector<CriterionRequest> criteria = request.requests(); // says which make no sense
    const Limits limits = generalLimits(request.limits);
    if (limits.action > limits.tolerance) {
        throw UsageError("--action " + number(limits.action) + " is above --tolerance " +
                         number(limits.tolerance));
    }
    const std::optional<double>& range = request.explain.range;
    if (range && !(*range >= 1 && *range <= 100)) {
        throw UsageError("--explain-range: \"" + number(*range) +
                         "\" is not a number from 1 to 100");
    }
    if (request.explain.isWanted && request.settings.rotate) {
        throw UsageError("--explain needs one search lattice for all computations, which --rotate "
                         "does not give");
    }
    for (const std::string& text : request.explain.sweeps) {
        parseCriterionRange(text); // tells what is wrong before files are read
    }
    checkStructureOptions(request);
    checkMeasurementOptions(request.measurements);
}

Comparison emptyComparison(const ComparisonRequest& request)
{
    Comparison comparison;
    comparison.settings = request.settings;
    comparison.limits = generalLimits(request.limits);
    comparison.failBelow = StructureLimits("--fail-below", request.limits.failBelow).general();
    comparison.commandLine = request.commandLine;
    comparison.allowsErrorDoses = request.measurements.allowErrorDoses;
    comparison.normalisationRequest = request.measurements.normalisation();
    for (CriterionRequest& asked : request.requests()) {
        CriterionResult& result = comparison.results.emplace_back();
        result.criterion = asked.criterion;
        result.patterns = std::move(asked.patterns);
    }
    return comparison;
}

} // namespace zarngi
