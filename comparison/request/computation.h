/**
 * @file computation.h
 * The searches of a comparison, one for each criterion, and what they find.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_COMPUTATION_H
#define ZARNGI_COMPARISON_REQUEST_COMPUTATION_H

#include <functional>

#include "comparison/comparison.h"

namespace zarngi
{

/** Gives who is told of the search for a criterion, and lives as long as that. */
using WatchFor = std::function<WatchSearch(const Criterion&)>;

/**
 * Fills the results of a comparison that has its doses, their extremes and its structures.
 * @param watchFor may be empty.
 * @throws InputError as GammaRun::compute
 */
void compute(Comparison& comparison, const WatchFor& watchFor = {});

} // namespace zarngi

#endif
