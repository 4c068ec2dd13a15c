/**
 * @file libZarnGI.h
 * libZarnGI: the gamma-index comparison of two three-dimensional dose distributions.
 *
 * The library compares a reference and an evaluation dose grid. For every reference voxel above a
 * dose cut-off it searches the evaluation dose around the voxel's centre for the smallest
 *
 *     gamma^2 = (dose difference / delta)^2 + (distance / DTA)^2
 *
 * (D. A. Low et al., Med. Phys. 25 (1998) 656-661), on a cubic lattice of spacing stepSize, in
 * spherical shells of width DTA. delta is DD percent of the normalisation dose (global) or of the
 * voxel's own dose (local). A voxel passes when gamma^2 <= 1; gamma is the root of the least
 * gamma^2.
 *
 * A host calls, in this order:
 *  1. zarnGI_init(), once;
 *  2. in any order zarnGI_setRef(), zarnGI_setEval(), zarnGI_setDCO(), zarnGI_setDTA(),
 *     zarnGI_setDD() (all five mandatory) and any other setter;
 *  3. zarnGI_startComputation(), which returns when the computation is complete;
 *  4. zarnGI_getGammaIndex3DMap() and zarnGI_getGammaIndexPassRate(), as often as wanted.
 * For the next comparison change what differs and go to 3, or zarnGI_reset() and go to 2.
 *
 * Every function returns ZARNGI_OK (0) or one of the negative codes of ::zarnGI_status. A rejected
 * call changes nothing, prints nothing and throws nothing; results are written through pointer
 * arguments only when the function returns 0. A call made before zarnGI_init() creates the
 * environment first, as zarnGI_init() would; if the memory for it cannot be had, the call returns
 * ZARNGI_NULL_POINTER.
 *
 * Units: lengths in mm, doses in Gy, DD, DCO and the pass rate in percent.
 *
 * The library holds one environment per process and is meant for one host thread: calls must not
 * overlap. Worker threads exist only inside zarnGI_startComputation(). Results are the same bits
 * on every x86-64 CPU, with every compiler and every number of threads.
 *
 * This header and env.h compile as C11 and as C++.
 */
#ifndef ZARNGI_LIBZARNGI_H
#define ZARNGI_LIBZARNGI_H

#include "env.h"

/** Makes a function or variable visible outside of the library. */
#if defined(_WIN32) && defined(ZARNGI_BUILDS_LIBRARY)
#define ZARNGI_API __declspec(dllexport)
#elif defined(_WIN32)
#define ZARNGI_API __declspec(dllimport)
#elif defined(__GNUC__)
#define ZARNGI_API __attribute__((visibility("default")))
#else
#define ZARNGI_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** The codes returned by the exported functions; no other value is ever returned. */
typedef enum zarnGI_status {
    ZARNGI_OK = 0,               /**< success */
    ZARNGI_OUT_OF_RANGE = -20,   /**< parameter value out of range */
    ZARNGI_NULL_POINTER = -29,   /**< a required pointer is null, or memory cannot be had */
    ZARNGI_BAD_GRID_SIZE = -51,  /**< grid size not positive, or 2^31 voxels or more */
    ZARNGI_BAD_VOXEL_SIZE = -52, /**< voxel size not positive */
    ZARNGI_BUSY = -100,          /**< a computation is running or being aborted */
    ZARNGI_NOT_READY = -101,     /**< readiness not confirmed, or the computation could not run */
    ZARNGI_NO_CRITERIA = -102,   /**< DCO, DTA or DD not set */
    ZARNGI_NO_REFERENCE = -103,  /**< no reference grid */
    ZARNGI_NO_EVALUATION = -104, /**< no evaluation grid */
    ZARNGI_NO_RESULTS = -105     /**< no computation has finished */
} zarnGI_status;

/** Values of zarnGI_setDDCriterium(). */
enum { ZARNGI_DD_GLOBAL = 1, ZARNGI_DD_LOCAL = 2 };

/** Values of zarnGI_setComputationMode(). */
enum { ZARNGI_MODE_GAMMA_MAP = 1, ZARNGI_MODE_PASS_RATE = 2 };

/** Bytes that zarnGI_version() writes. */
enum { ZARNGI_VERSION_BUFFER_SIZE = 255 };

