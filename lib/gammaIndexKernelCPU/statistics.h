/**
 * @file statistics.h
 * The pass rate and statistics of the gamma values of the tested voxels.
 */
#ifndef ZARNGI_STATISTICS_H
#define ZARNGI_STATISTICS_H

namespace zarngi::engine
{

struct GammaStatistics {
    double gmin;
    double gmax;
    double gamma_avg;
    double gamma_std; ///< sample standard deviation (divisor n - 1); not finite for one voxel
};

/** %, 100 * passed / tested voxels when so many passed, formed in double precision. */
float passRateOf(int passed);

/** One pass over activeVoxels, which must not be empty. */
GammaStatistics gammaStatistics();

} // namespace zarngi::engine

#endif
