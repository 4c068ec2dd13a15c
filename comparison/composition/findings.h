/**
 * @file findings.h
 * What a comparison finds out beyond its criteria: explanation, rates by criterion
 * and without noise.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_FINDINGS_H
#define ZARNGI_COMPARISON_COMPOSITION_FINDINGS_H

#include <optional>
#include <vector>

#include "comparison/compare.h"
#include "comparison/composition/searches.h"

namespace zarngi
{

/** What is asked for, before anything is computed. @throws UsageError, InputError */
void checkFindings(const Comparison& comparison);

/** The rates that are asked for. @param watch may be empty. @throws InputError */
std::vector<Sweep> sweepsOf(const Comparison& comparison, Searches& searches,
                            const WatchWork& watch);

/**
 * The explanation, where one is asked for. It replaces the grids of the searches, so it is the last
 * of them.
 * @throws InputError
 */
std::optional<Explanation> explanationOf(const Comparison& comparison, Searches& searches,
                                         const WatchWork& watch);

/**
 * Estimates the rates without noise, where they are asked for, beside those of the results. It
 * replaces the grids of the searches.
 * @throws InputError
 */
void addNoiseFindings(Comparison& comparison, Searches& searches, const WatchWork& watch);

} // namespace zarngi

#endif
