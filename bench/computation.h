/**
 * @file computation.h
 * One comparison, by the library and by the plain search.
 */
#ifndef ZARNGI_BENCH_COMPUTATION_H
#define ZARNGI_BENCH_COMPUTATION_H

#include <cstddef>
#include <string>
#include <vector>

#include "pair.h"

namespace bench
{

enum class Criterion { global, local };
enum class Mode { gammaMap, passRate };
enum class Doses { interpolated, inPlanes, nearest };

/** What is compared how; the cut-off is always 10 %. */
struct Criteria {
    float DD;                 ///< %
    float DTA;                ///< mm
    float gammaSearchMax = 0; ///< 0: none
    Criterion criterion = Criterion::global;
    Mode mode = Mode::gammaMap;
    Doses doses = Doses::interpolated;
    bool randomRotation = false;
    float stepsPerDTA = 10;
};

/** As people write it, for example "3 % local / 3 mm, max 3". */
std::string textOf(const Criteria& criteria);

/** Hands a pair over to the library, which keeps copies of both grids. */
void handOver(Pair pair);

/** Sets criteria and options for the pair handed over. */
void setCriteria(const Criteria& criteria);

/** Time and results of a computation of the pair handed over. */
struct Run {
    double seconds = 0;    ///< of the whole computation
    double cpuSeconds = 0; ///< that all its threads together spent on a CPU
    std::vector<float> gamma;
    float passRate = 0;
};

/** Computes by the library; its standard output is dropped. */
Run runLibrary(int threads);

/** Seconds of a computation by the library, without fetching the map. */
double secondsOfLibrary(int threads);

/**
 * Computes by the plain search: every lattice point, as defined, with the rotation of the library's
 * last computation.
 */
Run runPlain(const Criteria& criteria, int threads);

/** Voxels that the library's last computation tested. */
std::size_t testedVoxels();

/**
 * How two results agree: "all bits", or with a random rotation, whose points may be rounded
 * differently, up to four units in the last place; otherwise how they differ.
 */
struct Agreement {
    bool holds;
    std::string text;
};
Agreement agreementOf(const Run& a, const Run& b, bool randomRotation);

} // namespace bench

#endif
