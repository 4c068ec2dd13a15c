/**
 * @file search.h
 * The search of one shell around voxels of one worker.
 */
#ifndef ZARNGI_SEARCH_H
#define ZARNGI_SEARCH_H

#include <atomic>
#include <cstddef>
#include <vector>

#include "engineState.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/voxelGroup.h"
#include "rotated/pointGroups.h"

/** The workers of a pass: pthreads_max_num, but no more than voxels under test, and at least 1. */
std::size_t workerCount();

/** One pass over the lattice points of a shell, without a list of them. */
class LatticePass
{
public:
    /** Prepares a pass by as many workers as there are memories, which outlive it. */
    LatticePass(const SearchPass& pass, const std::vector<SearchMemory>& memories);

    /**
     * Searches the shell around some voxels; each worker from its own thread.
     *
     * Once a voxel has been left open, another pass follows. Where that finds again all that this
     * one finds, the rest of the voxels are left to it: each of them is searched once then.
     */
    void search(std::size_t worker, const VoxelGroup& group);

    /** Whether all voxels not yet searched are left to the next pass. */
    [[nodiscard]] bool leavesRest() const { return leftOpen_.load(std::memory_order_relaxed); }

private:
    SearchPass pass_;
    LatticeSearch search_;
    std::vector<SearchScratch> scratch_;
    std::atomic<bool> leftOpen_ = false; ///< a voxel, by any worker; a hint that saves work only
};

/** The pass that the workers run when evalPoints is null. Owned by the driver. */
extern LatticePass* latticePass;

/** The points of evalPoints as the vector paths search them, or null. Owned by the driver. */
extern const RotatedPoints* rotatedPoints;

/** Searches the current pass around some voxels: the points of evalPoints, or else latticePass. */
void searchVoxels(std::size_t worker, const VoxelGroup& group);

/** Whether searchVoxels() has nothing more to do in this pass. */
bool restIsLeft();

#endif
