/**
 * @file uncertainPair.h
 * The doses of a comparison with their uncertainties.
 */
#ifndef ZARNGI_COMPARISON_UNCERTAINPAIR_H
#define ZARNGI_COMPARISON_UNCERTAINPAIR_H

#include "comparison/comparison.h"
#include "comparison/noise/differences.h"

namespace zarngi
{

/**
 * Tested is what its first result tests, of which there is one.
 * @param centres of the same doses; stays, as the comparison does
 */
UncertainPair uncertainPairOf(const Comparison& comparison, const CentreDoses& centres);

} // namespace zarngi

#endif
