/**
 * @file computation.h
 * The searches of a comparison, one for each criterion, and what they find.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_COMPUTATION_H
#define ZARNGI_COMPARISON_REQUEST_COMPUTATION_H

#include <functional>

#include "comparison/comparison.h"
#include "comparison/request/requestedExplanation.h"

namespace zarngi
{

/** Gives who is told of the search for a criterion, and lives as long as that. */
using WatchFor = std::function<WatchSearch(const Criterion&)>;

/** Who is told how far it is; each may be empty. */
struct Watchers {
    WatchFor search{};
    WatchWork work{}; ///< explanation and rates by criterion
};

/**
 * Fills the results of a comparison that has its doses, their extremes and its structures.
 * @param explain what is asked for beyond the criteria.
 * @throws InputError as GammaRun::compute
 */
void compute(Comparison& comparison, const ExplainOptions& explain = {},
             const Watchers& watchers = {});

} // namespace zarngi

#endif
