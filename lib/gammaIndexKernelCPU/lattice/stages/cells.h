/**
 * @file cells.h
 * The lattice points between voxel centres, cell by cell of the evaluation grid.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLS_H
#define ZARNGI_LATTICE_STAGES_CELLS_H

#include <cstddef>
#include <cstdint>

#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/cellChunk.h"
#include "lattice/stages/cellNumbers.h"
#include "lattice/stages/cellQueue.h"
#include "lattice/stages/cellsAlongZ.h"
#include "lattice/stages/doseRanges.h"
#include "lattice/stages/reach.h"
#include "lattice/stages/voxelStart.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/**
 * Searches the lattice points between voxel centres around a vector of voxels that share their
 * index along z.
 *
 * The work goes through stages: cells that the range of their doses leaves; what the plane through
 * the doses of a cell leaves of it; columns that a least value leaves; points. Each stage writes a
 * list for the next one, so that no branch waits for the arithmetic of its own item.
 */
class CellSearch
{
public:
    CellSearch(const SearchPass& pass, SearchScratch& scratch)
        : pass_(pass), scratch_(scratch), voxels_(pass), chunk_(pass, voxels_), ranges_(pass),
          queue_(pass, voxels_)
    {
    }

    /** Made in memory that is there; there is nothing to destroy. */
    static void* operator new(std::size_t /*size*/, void* memory) { return memory; }

    /** Adds a voxel, and searches those before it if they are enough or in another plane. */
    void add(VoxelStart& start);

    /** Searches the voxels that were added since the last time. */
    void searchAll();

private:
    using F = Lanes::F;

    static float nearestSquared(const CellRun& cell)
    {
        return squareOf(nearestToZero({cell.first, cell.last}));
    }

    /** As many of the cells as can be taken up at once, from a place on. */
    static BorrowedList<CellRun> part(BorrowedList<CellRun> cells, std::int32_t from)
    {
        return {cells.items + from, smaller(cells.count - from, CellNumbers::runsAtOnce)};
    }

    void listAll();
    void listChunk(CellSpan alongX, CellSpan alongY);
    void listPlane(const CellRun& zCell, int z);
    template <class Row> void listRows(CellSpan rows, int z, float zSquared);
    template <class Row>
    void listOpenCells(const Row& least, const Row& most, int y, int z, float zSquared);

    const SearchPass& pass_;
    SearchScratch& scratch_;
    VoxelTable voxels_;
    CellChunk chunk_;
    DoseRanges ranges_;
    CellQueue queue_;
};

void CellSearch::add(VoxelStart& start)
{
    const bool isFull = voxels_.count == VoxelTable::maxCount;
    if (isFull ||
        (voxels_.count > 0 && start.index[2] != voxels_.start[voxels_.count - 1]->index[2])) {
        searchAll();
    }
    const Reach reach(pass_, start);
    LatticeInterval range[3];
    for (int a = 0; a < 3; ++a) {
        range[a] = common(start.sample[a]->centre, reach.on(a));
        if (range[a].empty()) {
            return;
        }
    }
    voxels_.add(start, reach, range);
}

void CellSearch::searchAll()
{
    if (voxels_.count == 0) {
        return;
    }
    voxels_.complete();
    listAll();
    queue_.finish();
    voxels_.clear();
}

/** Lists the open cells of the voxels. */
void CellSearch::listAll()
{
    const VoxelStart& start = *voxels_.start[0];
    if (scratch_.window.referenceIndex != start.index[2]) {
        prepareWindow(pass_, start, scratch_.window);
    }
    const CellSpan x = chunk_.findCells(0);
    const CellSpan y = chunk_.findCells(1);
    for (std::int32_t row = y.first; row <= y.last; row += CellChunk::maxCells) {
        for (std::int32_t cell = x.first; cell <= x.last; cell += CellChunk::maxCells) {
            listChunk({cell, smaller(cell + CellChunk::maxCells - 1, x.last)},
                      {row, smaller(row + CellChunk::maxCells - 1, y.last)});
        }
    }
}

/** Lists the open cells of a chunk. */
void CellSearch::listChunk(CellSpan alongX, CellSpan alongY)
{
    chunk_.takeUp(alongX, alongY);
    const BorrowedList<CellRun> alongZ = scratch_.window.runs;
    for (std::int32_t from = 0; from < alongZ.count; from += CellNumbers::runsAtOnce) {
        const BorrowedList<CellRun> zCells = part(alongZ, from);
        queue_.takeUp(alongX.first, alongY.first, zCells);
        for (int z = 0; z < zCells.count; ++z) {
            listPlane(zCells.items[z], z);
        }
    }
}

