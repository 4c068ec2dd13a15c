/* The layout that programs built against soname 4 rely on. A failure here calls for a new soname.
 */
#include <assert.h>
#include <stddef.h>

#include "libZarnGI.h"

typedef float float3[3];
typedef int int3[3];
typedef float* floats;

// The type of a generic selection takes no parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define AT(record, field, type, offset)                                                            \
    static_assert(offsetof(record, field) == (offset), "moved: " #field);                          \
    static_assert(_Generic(&((record*)0)->field, type * : 1, default : 0), "retyped: " #field)
// NOLINTEND(bugprone-macro-parentheses)

AT(calculationEnvironment, xmin_ref, float3, 0);
AT(calculationEnvironment, xmin_eval, float3, 12);
AT(calculationEnvironment, xmax_ref, float3, 24);
AT(calculationEnvironment, xmax_eval, float3, 36);
AT(calculationEnvironment, nn_ref, int3, 48);
AT(calculationEnvironment, nn_eval, int3, 60);
AT(calculationEnvironment, hs_ref, float3, 72);
AT(calculationEnvironment, hs_eval, float3, 84);
AT(calculationEnvironment, map_ref, floats, 96);
AT(calculationEnvironment, map_eval, floats, 104);
AT(calculationEnvironment, gamma, floats, 112);
AT(calculationEnvironment, N_ref, size_t, 120);
AT(calculationEnvironment, N_eval, size_t, 128);
AT(calculationEnvironment, DCO, float, 136);
AT(calculationEnvironment, DTA, float, 140);
AT(calculationEnvironment, DD, float, 144);
AT(calculationEnvironment, passRateMode, bool, 148);
AT(calculationEnvironment, globalDD, bool, 149);
AT(calculationEnvironment, global_normalisation, float, 152);
AT(calculationEnvironment, gammaSearchMax, float, 156);
AT(calculationEnvironment, verbose, int, 160);
AT(calculationEnvironment, num_threads, int, 164);
AT(calculationEnvironment, passrate, float, 168);
AT(calculationEnvironment, gammaindex2D, bool, 172);
AT(calculationEnvironment, gammaindex2D_z, bool, 173);
AT(calculationEnvironment, gammaindex2D_y, bool, 174);
AT(calculationEnvironment, gammaindex2D_x, bool, 175);
AT(calculationEnvironment, lNoInterpolation, bool, 176);
AT(calculationEnvironment, numSamplesEval, int, 180);
AT(calculationEnvironment, stepSize, float, 184);
AT(calculationEnvironment, randomRotation, bool, 188);
static_assert(sizeof(calculationEnvironment) == 192, "calculationEnvironment changed its size");

AT(libraryStatus, isReadyToGo, int, 0);
AT(libraryStatus, isComputing, int, 4);
AT(libraryStatus, isAborting, int, 8);
AT(libraryStatus, hasFinished, int, 12);
static_assert(sizeof(libraryStatus) == 16, "libraryStatus changed its size");

/* The numbers that hosts in other languages have written down. */
static_assert(ZARNGI_OK == 0, "another number: ZARNGI_OK");
static_assert(ZARNGI_OUT_OF_RANGE == -20, "another number: ZARNGI_OUT_OF_RANGE");
static_assert(ZARNGI_NULL_POINTER == -29, "another number: ZARNGI_NULL_POINTER");
static_assert(ZARNGI_BAD_GRID_SIZE == -51, "another number: ZARNGI_BAD_GRID_SIZE");
static_assert(ZARNGI_BAD_VOXEL_SIZE == -52, "another number: ZARNGI_BAD_VOXEL_SIZE");
static_assert(ZARNGI_BUSY == -100, "another number: ZARNGI_BUSY");
static_assert(ZARNGI_NOT_READY == -101, "another number: ZARNGI_NOT_READY");
static_assert(ZARNGI_NO_CRITERIA == -102, "another number: ZARNGI_NO_CRITERIA");
static_assert(ZARNGI_NO_REFERENCE == -103, "another number: ZARNGI_NO_REFERENCE");
static_assert(ZARNGI_NO_EVALUATION == -104, "another number: ZARNGI_NO_EVALUATION");
static_assert(ZARNGI_NO_RESULTS == -105, "another number: ZARNGI_NO_RESULTS");
static_assert(ZARNGI_DD_GLOBAL == 1 && ZARNGI_DD_LOCAL == 2, "other dose-difference criteria");
static_assert(ZARNGI_MODE_GAMMA_MAP == 1 && ZARNGI_MODE_PASS_RATE == 2, "other modes");
static_assert(ZARNGI_VERSION_BUFFER_SIZE == 255, "another size of the version text");
