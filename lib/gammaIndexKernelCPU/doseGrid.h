/**
 * @file doseGrid.h
 * The two grids of the environment and the reader its options choose.
 */
#ifndef ZARNGI_DOSEGRID_H
#define ZARNGI_DOSEGRID_H

#include "doseReaders.h"
#include "gridAxis.h"
#include "libZarnGI.h"
#include "vector3d.h"

namespace zarngi::engine
{

/** One grid description, as the dose readers take it. Points into the environment. */
struct DoseGrid {
    const float* map;
    const float* x0;
    const float* h;
    const int* n;
};

inline DoseGrid referenceGrid()
{
    return {Env->map_ref, Env->xmin_ref, Env->hs_ref, Env->nn_ref};
}

inline DoseGrid evaluationGrid()
{
    return {Env->map_eval, Env->xmin_eval, Env->hs_eval, Env->nn_eval};
}

/** The reader that the environment's options choose. */
inline Reader selectedReader()
{
    if (Env->lNoInterpolation) {
        return Reader::nearest;
    }
    return Env->gammaindex2D ? Reader::bilinear : Reader::trilinear;
}

/** The dose at a position. */
inline float doseAt(const DoseGrid& grid, const vec3dRT& position, Reader reader)
{
    if (reader == Reader::nearest) {
        return VoxelValue(grid.map, position.v, grid.x0, grid.h, grid.n);
    }
    if (reader == Reader::bilinear) {
        return BilinearInterp(grid.map, position.v, grid.x0, grid.h, grid.n, 2);
    }
    return TrilinearInterp(grid.map, position.v, grid.x0, grid.h, grid.n);
}

} // namespace zarngi::engine

#endif
