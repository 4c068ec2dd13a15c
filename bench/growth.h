/**
 * @file growth.h
 * How the library's time grows with the grid, the lattice step and the search maximum.
 */
#ifndef ZARNGI_BENCH_GROWTH_H
#define ZARNGI_BENCH_GROWTH_H

#include "options.h"

namespace bench
{

/** Measures and prints the series. */
void measureGrowth(const Options& options);

} // namespace bench

#endif