/** Status flags that gate the start of a computation and the reading of results. */
typedef struct libraryStatus {
    int isReadyToGo; /**< 1: the last readiness check passed */
    int isComputing; /**< not 0: a computation is running (never raised by this library) */
    int isAborting;  /**< not 0: a computation is being aborted (never raised by this library) */
    int hasFinished; /**< 1: results are available */
} libraryStatus;

/** The environment; null until zarnGI_init() (or the first other call). Valid until unload. */
ZARNGI_API extern calculationEnvironment* Env;

/** The status flags; all 0 at load. */
ZARNGI_API extern libraryStatus libStatus;

/** The version of the interface, "4.1"; what came later stands at the end of this file. */
ZARNGI_API extern const char* const VERSION_STRING;

/** @name Lifecycle and results */
/** @{ */

/**
 * Creates the environment and resets it. Called again, it releases the grids and resets the same
 * record, so that `Env` stays valid.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when the memory cannot be had.
 */
ZARNGI_API int zarnGI_init(void);

/**
 * Releases both grids and the gamma map, clears the status flags and gives every parameter its
 * default (DTA, DD, DCO, normalisation, search maximum, step size, pass rate: -1, not set; global
 * DD; full gamma map; interpolation on; no rotation; no 2D flag; 1 thread; 1000 samples;
 * verbosity 0). Reseeds the C library's random generator.
 * @return ZARNGI_OK.
 */
ZARNGI_API int zarnGI_reset(void);

/**
 * Writes the version text, filled up with NUL bytes to ZARNGI_VERSION_BUFFER_SIZE bytes.
 * @param[out] version buffer of at least ZARNGI_VERSION_BUFFER_SIZE bytes.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when version is null.
 */
ZARNGI_API int zarnGI_version(char* version);

/**
 * Chooses the amount of reports on standard output.
 * @param level 0 (none) to 5 (everything): 1 one dot per shell, 3 and 4 one line per shell.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE outside 0 to 5.
 */
ZARNGI_API int zarnGI_setVerbose(int level);

/**
 * Checks that a computation can start. A failed check withdraws the results of an earlier
 * computation until a check passes again.
 * @return ZARNGI_OK; ZARNGI_BUSY; ZARNGI_NO_CRITERIA; ZARNGI_NO_REFERENCE; ZARNGI_NO_EVALUATION.
 */
ZARNGI_API int zarnGI_isReadyToGo(void);

/**
 * Runs the computation to its end on the calling thread and the configured worker threads.
 *
 * With no reference voxel above the cut-off it succeeds at once and leaves the earlier pass rate
 * (-1 after a reset) and the gamma map (-1 in every voxel of a new reference grid) as they are.
 * @return ZARNGI_OK; the code of the failed readiness check (see zarnGI_isReadyToGo());
 *         ZARNGI_NOT_READY when memory ran out, or when the search lattice cannot be searched: DTA
 *         or step size not a finite number above 1.1e-19 mm, more than 10000 steps per DTA, an
 *         evaluation grid of more than 2^24 voxels along an axis, a shell to be searched that
 *         reaches farther than 2^24 steps or (random rotation) has more than 2^28 lattice points.
 *         No results can be read then, and the library is ready for the next call.
 */
ZARNGI_API int zarnGI_startComputation(void);

/**
 * Copies the gamma map: for each tested voxel its gamma value (1e10 when no search point lay in
 * the evaluation grid), or in pass-rate mode 1 for passed and 0 for failed; -1 for voxels not
 * tested.
 * @param[out] gamma buffer of as many floats as the reference grid has voxels, x fastest.
 * @return ZARNGI_OK; ZARNGI_NOT_READY; ZARNGI_BUSY; ZARNGI_NO_RESULTS; ZARNGI_NULL_POINTER
 *         (checked in this order).
 */
ZARNGI_API int zarnGI_getGammaIndex3DMap(float* gamma);

/**
 * Tells the pass rate of the last computation.
 * @param[out] passrate %, 100 * passed / tested voxels; -1 when none was tested since the reset.
 * @return ZARNGI_OK; ZARNGI_NOT_READY; ZARNGI_BUSY; ZARNGI_NO_RESULTS; ZARNGI_NULL_POINTER
 *         (checked in this order).
 */
ZARNGI_API int zarnGI_getGammaIndexPassRate(float* passrate);

/** @} */

/** @name Grid input */
/** @{ */

