/**
 * @file searchVoxels.h
 * Which voxels an explanation is searched with, and how far the evaluation can be moved.
 */
#ifndef ZARNGI_COMPARISON_EXPLANATION_SEARCHVOXELS_H
#define ZARNGI_COMPARISON_EXPLANATION_SEARCHVOXELS_H

#include "comparison/explanation/trial.h"

namespace zarngi
{

/** The room for shifts, and the voxels that keep an evaluation dose within it. */
struct SearchRoom {
    Vec3 bounds{};    ///< mm; 0: none along this axis
    VoxelList inside; ///< those whose centres stay inside of the evaluation's grid
};

/**
 * Halves the bounds, of single axes first, until enough of the voxels stay inside: a voxel that
 * loses its dose on the way would pull the search away from the edge of the grid.
 * @param bounds mm, wanted; 0: no shift along this axis.
 */
SearchRoom searchRoom(const Geometry& reference, const Geometry& evaluation,
                      const VoxelList& voxels, Vec3 bounds);

/** About so many of the voxels, spread evenly and always the same. */
VoxelList someOf(const VoxelList& voxels, std::size_t count);

} // namespace zarngi

#endif
