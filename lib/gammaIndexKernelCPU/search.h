/**
 * @file search.h
 * The search of one shell around voxels of one worker.
 */
#ifndef ZARNGI_SEARCH_H
#define ZARNGI_SEARCH_H

#include <atomic>
#include <cstddef>
#include <optional>
#include <vector>

#include "engineState.h"
#include "lattice/axes.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/voxelGroup.h"
#include "rotated/pointGroups.h"
#include "searchCriteria.h"

namespace zarngi::engine
{

/** The workers of a pass: pthreads_max_num, but no more than voxels under test, and at least 1. */
std::size_t workerCount();

/** One pass over a shell: what searchVoxels() does with the voxels that it is given. */
class ShellPass
{
public:
    ShellPass() = default;
    ShellPass(const ShellPass&) = delete;
    ShellPass& operator=(const ShellPass&) = delete;
    virtual ~ShellPass() = default;

    /** Searches the shell around some voxels; each worker from its own thread. */
    virtual void search(std::size_t worker, const VoxelGroup& group) = 0;

    /** Whether all voxels not yet searched are left to the next pass. */
    [[nodiscard]] virtual bool leavesRest() const = 0;
};

/** A pass over the lattice points of a shell, without a list of them. */
class LatticePass final : public ShellPass
{
public:
    /** Prepares a pass by as many workers as there are memories, which outlive it. */
    LatticePass(const SearchPass& pass, const std::vector<SearchMemory>& memories);

    /**
     * Once a voxel has been left open, another pass follows. Where that finds again all that this
     * one finds, the rest of the voxels are left to it: each of them is searched once then.
     */
    void search(std::size_t worker, const VoxelGroup& group) override;

    [[nodiscard]] bool leavesRest() const override
    {
        return leftOpen_.load(std::memory_order_relaxed);
    }

private:
    SearchPass pass_;
    LatticeSearch search_;
    std::vector<SearchScratch> scratch_;
    std::atomic<bool> leftOpen_ = false; ///< a voxel, by any worker; a hint that saves work only
};

/** A pass over a list of points, which may be rotated by Rot. */
class ListedPass final : public ShellPass
{
public:
    /** A pass over points (mm), nearest first, which outlive it. */
    ListedPass(const SearchCriteria& criteria, const std::vector<vec3dRT>& points)
        : criteria_(criteria), points_(points)
    {
    }

    /** Lets the vector paths search the points, as far as they can. */
    void group(const LatticeAxes& axes) { groups_.emplace(criteria_, points_, axes); }

    void search(std::size_t worker, const VoxelGroup& group) override;

    [[nodiscard]] bool leavesRest() const override { return false; }

private:
    void searchPoints(ActiveVoxel& voxel) const;
    void searchAround(ActiveVoxel& voxel, const vec3dRT& refPos) const;

    SearchCriteria criteria_;
    const std::vector<vec3dRT>& points_;
    std::optional<RotatedPoints> groups_;
};

/**
 * The pass that the workers run; null between passes, when a host may run one of its own over
 * evalPoints.
 */
extern ShellPass* shellPass;

/** Searches the current pass around some voxels. */
void searchVoxels(std::size_t worker, const VoxelGroup& group);

/** Whether searchVoxels() has nothing more to do in this pass. */
bool restIsLeft();

} // namespace zarngi::engine

#endif