/**
 * Hands over the reference dose grid; the library keeps a copy. Replaces an earlier reference grid
 * and its gamma map.
 * @param nn three voxel counts (x, y, z), each at least 1, less than 2^31 voxels together.
 * @param hs three voxel sizes, mm, each greater than 0.
 * @param x0 lower corner of the grid, mm: the outer corner of voxel (0, 0, 0), not its centre.
 * @param map nn[0]*nn[1]*nn[2] doses, Gy, x fastest; any value, stored unchanged.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when nn, hs, x0 or map is null or the memory cannot be
 *         had; ZARNGI_BAD_GRID_SIZE; ZARNGI_BAD_VOXEL_SIZE. Axes are checked in the order x, y, z,
 *         on each the size before the spacing. A rejected call leaves the earlier grid in place.
 */
ZARNGI_API int zarnGI_setRef(int* nn, float* hs, float* x0, float* map);

/**
 * Hands over the evaluation dose grid; the library keeps a copy. Replaces an earlier evaluation
 * grid.
 * @param nn, hs, x0, map as those of zarnGI_setRef().
 * @return the codes of zarnGI_setRef().
 */
ZARNGI_API int zarnGI_setEval(int* nn, float* hs, float* x0, float* map);

/** @} */

/**
 * @name Parameters
 * A rejected value changes nothing. A float parameter reads -1 until it is set; only
 * zarnGI_reset() makes it unset again. A not-a-number argument is stored.
 * @{
 */

/**
 * Sets the distance to agreement, and the step size to DTA / 10 when that is not set yet.
 * @param DTA mm, greater than 0.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setDTA(float DTA);
/**
 * Tells the distance to agreement.
 * @param[out] DTA mm; -1: not set.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when DTA is null.
 */
ZARNGI_API int zarnGI_getDTA(float* DTA);

/**
 * Sets the dose difference.
 * @param DD % of the normalisation dose (global) or of the voxel's dose (local), greater than 0.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setDD(float DD);
/**
 * Tells the dose difference.
 * @param[out] DD %; -1: not set.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when DD is null.
 */
ZARNGI_API int zarnGI_getDD(float* DD);

/**
 * Sets the normalisation dose of DCO and of the global DD. Not set: the reference maximum.
 * @param doseLevel Gy, greater than 0.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setGlobalNormalization(float doseLevel);
/**
 * Tells the normalisation dose.
 * @param[out] doseLevel Gy; -1: not set.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when doseLevel is null.
 */
ZARNGI_API int zarnGI_getGlobalNormalization(float* doseLevel);

/**
 * Sets the largest gamma searched for: the number of DTA-wide shells is this value rounded to the
 * nearest whole number (at least 1). A gamma up to that number is the least on the whole lattice, a
 * larger one the least within the shells. Not set: the search goes on until every gamma is final.
 * @param maxgamma greater than 0.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setGammaSearchMax(float maxgamma);
/**
 * Tells the largest gamma searched for.
 * @param[out] maxgamma -1: not set.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when maxgamma is null.
 */
ZARNGI_API int zarnGI_getGammaSearchMax(float* maxgamma);

/**
 * Sets the dose cut-off: voxels strictly above it are tested.
 * @param DCO % of the normalisation dose, greater than 0.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setDCO(float DCO);
/**
 * Tells the dose cut-off.
 * @param[out] DCO %; -1: not set.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when DCO is null.
 */
ZARNGI_API int zarnGI_getDCO(float* DCO);

/**
 * Sets the spacing of the search lattice. When it does not divide the DTA, some points near the
 * outer radius of a shell are left out.
 * @param step mm, greater than 0; at least DTA / 10000 when a computation starts.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setStepSize(float step);
/**
 * Tells the spacing of the search lattice.
 * @param[out] step mm; -1: neither it nor the DTA is set.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when step is null.
 */
ZARNGI_API int zarnGI_getStepSize(float* step);

/**
 * Sets what the dose difference is relative to.
 * @param criterium ZARNGI_DD_GLOBAL (1): the normalisation dose, or ZARNGI_DD_LOCAL (2): the
 *        voxel's dose.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setDDCriterium(int criterium);
/**
 * Tells what the dose difference is relative to.
 * @param[out] criterium ZARNGI_DD_GLOBAL (1) or ZARNGI_DD_LOCAL (2).
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when criterium is null.
 */
ZARNGI_API int zarnGI_getDDCriterium(int* criterium);

