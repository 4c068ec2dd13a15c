/**
 * @file pair.h
 * The pairs of dose grids that the benchmark compares.
 */
#ifndef ZARNGI_BENCH_PAIR_H
#define ZARNGI_BENCH_PAIR_H

#include <array>
#include <string>

#include "support/grid.h"

namespace bench
{

/** Two dose grids to compare. */
struct Pair {
    std::string name;
    Grid reference;
    Grid evaluation;
};

/** Whether the dose files beside the project are there, and can be read by this build. */
bool haveMeasuredPairs();

/** One photon plan on a head-and-neck phantom, on the images of two days. */
Pair headNeckPair();

/** The two opposed proton fields of one plan: doses far apart. */
Pair protonPair();

/**
 * A target in a cube of `n` voxels of `size` mm, whose edge is a whole number of `period` mm: the
 * same fields repeat with that period, so that larger cubes hold more of the same. About a tenth of
 * the voxels lies above 10 % of the maximum. The evaluation is 1.5 % too high, noisy, and displaced
 * by `shift` mm.
 */
Pair syntheticPair(int n, double size, double period, std::array<double, 3> shift);

/** The displacement of a fair delivery, mm. */
constexpr std::array<double, 3> fairShift{1.2, -0.7, 0.5};

} // namespace bench

#endif
