#include "comparison/compare.h"

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include "comparison/composition/chosenStructures.h"
#include "comparison/composition/comparedDoses.h"
#include "comparison/composition/findings.h"
#include "comparison/composition/searches.h"

namespace zarngi
{

namespace
{

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Everything but the results. */
Comparison prepared(const Request& request, DoseSource& source)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<Sentence> warnings;
    GivenDoses given = givenDoses(request, source, warnings);
    std::shared_ptr<const StructureCatalogue> catalogue =
        catalogueOf(request.structures, source, given, warnings);
    const double readSeconds = secondsSince(start);
    ComparedDoses doses = comparedDoses(std::move(given), request.normalisation);
    ChosenStructures chosen = chosenStructures(std::move(catalogue), request, doses, warnings);
    GammaSettings settings = searchSettings(request, doses);
    return {std::move(doses),
            request,
            settings,
            source.digests(),
            std::move(chosen.within),
            std::move(chosen.structures),
            {},
            {},
            {},
            std::move(warnings),
            readSeconds};
}

} // namespace

Comparison compare(const Request& request, DoseSource& source, const Watchers& watchers)
{
    checkRequest(request);
    Comparison comparison = prepared(request, source);
    checkFindings(comparison);
    if (watchers.prepared) {
        watchers.prepared(comparison);
    }
    Searches searches(comparison);
    std::vector<CriterionResult> results;
    for (const CriterionRequest& asked : request.criteria) {
        results.push_back(searches.result(asked, watchers.search ? watchers.search(asked.criterion)
                                                                 : WatchSearch()));
    }
    std::vector<Sweep> sweeps = sweepsOf(comparison, searches, watchers.work);
    comparison.explanation = explanationOf(comparison, searches, watchers.work);
    comparison.sweeps = std::move(sweeps);
    comparison.results = std::move(results);
    return comparison;
}

CriterionResult comparedBy(const Criterion& criterion, const Comparison& comparison)
{
    return Searches(comparison).result({criterion}, {});
}

} // namespace zarngi
