/**
 * @file searchVoxels.h
 * Which voxels an explanation is searched with, and how far the evaluation can be moved.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_SEARCHVOXELS_H
#define ZARNGI_COMPARISON_EXPLANATION_SEARCHVOXELS_H

#include "comparison/explanation/trial.h"

namespace zarngi
{

/** How far shifts may go, and the voxels that keep their evaluation doses within it. */
struct ShiftBounds {
    Vec3 bounds{};    ///< mm; 0: none along this axis
    VoxelList inside; ///< those around which the evaluation stays as far as `reach`
};

/**
 * Halves the bounds, of single axes first, until enough of the voxels stay inside: a voxel that
 * loses doses around it on the way would pull the search away from the edge of the grid.
 * @param bounds mm, wanted; 0: no shift along this axis.
 * @param reach mm around a voxel's centre in which its doses are searched.
 */
ShiftBounds shiftBounds(const Geometry& reference, const Geometry& evaluation,
                        const VoxelList& voxels, Vec3 bounds, double reach);

/** About so many of the voxels, spread evenly and always the same. */
VoxelList someOf(const VoxelList& voxels, std::size_t count);

} // namespace zarngi

#endif
