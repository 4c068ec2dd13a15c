/**
 * @file doseChecks.h
 * Whether the two doses of a comparison belong together.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_DOSECHECKS_H
#define ZARNGI_COMPARISON_REQUEST_DOSECHECKS_H

#include "comparison/comparison.h"

namespace zarngi
{

/**
 * Adds the warnings of all files of doses, and those about the pair, to the comparison.
 * @throws InputError where the doses have different units, relative ones lack a dose of 100 %, or
 * differences between doses were not asked for
 */
void checkDoses(Comparison& comparison);

/** Least and largest doses, of which the normalisation is one. */
void findExtremes(Comparison& comparison);

} // namespace zarngi

#endif
