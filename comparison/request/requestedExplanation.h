/**
 * @file requestedExplanation.h
 * What a comparison finds out beyond its criteria: explanation and rates by criterion.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_REQUESTEDEXPLANATION_H
#define ZARNGI_COMPARISON_REQUEST_REQUESTEDEXPLANATION_H

#include <functional>
#include <string>

#include "comparison/request/comparisonRequest.h"

namespace zarngi
{

/** Gives who is told the part of a long work that is done, 0 to 1, and ends it by false. */
using WatchWork = std::function<std::function<bool(double)>(const std::string& title)>;

/** What is asked for, before anything is computed. @throws UsageError, InputError */
void checkExplanation(const Comparison& comparison, const ExplainOptions& options);

/**
 * Fills comparison.explanation and comparison.sweeps, where they are asked for.
 * @param reference as it is searched, in the run.
 * @param settings with a normalisation dose.
 * @param watch may be empty.
 * @throws InputError
 */
void explainAndSweep(Comparison& comparison, GammaRun& run, const DoseView& reference,
                     const GammaSettings& settings, const ExplainOptions& options,
                     const WatchWork& watch);

} // namespace zarngi

#endif
