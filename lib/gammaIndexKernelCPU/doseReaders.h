/**
 * @file doseReaders.h
 * The dose of a grid at any point in space, and the places of voxels.
 *
 * A grid is described by `map` (doses, Gy, x fastest), `x0` (mm, lower corner of voxel 0), `h` (mm,
 * voxel size) and `n` (voxel counts). Voxel (ix, iy, iz) spans x0 + i*h to x0 + (i+1)*h; its dose
 * belongs to its centre. `position` is three floats, mm. A position outside the grid or not a
 * number reads 0. Nothing is validated here: the grid calls of libZarnGI.h do that.
 */
#ifndef ZARNGI_DOSEREADERS_H
#define ZARNGI_DOSEREADERS_H

#include "libZarnGI.h"
#include "vector3d.h"

/**
 * Trilinear interpolation between the eight voxel centres around the position. Within half a voxel
 * of a face of the grid: the dose of the containing voxel.
 */
ZARNGI_API float TrilinearInterp(const float* map, const float* position, const float* x0,
                                 const float* h, const int* n);

/**
 * Bilinear interpolation within the nearest plane of voxel centres across axis `idir`; a position
 * midway between two planes takes the upper one. Within half a voxel of a face of the grid: the
 * dose of the containing voxel.
 * @param idir 0 (x), 1 (y) or 2 (z).
 */
ZARNGI_API float BilinearInterp(const float* map, const float* position, const float* x0,
                                const float* h, const int* n, int idir);

/**
 * The dose of the voxel that contains the position. The index is truncated towards zero, so less
 * than one voxel below the grid's lower faces the first voxel is read.
 */
ZARNGI_API float VoxelValue(const float* map, const float* position, const float* x0,
                            const float* h, const int* n);

/** Lower corner of voxel `ivxl`, mm. */
inline vec3dRT nodePosition(int ivxl, const float* x0, const float* h, const int* n)
{
    const int iz = ivxl / (n[0] * n[1]);
    const int inPlane = ivxl % (n[0] * n[1]);
    const int iy = inPlane / n[0];
    const int ix = inPlane % n[0];
    return vec3dRT(x0[0] + static_cast<float>(ix) * h[0], x0[1] + static_cast<float>(iy) * h[1],
                   x0[2] + static_cast<float>(iz) * h[2]);
}

/** Centre of voxel `ivxl`, mm. */
inline vec3dRT centerPosition(int ivxl, const float* x0, const float* h, const int* n)
{
    return nodePosition(ivxl, x0, h, n) + vec3dRT(h) / 2.0F;
}

#endif
