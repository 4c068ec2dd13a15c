/**
 * @file boxes.h
 * The boxes of lattice points in cells that can matter.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_BOXES_H
#define ZARNGI_LATTICE_STAGES_BOXES_H

#include <cstdint>

#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/cellDoses.h"
#include "lattice/stages/cellEdges.h"
#include "lattice/stages/cellList.h"
#include "lattice/stages/cellNumbers.h"
#include "lattice/stages/cellPlane.h"
#include "lattice/stages/columns.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** Searches cells: finds which of their lattice points can matter, and searches those. */
class BoxSearch
{
public:
    BoxSearch(const SearchPass& pass, VoxelTable& voxels)
        : pass_(pass), voxels_(voxels), chunk_(pass, voxels), plane_(pass, voxels, cells_),
          columns_(pass, voxels, cells_)
    {
        cells_.slope[0] = pass.cells.perStep[0];
        cells_.slope[1] = pass.cells.perStep[1];
    }

    /** Takes up a chunk of cells, whose numbers search() is given then. */
    void takeUp(std::int32_t firstX, std::int32_t firstY, BorrowedList<CellRun> alongZ)
    {
        if (chunk_.takeUp(firstX, firstY, alongZ)) {
            cells_.slope[2] = alongZ.items[0].slope;
            cells_.runsAlongZ = alongZ.items;
        }
    }

    void search(int* listed, int count);

    /** Settles what the cells have left. */
    void finish()
    {
        columns_.finish();
        chunk_.forget();
    }

private:
    using F = Lanes::F;

    void addOpen(Lanes::I numbers, int count);
    void locate(int at);
    void shrinkAgain(int at);

    const SearchPass& pass_;
    VoxelTable& voxels_;
    ChunkCells chunk_;
    CellList cells_;
    CellPlane plane_;
    ColumnSearch columns_;
};

/**
 * Finds which lattice points of some listed cells can matter, and searches them. (The rest of the
 * last vector behind them is overwritten.)
 *
 * Each round replaces the doses in a box of points by a plane, and takes the smaller box around the
 * points that can matter for the next round: the error of the plane shrinks with the box. The first
 * round leaves a third of the cells; these are put side by side for the second. Before it one
 * column of each lowers the thresholds.
 */
void BoxSearch::search(int* listed, int count)
{
    for (int at = count; at % Lanes::width != 0; ++at) {
        listed[at] = listed[0];
    }
    cells_.count = 0;
    for (int at = 0; at < count; at += Lanes::width) {
        addOpen(Lanes::loadIndices(listed + at), smaller(count - at, Lanes::width));
    }
    for (int at = 0; at < cells_.count; at += Lanes::width) {
        locate(at);
    }
    if (pass_.cells.edgesAreKnown) {
        columns_.probe();
    }
    for (int at = 0; at < cells_.count; at += Lanes::width) {
        shrinkAgain(at);
    }
    columns_.search();
}

/** Adds those of the first so many cells of a vector to the list that the first round leaves. */
void BoxSearch::addOpen(Lanes::I numbers, int count)
{
    const CellPlace place = chunk_.placeOf(numbers);
    PointBox box;
    for (int a = 0; a < 2; ++a) {
        const F next = Lanes::asFloats(place.cell[a]) + Lanes::all(1);
        const CellPoints points =
            pointsBetween(pass_, a, place.start[a],
                          edgeOf(pass_, a, Lanes::spread(voxels_.cellStart[a], place.voxel), next),
                          CellNumbers::ends(numbers, a));
        box.first[a] = points.first;
        box.last[a] = points.last;
    }
    box.first[2] = chunk_.firstAlongZ(place.alongZ);
    box.last[2] = chunk_.lastAlongZ(place.alongZ);
    for (int a = 0; a < 3; ++a) {
        box.first[a] = Lanes::max(box.first[a], Lanes::spread(voxels_.low[a], place.voxel));
        box.last[a] = Lanes::min(box.last[a], Lanes::spread(voxels_.high[a], place.voxel));
    }
    CellPlane::cutToBall(
        box, Lanes::min(Lanes::spread(voxels_.threshold, place.voxel), Lanes::all(pass_.outerRim)));
    const CellDoses doses = chunk_.dosesIn(place);
    const unsigned open = plane_.shrink(box, doses, place.offset, place.voxel) &
                          (Lanes::everyLane >> (Lanes::width - count));
    if (open == 0) {
        return;
    }
    const int at = cells_.count;
    Lanes::storeChosen(cells_.number + at, open, numbers);
    for (int c = 0; c < 8; ++c) {
        Lanes::storeChosen(cells_.term[c] + at, open, doses.term[c]);
    }
    Lanes::storeChosen(cells_.error + at, open, doses.error);
    Lanes::storeChosen(cells_.planeError + at, open, doses.planeError);
    for (int a = 0; a < 3; ++a) {
        Lanes::storeChosen(cells_.first[a] + at, open, box.first[a]);
        Lanes::storeChosen(cells_.last[a] + at, open, box.last[a]);
    }
    for (int a = 0; a < 2; ++a) {
        Lanes::storeChosen(cells_.centre[a] + at, open, box.centre[a]);
    }
    cells_.count += __builtin_popcount(open);
}

/** Adds where the cells of a vector of the list lie. */
void BoxSearch::locate(int at)
{
    const int count = smaller(cells_.count - at, Lanes::width);
    for (int c = at + count; c < at + Lanes::width; ++c) {
        cells_.number[c] = cells_.number[at];
    }
    cells_.open[at / Lanes::width] = Lanes::everyLane >> (Lanes::width - count);
    const CellPlace place = chunk_.placeOf(Lanes::loadIndices(cells_.number + at));
    for (int a = 0; a < 3; ++a) {
        Lanes::store(cells_.offset[a] + at, place.offset[a]);
    }
    for (int a = 0; a < 2; ++a) {
        Lanes::store(cells_.origin[a] + at, Lanes::spread(voxels_.origin[a], place.voxel));
        Lanes::store(cells_.middle[a] + at, Lanes::all(-1) - Lanes::asFloats(place.cell[a]));
    }
    Lanes::storeIndices(cells_.voxel + at, place.voxel);
    Lanes::storeIndices(cells_.alongZ + at, place.alongZ);
}

/** Shrinks the boxes of a vector of the list once more. */
void BoxSearch::shrinkAgain(int at)
{
    CellDoses doses;
    for (int c = 0; c < 8; ++c) {
        doses.term[c] = Lanes::load(cells_.term[c] + at);
    }
    doses.error = Lanes::load(cells_.error + at);
    doses.planeError = Lanes::load(cells_.planeError + at);
    PointBox box;
    F offset[3];
    for (int a = 0; a < 3; ++a) {
        box.first[a] = Lanes::load(cells_.first[a] + at);
        box.last[a] = Lanes::load(cells_.last[a] + at);
        offset[a] = Lanes::load(cells_.offset[a] + at);
    }
    cells_.open[at / Lanes::width] &=
        plane_.shrink(box, doses, offset, Lanes::loadIndices(cells_.voxel + at));
    for (int a = 0; a < 3; ++a) {
        Lanes::store(cells_.first[a] + at, box.first[a]);
        Lanes::store(cells_.last[a] + at, box.last[a]);
    }
}

} // namespace

} // namespace zarngi::engine

#endif
