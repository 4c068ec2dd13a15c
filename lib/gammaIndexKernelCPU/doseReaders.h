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
 * Trilinear interpolation between the eight voxel centres around the position: linear along x, of
 * these along y, of these along z, each as lower * (1 - t) + upper * t. Within half a voxel of a
 * face of the grid: the dose of the containing voxel.
 * @param map doses, Gy, x fastest.
 * @param position three floats, mm.
 * @param x0 lower corner of the grid, mm.
 * @param h voxel size, mm.
 * @param n voxel counts.
 * @return Gy; 0 outside the grid and on its faces.
 */
ZARNGI_API float TrilinearInterp(const float* map, const float* position, const float* x0,
                                 const float* h, const int* n);

/**
 * Bilinear interpolation within the nearest plane of voxel centres across axis `idir`; a position
 * midway between two planes takes the upper one. Within half a voxel of a face of the grid: the
 * dose of the containing voxel.
 * @param map doses, Gy, x fastest.
 * @param position three floats, mm.
 * @param x0 lower corner of the grid, mm.
 * @param h voxel size, mm.
 * @param n voxel counts.
 * @param idir 0 (x), 1 (y) or 2 (z).
 * @return Gy; 0 outside the grid and on its faces.
 */
ZARNGI_API float BilinearInterp(const float* map, const float* position, const float* x0,
                                const float* h, const int* n, int idir);

/**
 * The dose of the voxel that contains the position. The index is truncated towards zero, so less
 * than one voxel below the grid's lower faces the first voxel is read.
 * @param map doses, Gy, x fastest.
 * @param position three floats, mm.
 * @param x0 lower corner of the grid, mm.
 * @param h voxel size, mm.
 * @param n voxel counts.
 * @return Gy; 0 elsewhere outside the grid.
 */
ZARNGI_API float VoxelValue(const float* map, const float* position, const float* x0,
                            const float* h, const int* n);

/**
 * The lower corner of a voxel.
 * @param ivxl linear index, ix + n[0] * (iy + n[1] * iz).
 * @param x0 lower corner of the grid, mm.
 * @param h voxel size, mm.
 * @param n voxel counts.
 * @return x0 + index * h on each axis, mm.
 */
inline vec3dRT nodePosition(int ivxl, const float* x0, const float* h, const int* n)
{
    const int iz = ivxl / (n[0] * n[1]);
    const int inPlane = ivxl % (n[0] * n[1]);
    const int iy = inPlane / n[0];
    const int ix = inPlane % n[0];
    return vec3dRT(x0[0] + static_cast<float>(ix) * h[0], x0[1] + static_cast<float>(iy) * h[1],
                   x0[2] + static_cast<float>(iz) * h[2]);
}

/**
 * The centre of a voxel.
 * @param ivxl linear index, ix + n[0] * (iy + n[1] * iz).
 * @param x0 lower corner of the grid, mm.
 * @param h voxel size, mm.
 * @param n voxel counts.
 * @return (x0 + index * h) + h / 2 on each axis, mm.
 */
inline vec3dRT centerPosition(int ivxl, const float* x0, const float* h, const int* n)
{
    return nodePosition(ivxl, x0, h, n) + vec3dRT(h) / 2.0F;
}

#endif
