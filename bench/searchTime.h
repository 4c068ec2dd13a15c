/**
 * @file searchTime.h
 * How long the search passes of a computation take, without set-up and results.
 */
#ifndef ZARNGI_BENCH_SEARCHTIME_H
#define ZARNGI_BENCH_SEARCHTIME_H

namespace bench
{

void resetSearchTime();

/** Seconds spent in evaluation(), the library's search pass, since the last reset. */
double searchTime();

} // namespace bench

#endif
