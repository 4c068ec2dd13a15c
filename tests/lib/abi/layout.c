/* The layout that programs built against soname 4 rely on. A failure here calls for a new soname.
 */
#include <assert.h>
#include <stddef.h>

#include "libZarnGI.h"

#define AT(field, offset)                                                                          \
    static_assert(offsetof(calculationEnvironment, field) == (offset), "moved: " #field)

AT(xmin_ref, 0);
AT(xmin_eval, 12);
AT(xmax_ref, 24);
AT(xmax_eval, 36);
AT(nn_ref, 48);
AT(nn_eval, 60);
AT(hs_ref, 72);
AT(hs_eval, 84);
AT(map_ref, 96);
AT(map_eval, 104);
AT(gamma, 112);
AT(N_ref, 120);
AT(N_eval, 128);
AT(DCO, 136);
AT(DTA, 140);
AT(DD, 144);
AT(passRateMode, 148);
AT(globalDD, 149);
AT(global_normalisation, 152);
AT(gammaSearchMax, 156);
AT(verbose, 160);
AT(num_threads, 164);
AT(passrate, 168);
AT(gammaindex2D, 172);
AT(gammaindex2D_z, 173);
AT(gammaindex2D_y, 174);
AT(gammaindex2D_x, 175);
AT(lNoInterpolation, 176);
AT(numSamplesEval, 180);
AT(stepSize, 184);
AT(randomRotation, 188);
static_assert(sizeof(calculationEnvironment) == 192, "calculationEnvironment changed its size");

static_assert(offsetof(libraryStatus, isReadyToGo) == 0, "moved: isReadyToGo");
static_assert(offsetof(libraryStatus, isComputing) == 4, "moved: isComputing");
static_assert(offsetof(libraryStatus, isAborting) == 8, "moved: isAborting");
static_assert(offsetof(libraryStatus, hasFinished) == 12, "moved: hasFinished");
static_assert(sizeof(libraryStatus) == 16, "libraryStatus changed its size");
