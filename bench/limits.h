/**
 * @file limits.h
 * Limits the library keeps beside its speed against the plain search.
 */
#ifndef ZARNGI_BENCH_LIMITS_H
#define ZARNGI_BENCH_LIMITS_H

#include "options.h"

namespace bench
{

/** Measures and prints the rows; returns whether all results agree. */
bool measureLimits(const Options& options);

} // namespace bench

#endif
