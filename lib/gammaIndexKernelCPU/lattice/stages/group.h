/**
 * @file group.h
 * The lattice search of a group of voxels, written once and compiled once per vector path.
 *
 * Everything in it and in what it includes has internal linkage, and nothing of the standard
 * library that might be compiled out of line is used: the linker must not merge code of different
 * paths.
 */
#ifndef ZARNGI_LATTICE_STAGES_GROUP_H
#define ZARNGI_LATTICE_STAGES_GROUP_H

#include <cstdint>

#include "lattice/farPoint.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/cells.h"
#include "lattice/stages/firstCandidates.h"
#include "lattice/stages/nearbyDoses.h"
#include "lattice/stages/referenceDoses.h"
#include "lattice/stages/voxelStart.h"
#include "lattice/stages/voxelTable.h"
#include "lattice/stages/wholeVoxels.h"
#include "lattice/voxelGroup.h"

namespace zarngi::engine
{

namespace
{

/** Excludes voxels by the doses near them, if that has paid for other groups. */
inline void excludeHopeless(const SearchPass& pass, SearchScratch& scratch, VoxelStart* starts,
                            int count)
{
    constexpr int longestPause = 15;
    if (scratch.groupsToSkip > 0) {
        --scratch.groupsToSkip;
        return;
    }
    const int excluded = NearbyDoses(pass).exclude(starts, count);
    scratch.pause = 2 * excluded > count ? 0 : smaller(2 * scratch.pause + 1, longestPause);
    scratch.groupsToSkip = scratch.pause;
}

/** Sets up the voxels and gives them first values. */
inline void startVoxels(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group,
                        VoxelStart (&starts)[maxVoxels])
{
    VoxelRow row;
    ReferenceDoses doses(pass);
    for (int v = 0; v < group.count; ++v) {
        starts[v].begin(pass, *group.voxels[v], row);
        if (starts[v].isSearched) {
            doses.add(starts[v]);
        }
    }
    doses.setAll();
    if (NearbyDoses::canExclude(pass)) {
        excludeHopeless(pass, scratch, starts, group.count);
    }
    FirstCandidates candidates(pass, scratch.bestPoints);
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched && starts[v].isInterpolated()) {
            candidates.add(starts[v]);
        }
        if (candidates.isFull() || v + 1 == group.count) {
            candidates.tryAll();
        }
    }
}

/** The numbers of a group's voxels in the order in which they are searched. */
class SearchOrder
{
public:
    /** Voxels of a plane that are near each other along x follow one another: they share cells. */
    SearchOrder(const VoxelStart* starts, int count)
    {
        int first = 0;
        for (int v = 0; v < count; ++v) {
            if (v == 0 || starts[v].index[1] != starts[v - 1].index[1] ||
                starts[v].index[2] != starts[v - 1].index[2]) {
                if (v > 0 && starts[v].index[2] != starts[v - 1].index[2]) {
                    addPlane(starts, first);
                    first = rowCount_;
                }
                next_[rowCount_++] = v;
            }
            end_[rowCount_ - 1] = v + 1;
        }
        addPlane(starts, first);
    }

    [[nodiscard]] int operator[](int place) const { return number_[place]; }

private:
    static std::int32_t blockOf(const VoxelStart& start)
    {
        return start.index[0] / VoxelTable::maxCount;
    }

    /** Adds the rows from one on, block by block along x. */
    void addPlane(const VoxelStart* starts, int firstRow)
    {
        if (firstRow + 1 == rowCount_) { // a single row is in order
            for (int v = next_[firstRow]; v < end_[firstRow]; ++v) {
                number_[count_++] = v;
            }
            return;
        }
        std::int32_t block = 0;
        while (block >= 0) {
            std::int32_t following = -1;
            for (int row = firstRow; row < rowCount_; ++row) {
                int& v = next_[row];
                while (v < end_[row] && blockOf(starts[v]) <= block) {
                    number_[count_++] = v++;
                }
                if (v < end_[row]) {
                    const std::int32_t own = blockOf(starts[v]);
                    following = following < 0 ? own : smaller(following, own);
                }
            }
            block = following;
        }
    }

    int rowCount_ = 0;
    int next_[maxVoxels];
    int end_[maxVoxels];
    int count_ = 0;
    int number_[maxVoxels];
};

/** Searches the shell around the voxels of a group, and marks those that are final. */
inline void searchGroup(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    VoxelStart starts[maxVoxels];
    startVoxels(pass, scratch, group, starts);
    static_assert(sizeof(CellSearch) <= SearchMemory::size);
    CellSearch& cells = *new (scratch.structures) CellSearch(pass, scratch);
    const SearchOrder order(starts, group.count);
    for (int n = 0; n < group.count; ++n) {
        VoxelStart& start = starts[order[n]];
        if (start.isSearched && !start.isDone(pass)) {
            cells.add(start);
        }
    }
    cells.searchAll();
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched && !starts[v].isInterpolatedOnly(pass) &&
            !starts[v].isDone(pass)) {
            WholeVoxels(pass, scratch, starts[v]).search();
        }
    }
    // The records last and together: they share cache lines with those of other workers.
    for (int v = 0; v < group.count; ++v) {
        if (starts[v].isSearched) {
            starts[v].store(pass);
            scratch.bestPoints[starts[v].index[0]] = starts[v].best.point;
        }
        if (!pass.passRateMode) {
            if (isFinal(pass, starts[v].index, starts[v].gammasq)) {
                group.voxels[v]->stopSearching = true;
            } else {
                scratch.leftOpen = true;
            }
        }
    }
}

} // namespace

} // namespace zarngi::engine

#endif