/**
 * Sets what is computed. With pass rate only, the first shell is searched, a voxel's search ends at
 * the first passing point, and the map holds 1 (passed) and 0 (failed).
 * @param mode ZARNGI_MODE_GAMMA_MAP (1) or ZARNGI_MODE_PASS_RATE (2).
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setComputationMode(int mode);
/**
 * Tells what is computed.
 * @param[out] mode ZARNGI_MODE_GAMMA_MAP (1) or ZARNGI_MODE_PASS_RATE (2).
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when mode is null.
 */
ZARNGI_API int zarnGI_getComputationMode(int* mode);

/**
 * Sets the number of worker threads. No result depends on it.
 * @param N at least 1.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setNumThreads(int N);
/**
 * Tells the number of worker threads.
 * @param[out] N at least 1.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when N is null.
 */
ZARNGI_API int zarnGI_getNumThreads(int* N);

/**
 * Keeps a sample count for the host. No result depends on it.
 * @param N at least 1.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setNumSamplesEval(int N);
/**
 * Tells the sample count kept for the host.
 * @param[out] N at least 1.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when N is null.
 */
ZARNGI_API int zarnGI_getNumSamplesEval(int* N);

/**
 * Sets whether doses are interpolated between voxel centres.
 * @param TF true: they are; false: a point has the dose of the containing voxel.
 * @return ZARNGI_OK.
 */
ZARNGI_API int zarnGI_setInterpolation(bool TF);
/**
 * Tells whether doses are interpolated.
 * @param[out] TF true: they are.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when TF is null.
 */
ZARNGI_API int zarnGI_getInterpolation(bool* TF);

/**
 * Sets whether the search lattice is turned by a rotation drawn at random once per computation.
 * @param TF true: it is.
 * @return ZARNGI_OK.
 */
ZARNGI_API int zarnGI_setRandomRotation(bool TF);
/**
 * Tells whether the search lattice is turned.
 * @param[out] TF true: it is.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when TF is null.
 */
ZARNGI_API int zarnGI_getRandomRotation(bool* TF);

/** @} */

/** @name Beyond version 4.1 */
/** @{ */

/** Values of zarnGI_getPassed3DMap(). */
enum { ZARNGI_FAILED = 0, ZARNGI_PASSED = 1, ZARNGI_NOT_TESTED = 255 };

/**
 * Copies which voxels passed. A gamma that single precision rounds to 1 does not tell: the voxel
 * may have failed by less than a rounding.
 * @param[out] passed one byte per reference voxel, x fastest: ZARNGI_PASSED, ZARNGI_FAILED or
 *             ZARNGI_NOT_TESTED. After a change of the reference grid all are ZARNGI_NOT_TESTED.
 * @return ZARNGI_OK; ZARNGI_NOT_READY; ZARNGI_BUSY; ZARNGI_NO_RESULTS; ZARNGI_NULL_POINTER.
 */
ZARNGI_API int zarnGI_getPassed3DMap(unsigned char* passed);

/** How far a search is. */
typedef struct zarnGI_progress {
    int shell;      /**< the shell that is searched, 1 is the innermost */
    int shellLimit; /**< the last shell there can be; most searches end earlier */
    double share;   /**< of this shell that has been searched, 0 to 1 */
} zarnGI_progress;

/**
 * Called while a computation runs, on the thread that started it: at least every 20 ms of the
 * search, and not more often than every 10 ms. It calls no function of this library.
 * @param progress how far the search is; valid during the call.
 * @param context as it was given to zarnGI_setProgress().
 * @return 0 to go on; any other number ends the computation within 50 ms of the search:
 *         zarnGI_startComputation() then returns ZARNGI_NOT_READY, and there are no results.
 */
typedef int (*zarnGI_progressCallback)(const zarnGI_progress* progress, void* context);

/**
 * Sets what is called while computations run. No result depends on it. zarnGI_reset() clears it.
 * @param callback the function; null: none.
 * @param context handed to it.
 * @return ZARNGI_OK; ZARNGI_NULL_POINTER when the environment cannot be had.
 */
ZARNGI_API int zarnGI_setProgress(zarnGI_progressCallback callback, void* context);

/**
 * Tells for which sets of instructions the search is compiled, the slowest first. All give the same
 * bits; the fastest one that this processor runs is used.
 * @param number of the set, from 0 on.
 * @param[out] name a text that stays: "AVX2".
 * @param[out] isSupported 1 where this processor runs it, else 0.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE when there is none of that number; ZARNGI_NULL_POINTER.
 */
ZARNGI_API int zarnGI_getVectorPath(int number, const char** name, int* isSupported);

