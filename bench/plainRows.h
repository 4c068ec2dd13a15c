/**
 * @file plainRows.h
 * The library against the plain search.
 */
#ifndef ZARNGI_BENCH_PLAINROWS_H
#define ZARNGI_BENCH_PLAINROWS_H

#include "options.h"

namespace bench
{

/** Measures and prints the rows; returns whether all results agree. */
bool measureAgainstPlain(const Options& options);

} // namespace bench

#endif
