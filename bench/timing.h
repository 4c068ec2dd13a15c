/**
 * @file timing.h
 * Two computations, timed in turn: on a machine with other work the fastest run of each counts.
 */
#ifndef ZARNGI_BENCH_TIMING_H
#define ZARNGI_BENCH_TIMING_H

#include <functional>

namespace bench
{

/** The least number of seconds either side took. */
struct Duel {
    double first;
    double second;
};

/** Runs both sides `rounds` times, in turn; each returns the seconds it took. */
Duel inTurn(int rounds, const std::function<double()>& first,
            const std::function<double()>& second);

/** The least of `rounds` times. */
double fastest(int rounds, const std::function<double()>& run);

} // namespace bench

#endif
