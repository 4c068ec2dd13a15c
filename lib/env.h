/**
 * @file env.h
 * The calculation environment: the one record that holds the grids, parameters and results of a
 * gamma-index computation. Usable from C11 and C++.
 */
#ifndef ZARNGI_ENV_H
#define ZARNGI_ENV_H

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

/**
 * Grids, parameters and results of the library, reached through the global pointer `Env`.
 *
 * Grid convention: voxel (ix, iy, iz) is element ix + nn[0] * (iy + nn[1] * iz) of its map (x runs
 * fastest) and spans xmin + index * hs to xmin + (index + 1) * hs on each axis; its dose belongs to
 * its centre, xmin + (index + 0.5) * hs.
 *
 * Hosts use the setters and getters of libZarnGI.h. The only fields meant to be written directly
 * are the four two-dimensional flags, which no exported function sets.
 */
typedef struct calculationEnvironment {
    float xmin_ref[3];  /**< mm, lower corner of the reference grid (outer face of voxel 0) */
    float xmin_eval[3]; /**< mm, lower corner of the evaluation grid */
    float xmax_ref[3];  /**< mm, upper corner of the reference grid, xmin + nn * hs */
    float xmax_eval[3]; /**< mm, upper corner of the evaluation grid */
    int nn_ref[3];      /**< reference voxels per axis */
    int nn_eval[3];     /**< evaluation voxels per axis */
    float hs_ref[3];    /**< mm, reference voxel size per axis */
    float hs_eval[3];   /**< mm, evaluation voxel size per axis */
    float* map_ref;     /**< Gy, reference dose (N_ref values), a copy or lent, or null */
    float* map_eval;    /**< Gy, evaluation dose (N_eval values), a copy or lent, or null */
    float* gamma;  /**< gamma map on the reference grid (N_ref values) or null; -1: not tested */
    size_t N_ref;  /**< number of reference voxels */
    size_t N_eval; /**< number of evaluation voxels */
    float DCO;     /**< %, dose cut-off relative to the normalisation dose; negative: not set */
    float DTA;     /**< mm, distance-to-agreement criterion; negative: not set */
    float DD;      /**< %, dose-difference criterion; negative: not set */
    bool passRateMode; /**< true: pass rate only; false: full gamma map */
    bool globalDD;     /**< true: DD relative to the normalisation dose; false: to the local dose */
    float global_normalisation; /**< Gy, normalisation dose; not positive: maximum of map_ref */
    float gammaSearchMax;       /**< largest gamma searched for; negative: not bounded */
    int verbose;                /**< verbosity of the reports on standard output, 0 to 5 */
    int num_threads;            /**< number of worker threads */
    float passrate;             /**< %, result: tested voxels that passed; -1: no result */
    bool gammaindex2D;   /**< true: doses are interpolated within planes of constant z only */
    bool gammaindex2D_z; /**< announces a 2D analysis in slices of constant z (report line only) */
    bool gammaindex2D_y; /**< announces a 2D analysis in slices of constant y (report line) */
    bool gammaindex2D_x; /**< announces a 2D analysis in slices of constant x (report line) */
    bool lNoInterpolation; /**< true: dose of the containing voxel, no interpolation */
    int numSamplesEval;    /**< kept for the host; no result depends on it */
    float stepSize;        /**< mm, spacing of the search lattice; negative: not set */
    bool randomRotation;   /**< true: the search lattice is turned by a random rotation */
} calculationEnvironment;

#endif
