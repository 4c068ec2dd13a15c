/**
 * @file cellQueue.h
 * Cells that are to be searched: where they are many, the most promising ones first.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLQUEUE_H
#define ZARNGI_LATTICE_STAGES_CELLQUEUE_H

#include <cstdint>

#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/boxes.h"
#include "lattice/stages/cellList.h"
#include "lattice/stages/cellNumbers.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** Cells of a chunk by number, and the search of those that have been listed. */
class CellQueue
{
public:
    CellQueue(const SearchPass& pass, VoxelTable& voxels) : voxels_(voxels), boxes_(pass, voxels) {}

    /**
     * Takes up a chunk of cells, for the calls of add() that follow: cellsAtOnce from those numbers
     * on along x and y, and at most runsAtOnce along z.
     */
    void takeUp(std::int32_t firstX, std::int32_t firstY, BorrowedList<CellRun> alongZ)
    {
        searchListed();
        boxes_.takeUp(firstX, firstY, alongZ);
    }

    /** Reserves memory for cells: so many for each voxel, at most cellsAtOnce. */
    void makeRoom(int cells)
    {
        if (count_ + cells * VoxelTable::maxCount > maxListed) {
            searchListed();
        }
    }

    /**
     * Lists one cell for each of some voxels, by number. `bounds`: f of their points is not less.
     *
     * `count` is that of the listed cells and returned anew. (The caller keeps it in a register: as
     * a member it would be written and read again around the stores into the list.)
     */
    [[nodiscard]] int add(int count, unsigned voxels, Lanes::F bounds, Lanes::I numbers);

    [[nodiscard]] int count() const { return count_; }
    void setCount(int count) { count_ = count; }

    /** Searches the listed cells, and settles what they have left. */
    void finish();

private:
    using F = Lanes::F;

    void searchListed();
    void searchBelow(const float* level);

    static constexpr int atOnce = CellList::maxCount;
    static constexpr int maxListed = 2 * CellNumbers::cellsAtOnce * VoxelTable::maxCount;

    VoxelTable& voxels_;
    BoxSearch boxes_;
    int count_ = 0;
    alignas(64) int listed_[maxListed + Lanes::width]; ///< z, y, x and voxel in one number
    alignas(64) float bound_[maxListed + Lanes::width];
    alignas(64) int chosen_[atOnce + Lanes::width];
};

inline int CellQueue::add(int count, unsigned voxels, Lanes::F bounds, Lanes::I numbers)
{
    Lanes::storeChosen(listed_ + count, voxels, numbers);
    Lanes::storeChosen(bound_ + count, voxels, bounds);
    return count + __builtin_popcount(voxels);
}

void CellQueue::finish()
{
    searchListed();
    boxes_.finish();
}

/**
 * Searches the listed cells; where they are many, those with the least bounds first: what these
 * hold lowers the thresholds, and most of the others need not be looked at then.
 */
void CellQueue::searchListed()
{
    constexpr int many = 12; // cells of a voxel
    if (count_ <= many * voxels_.count) {
        for (int at = 0; at < count_; at += atOnce) {
            boxes_.search(listed_ + at, smaller(count_ - at, atOnce));
        }
        count_ = 0;
        return;
    }
    for (const float share : {0.02F, 0.08F, 0.32F, 1.0F}) {
        alignas(64) float level[VoxelTable::maxCount];
        const F least = Lanes::load(voxels_.leastBound);
        const F range = Lanes::load(voxels_.threshold) - least;
        Lanes::store(level,
                     share < 1 ? least + range * Lanes::all(share) : Lanes::all(__builtin_inff()));
        searchBelow(level);
    }
}

/** Searches the listed cells whose bounds are not above the level of their voxel. */
void CellQueue::searchBelow(const float* level)
{
    const int count = count_;
    count_ = 0;
    int chosen = 0;
    for (int at = 0; at < count; at += Lanes::width) {
        const Lanes::I listed = Lanes::loadIndices(listed_ + at);
        const F bound = Lanes::load(bound_ + at);
        const Lanes::I voxels = CellNumbers::voxels(listed);
        const unsigned open =
            Lanes::notGreater(bound, Lanes::spread(voxels_.threshold, voxels)) &
            (Lanes::everyLane >> (Lanes::width - smaller(count - at, Lanes::width)));
        const unsigned below = open & Lanes::notGreater(bound, Lanes::spread(level, voxels));
        Lanes::storeChosen(chosen_ + chosen, below, listed);
        chosen += __builtin_popcount(below);
        Lanes::storeChosen(listed_ + count_, open & ~below, listed);
        Lanes::storeChosen(bound_ + count_, open & ~below, bound);
        count_ += __builtin_popcount(open & ~below);
        if (chosen >= atOnce) {
            boxes_.search(chosen_, atOnce);
            chosen -= atOnce;
            Lanes::storeIndices(chosen_, Lanes::loadIndices(chosen_ + atOnce));
        }
    }
    if (chosen > 0) {
        boxes_.search(chosen_, chosen);
    }
}

} // namespace

} // namespace zarngi::engine

#endif