/** Lists the open cells of the chunk in a plane. */
void CellSearch::listPlane(const CellRun& zCell, int z)
{
    const float zSquared = nearestSquared(zCell);
    CellSpan rows{0, chunk_.span[1].count() - 1};
    while (rows.first <= rows.last && zSquared + chunk_.yLeast[rows.first] > chunk_.largestRest) {
        ++rows.first;
    }
    while (rows.first <= rows.last && zSquared + chunk_.yLeast[rows.last] > chunk_.largestRest) {
        --rows.last;
    }
    if (rows.first > rows.last) {
        return;
    }
    ranges_.takeUp(chunk_, zCell, rows);
    if (chunk_.vectors <= 2 && Lanes::spreadsRegisters) {
        listRows<KeptRow<2>>(rows, z, zSquared);
    } else if (chunk_.vectors == 3 && Lanes::spreadsRegisters) {
        listRows<KeptRow<3>>(rows, z, zSquared);
    } else if (chunk_.vectors == 4 && Lanes::spreadsRegisters) {
        listRows<KeptRow<4>>(rows, z, zSquared);
    } else {
        listRows<StoredRow>(rows, z, zSquared);
    }
}

/** Lists the open cells of some rows of the chunk in a plane. */
template <class Row> void CellSearch::listRows(CellSpan rows, int z, float zSquared)
{
    for (std::int32_t y = rows.first; y <= rows.last; ++y) {
        Row least;
        Row most;
        ranges_.find(y, least, most);
        listOpenCells(least, most, y, z, zSquared);
    }
}

/** Lists the cells of the row that the range of their doses does not exclude. */
template <class Row>
inline void CellSearch::listOpenCells(const Row& least, const Row& most, int y, int z,
                                      float zSquared)
{
    const F zero = Lanes::all(0);
    const F squared = Lanes::load(chunk_.ySquared[y]) + Lanes::all(zSquared);
    const float leastSquared = chunk_.yLeast[y] + zSquared;
    const F threshold = Lanes::load(voxels_.threshold);
    const F limit = Lanes::min(Lanes::all(pass_.outerRim), threshold);
    const F dose = Lanes::load(voxels_.referenceDose);
    // An interpolated dose is off by some ten roundings of each corner's part in it. A corner is no
    // larger than the reference dose and its difference from it: a little of both covers them.
    const F rounding = absolute(dose) * Lanes::all(0x1p-18F);
    const F scale = Lanes::load(voxels_.scale) * Lanes::all(1 - 0x1p-19F);
    // A dose farther away than that is excluded at any point of the row.
    const F reach = Lanes::mulAdd(rootFromAbove(Lanes::max(threshold - squared, zero)),
                                  Lanes::load(voxels_.perScale), rounding);
    const F highest = dose + reach;
    const F lowest = dose - reach;
    const Lanes::I row = Lanes::sum(CellNumbers::alongZ(z), Lanes::loadIndices(chunk_.yNumber[y]));
    queue_.makeRoom(chunk_.longest);
    int count = queue_.count();
    F leastBound = Lanes::load(voxels_.leastBound);
    Lanes::I places = Lanes::loadIndices(chunk_.place);
    for (std::int32_t c = 0; c < chunk_.longest;
         ++c, places = Lanes::sum(places, Lanes::allIndices(1))) {
        if (leastSquared > chunk_.xRest[c]) {
            continue;
        }
        const F r2 = Lanes::load(chunk_.xSquared[c]) + squared;
        const F low = least.at(places);
        const F high = most.at(places);
        const unsigned lanes = chunk_.isIn[c] & Lanes::notGreater(r2, limit) &
                               Lanes::notGreater(low, highest) & Lanes::notGreater(lowest, high);
        if (lanes == 0) {
            continue;
        }
        const F away = Lanes::max(low - dose, dose - high) - rounding;
        const F u = Lanes::max(away, zero) * scale;
        const F bound = u * u + r2;
        const unsigned open = lanes & Lanes::notGreater(bound, threshold);
        leastBound = Lanes::min(Lanes::select(open, bound, leastBound), leastBound);
        count =
            queue_.add(count, open, bound, Lanes::sum(row, Lanes::loadIndices(chunk_.xNumber[c])));
    }
    Lanes::store(voxels_.leastBound, leastBound);
    queue_.setCount(count);
}

} // namespace

} // namespace zarngi::engine

#endif
