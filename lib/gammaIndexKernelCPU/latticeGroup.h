/**
 * @file latticeGroup.h
 * The lattice search of a group of voxels, written once and compiled once per vector path.
 *
 * Everything in it and in what it includes has internal linkage, and nothing of the standard
 * library that might be compiled out of line is used: the linker must not merge code of different
 * paths.
 */
#ifndef ZARNGI_LATTICEGROUP_H
#define ZARNGI_LATTICEGROUP_H

#include "latticeCandidates.h"
#include "latticeCells.h"
#include "latticeNearbyDoses.h"
#include "latticeVoxels.h"

namespace
{

/** Excludes voxels by the doses near them, if that has paid for other groups. */
inline void excludeHopeless(const SearchPass& pass, SearchScratch& scratch, VoxelStart* starts,
                            int count)
{
    constexpr int pause = 15;
    if (scratch.groupsToSkip > 0) {
        --scratch.groupsToSkip;
        return;
    }
    const int excluded = NearbyDoses(pass).exclude(starts, count);
    scratch.groupsToSkip = 2 * excluded > count ? 0 : pause;
}

/** Sets up the voxels and gives them first values. */
inline void startVoxels(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group,
                        VoxelStart (&starts)[maxVoxels])
{
    VoxelRow row;
    for (int v = 0; v < group.count; ++v) {
        starts[v].begin(pass, *group.voxels[v], row);
    }
    if (NearbyDoses::canExclude(pass)) {
        excludeHopeless(pass, scratch, starts, group.count);
    }
    FirstCandidates candidates(pass);
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched && starts[v].isInterpolated()) {
            candidates.add(starts[v]);
        }
        if (candidates.isFull() || v + 1 == group.count) {
            candidates.tryAll();
        }
    }
}

/** Searches the shell around the voxels of a group, and marks those that are final. */
inline void searchGroup(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    VoxelStart starts[maxVoxels];
    VoxelSearch searches[maxVoxels];
    startVoxels(pass, scratch, group, starts);
    CellSearch cells(pass, scratch);
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched) {
            searches[v].begin(pass, scratch, starts[v]);
            if (!searches[v].isDone()) {
                cells.add(searches[v]);
            }
        }
    }
    cells.searchAll();
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched && !searches[v].isDone()) {
            searches[v].searchVoxelwise();
        }
    }
    // The records last and together: they share cache lines with those of other workers.
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched) {
            searches[v].end();
        }
        if (!pass.passRateMode) {
            markIfFinal(pass, *group.voxels[v]);
        }
    }
}

} // namespace

#endif
