/**
 * @file gateChecks.h
 * What makes a comparison doubtful as a whole: warnings with names, which a request can refuse.
 */
#ifndef ZARNGI_COMPARISON_COMPOSITION_GATECHECKS_H
#define ZARNGI_COMPARISON_COMPOSITION_GATECHECKS_H

#include "comparison/comparison.h"

namespace zarngi
{

/** Adds what doses and structures tell. @throws InputError for the first that the request refuses
 */
void checkDoseGate(Comparison& comparison);

/** Adds what the results tell. @throws InputError where the request refuses it */
void checkResultGate(Comparison& comparison, const std::vector<CriterionResult>& results);

} // namespace zarngi

#endif
