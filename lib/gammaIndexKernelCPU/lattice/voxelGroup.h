/**
 * @file voxelGroup.h
 * Some voxels of one worker, and the search of the lattice around them on each vector path.
 *
 * The search gives the bits of visiting every lattice point of the shell in the specified order of
 * operations, but visits almost none of them: docs/exactness.md explains why that is exact.
 */
#ifndef ZARNGI_LATTICE_VOXELGROUP_H
#define ZARNGI_LATTICE_VOXELGROUP_H

#include "engineState.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"

namespace zarngi::engine
{

/** Up to this many voxels are searched at once. */
constexpr int maxVoxels = 32;

/** Some voxels of one worker, at most maxVoxels. */
struct VoxelGroup {
    ActiveVoxel* voxels[maxVoxels];
    int count = 0;
};

/** Searches the pass's shell around some voxels: lowers their gammasq, marks those that are final.
 */
using LatticeSearch = void (*)(const SearchPass&, SearchScratch&, const VoxelGroup&);

} // namespace zarngi::engine

#endif