/**
 * Makes searches use one set of instructions, to test it. zarnGI_reset() leaves it as it is.
 * @param number of a set that this processor runs; -1: the fastest one, as without this call.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE.
 */
ZARNGI_API int zarnGI_setVectorPath(int number);

/** Floats that can be read behind the last dose of a lent grid: vectors may begin at that. */
enum { ZARNGI_LENT_MARGIN = 16 };

/**
 * Lends the reference dose grid: it is searched where it is, without a copy, and never written to.
 * It stays lent until it is replaced by another grid, lent or set, or by the same one lent again,
 * or until zarnGI_reset(); as long as that it has to stay where it is, and during a computation as
 * it is. Two comparisons that take turns lend their grids anew at each turn, which costs nothing.
 *
 * Replaces an earlier reference grid and its gamma map, lent ones as well: a rejected call leaves
 * both in place. There is no gamma map then until the next computation makes one.
 * @param nn, hs, x0 as those of zarnGI_setRef(); they may go when the call returns.
 * @param map as that of zarnGI_setRef(), with ZARNGI_LENT_MARGIN more floats behind the last dose,
 *        whatever stands there.
 * @return the codes of zarnGI_setRef().
 */
ZARNGI_API int zarnGI_lendRef(const int* nn, const float* hs, const float* x0, const float* map);

/**
 * Lends the evaluation dose grid, as zarnGI_lendRef() does the reference. It may be the same
 * memory.
 * @param nn, hs, x0, map as those of zarnGI_lendRef().
 * @return the codes of zarnGI_setRef().
 */
ZARNGI_API int zarnGI_lendEval(const int* nn, const float* hs, const float* x0, const float* map);

/**
 * Lends memory for the gamma maps of the reference grid: each computation that follows writes its
 * map there, -1 in all voxels when it tests none, and keeps no copy. It stays lent until other
 * memory is lent in its place, until a reference grid is lent or set, or until zarnGI_reset(). A
 * map in it is no longer the library's then: zarnGI_getGammaIndex3DMap() returns ZARNGI_NO_RESULTS
 * until the next computation. After a computation that fails the memory holds anything.
 * @param gamma as many floats as the reference grid has voxels; null: memory of the library's own,
 *        which the next computation takes.
 * @return ZARNGI_OK; ZARNGI_NO_REFERENCE when there is no reference grid; ZARNGI_NULL_POINTER when
 *         the environment cannot be had.
 */
ZARNGI_API int zarnGI_lendGammaIndex3DMap(float* gamma);

/**
 * Gives back the memory of the last computation's records, 24 bytes for each tested voxel, which
 * the next one would use again. The gamma map and the pass rate stay; zarnGI_getPassed3DMap()
 * returns ZARNGI_NO_RESULTS until the next computation.
 * @return ZARNGI_OK; ZARNGI_BUSY; ZARNGI_NULL_POINTER when the environment cannot be had.
 */
ZARNGI_API int zarnGI_releaseRecords(void);

/**
 * Restricts the computations that follow to some planes of the reference grid, those of constant z:
 * only their voxels are tested, each with the result that it has in a computation of all. A large
 * grid can so be computed part by part, with the records of one part at a time, or on several
 * machines. Maps that the library reads or writes keep the places of the whole grid, but only these
 * planes of them are read or written; the pass rate is that of these planes. Without a
 * normalisation dose, that of the whole reference is looked for each time.
 *
 * A computation with a normalisation dose and a search maximum, without random rotation and at
 * verbosity 0, needs no more of lent memory than this, whatever stands elsewhere, or whether that
 * can be read at all: of the reference these planes and one on either side, of the evaluation the
 * planes whose centres lie within (search maximum + 1) DTA and two voxels of the evaluation of
 * theirs, and the nearest one; behind the last of them ZARNGI_LENT_MARGIN floats; of the memory for
 * a gamma map these planes.
 *
 * There are no results until the next computation. The restriction ends with another one, with
 * another reference grid, or with zarnGI_reset().
 * @param first plane, 0 to nn[2] - 1.
 * @param count of planes, 1 to nn[2] - first; 0: the whole grid, whatever `first`.
 * @return ZARNGI_OK; ZARNGI_OUT_OF_RANGE; ZARNGI_NO_REFERENCE when there is no reference grid;
 *         ZARNGI_BUSY; ZARNGI_NULL_POINTER when the environment cannot be had.
 */
ZARNGI_API int zarnGI_setTestedPlanes(int first, int count);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
