/**
 * @file libraryCalls.h
 * The library's C functions, whose status codes become failures.
 */
#ifndef ZARNGI_COMPARISON_LIBRARYCALLS_H
#define ZARNGI_COMPARISON_LIBRARYCALLS_H

#include <string>

#include "comparison/criterion.h"
#include "comparison/doseSampling.h"
#include "comparison/gammaRun.h"

namespace zarngi
{

/**
 * @param code that a function of the library returned.
 * @param context what failures begin with.
 * @throws InputError unless the code is that of success.
 */
void require(int code, const std::string& context);

/** One of the library's functions that take a grid. */
using HandGrid = int (*)(int* nn, float* hs, float* x0, float* map);

/**
 * @param doses of the first voxel of the grid on.
 * @param name of the dose, for messages.
 * @throws InputError when the library refuses the grid.
 */
void handGrid(HandGrid hand, const Geometry& geometry, const float* doses, const std::string& name);

/** Lends a grid that stays as it is. @throws InputError as handGrid() */
void lendReference(const Geometry& geometry, const float* doses, const std::string& name);
void lendEvaluation(const Geometry& geometry, const float* doses, const std::string& name);

/** Hands over all that a computation depends on beside the grids. @throws InputError */
void setParameters(const GammaSettings& settings, const Criterion& criterion);

/** Memory of the host's in which computations put their gamma maps, as long as this lives. */
class GammaPlace
{
public:
    /** @param map of the first voxel on. @throws InputError */
    GammaPlace(float* map, const std::string& context);
    ~GammaPlace();
    GammaPlace(const GammaPlace&) = delete;
    GammaPlace& operator=(const GammaPlace&) = delete;
};

} // namespace zarngi

#endif
