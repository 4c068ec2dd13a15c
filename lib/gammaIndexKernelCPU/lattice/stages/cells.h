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

#include "gridAxis.h"
#include "lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/boxes.h"
#include "lattice/stages/cellEdges.h"
#include "lattice/stages/cellsAlongZ.h"
#include "lattice/stages/reach.h"
#include "lattice/stages/voxelStart.h"
#include "lattice/stages/voxelTable.h"

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
        : pass_(pass), scratch_(scratch), voxels_(pass), boxes_(pass, voxels_)
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
    static constexpr int maxCount = VoxelTable::maxCount;
    static constexpr int maxCells = BoxSearch::cellsAtOnce; ///< along x and y

    /** Some cells along an axis. */
    struct CellSpan {
        std::int32_t first;
        std::int32_t last;

        [[nodiscard]] std::int32_t count() const { return last - first + 1; }
    };

    /** Doses of a row of cells in so many vectors, kept in registers. */
    template <std::size_t vectors> struct KeptRow {
        F doses[vectors];

        [[nodiscard]] static int count(int /*used*/) { return vectors; }
        void set(int vector, F value) { doses[vector] = value; }
        /** The doses of the cells at places. */
        [[nodiscard]] F at(Lanes::I places) const { return Lanes::spreadFrom(doses, places); }
    };

    /** The same, in memory. */
    struct StoredRow {
        // Voxels with fewer cells than others are asked for some beyond theirs.
        alignas(64) float doses[2 * maxCells];

        [[nodiscard]] static int count(int used) { return used; }
        void set(int vector, F value) { Lanes::store(doses + vector * Lanes::width, value); }
        [[nodiscard]] F at(Lanes::I places) const { return Lanes::gather(doses, places); }
    };

    static F nearestSquaredOf(const CellPoints& points)
    {
        const F zero = Lanes::all(0);
        const F nearest = Lanes::max(Lanes::max(points.first, zero - points.last), zero);
        return nearest * nearest;
    }

    static float nearestSquared(const CellRun& cell)
    {
        return squareOf(nearestToZero({cell.first, cell.last}));
    }

    /** As many of the cells as can be taken up at once, from a place on. */
    static Room<CellRun> part(Room<CellRun> cells, std::int32_t from)
    {
        return {cells.items + from, smaller(cells.count - from, BoxSearch::runsAtOnce)};
    }

    void listAll();
    [[nodiscard]] CellSpan findCells(int axis);
    void listChunk(CellSpan alongX, CellSpan alongY);
    void placeAlongX(CellSpan cells);
    void placeAlongY(CellSpan cells);
    void listPlane(const CellRun& zCell, int z);
    template <class Row> void listRows(CellSpan rows, int z, float zSquared);
    void findRowRanges(const CellRun& zCell, CellSpan rows);
    template <class Row> void findCellRanges(std::int32_t row, Row& least, Row& most) const;
    template <class Row>
    void listOpenCells(const Row& least, const Row& most, int y, int z, float zSquared);

    /** The cells along an axis that hold lattice indices, give or take a slack in steps. */
    [[nodiscard]] Lanes::I cellsOf(int axis, F index, float slack) const
    {
        const F cell = (index + Lanes::all(slack) - Lanes::load(voxels_.cellStart[axis])) *
                       Lanes::all(pass_.cellsPerStep[axis]);
        const F lastCell = Lanes::all(static_cast<float>(larger(pass_.evaluation.n[axis] - 2, 0)));
        return Lanes::truncated(Lanes::min(Lanes::max(cell, Lanes::all(0)), lastCell));
    }

    const SearchPass& pass_;
    SearchScratch& scratch_;
    VoxelTable voxels_;
    BoxSearch boxes_;
    alignas(64) int firstCell_[2][maxCount]; ///< of each voxel, along x and y
    alignas(64) int lastCell_[2][maxCount];

    // The chunk of cells that is listed.
    CellSpan chunk_[2] = {};
    int vectors_ = 0;                      ///< that hold its cells along x
    alignas(64) int chunkPlace_[maxCount]; ///< along x, of the first cell of each voxel
    std::int32_t longest_ = 0;             ///< most cells of a voxel along x
    unsigned inChunk_[maxCells];           ///< voxels that have so many cells and one more
    alignas(64) float xSquared_[maxCells][maxCount]; ///< least i^2 in each cell
    alignas(64) int xNumber_[maxCells][maxCount];    ///< what it adds to the number of a cell
    float xRoom_[maxCells]; ///< the largest squared distance in y and z at which a cell may matter
    float largestRoom_ = 0; ///< of all these cells
    alignas(64) float ySquared_[maxCells][maxCount]; ///< least j^2; infinite: not one of the voxel
    alignas(64) int yNumber_[maxCells][maxCount];
    float yLeast_[maxCells]; ///< the least of all voxels
    /** Least and largest doses, Gy, around the cells along x and z, by rows of voxels along y. */
    alignas(64) float rows_[maxCells + 1][2][maxCells];
};

void CellSearch::add(VoxelStart& start)
{
    const bool isFull = voxels_.count == maxCount;
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
    boxes_.finish();
    voxels_.clear();
}

/** Lists the open cells of the voxels. */
void CellSearch::listAll()
{
    const VoxelStart& start = *voxels_.start[0];
    if (scratch_.window.referenceIndex != start.index[2]) {
        prepareWindow(pass_, start, scratch_.window);
    }
    const CellSpan x = findCells(0);
    const CellSpan y = findCells(1);
    for (std::int32_t row = y.first; row <= y.last; row += maxCells) {
        for (std::int32_t cell = x.first; cell <= x.last; cell += maxCells) {
            listChunk({cell, smaller(cell + maxCells - 1, x.last)},
                      {row, smaller(row + maxCells - 1, y.last)});
        }
    }
}

/** Finds the cells of each voxel along x or y; returns those from the first to the last of all. */
CellSearch::CellSpan CellSearch::findCells(int axis)
{
    const float slack = pass_.cellSlack[axis];
    Lanes::storeIndices(firstCell_[axis], cellsOf(axis, Lanes::load(voxels_.low[axis]), -slack));
    Lanes::storeIndices(lastCell_[axis], cellsOf(axis, Lanes::load(voxels_.high[axis]), slack));
    CellSpan all{firstCell_[axis][0], lastCell_[axis][0]};
    for (int v = 1; v < voxels_.count; ++v) {
        all.first = smaller(all.first, firstCell_[axis][v]);
        all.last = larger(all.last, lastCell_[axis][v]);
    }
    return all;
}

/** Lists the open cells of a chunk. */
void CellSearch::listChunk(CellSpan alongX, CellSpan alongY)
{
    chunk_[0] = alongX;
    chunk_[1] = alongY;
    vectors_ = (alongX.count() + Lanes::width - 1) / Lanes::width;
    placeAlongX(alongX);
    placeAlongY(alongY);
    const Room<CellRun> alongZ = scratch_.window.runs;
    for (std::int32_t from = 0; from < alongZ.count; from += BoxSearch::runsAtOnce) {
        const Room<CellRun> zCells = part(alongZ, from);
        boxes_.takeUp(alongX.first, alongY.first, zCells);
        for (int z = 0; z < zCells.count; ++z) {
            listPlane(zCells.items[z], z);
        }
    }
}

/** Finds the cells of each voxel along x in a chunk, and how near they come. */
void CellSearch::placeAlongX(CellSpan cells)
{
    alignas(64) int counts[maxCount] = {};
    longest_ = 0;
    for (int v = 0; v < maxCount; ++v) {
        chunkPlace_[v] = 0;
        if (v < voxels_.count && firstCell_[0][v] <= cells.last && lastCell_[0][v] >= cells.first) {
            const std::int32_t first = larger(firstCell_[0][v], cells.first);
            counts[v] = smaller(lastCell_[0][v], cells.last) - first + 1;
            chunkPlace_[v] = first - cells.first;
            longest_ = larger(longest_, counts[v]);
        }
    }
    const F one = Lanes::all(1);
    const F count = Lanes::asFloats(Lanes::loadIndices(counts));
    constexpr float noRoom = -1;
    const F none = Lanes::all(noRoom);
    const F room = Lanes::min(Lanes::all(pass_.outerRim), Lanes::load(voxels_.threshold));
    largestRoom_ = noRoom;
    Lanes::I places = Lanes::loadIndices(chunkPlace_);
    F cell = Lanes::asFloats(Lanes::sum(places, Lanes::allIndices(cells.first)));
    CellEdge begin = findEdge(pass_, 0, voxels_, cell);
    for (std::int32_t c = 0; c < longest_; ++c) {
        cell = cell + one;
        const CellEdge end = findEdge(pass_, 0, voxels_, cell);
        const OpenEnds open = openEnds(begin, end);
        const F squared = nearestSquaredOf(pointsBetween(pass_, 0, begin.at, end.at, open));
        Lanes::store(xSquared_[c], squared);
        Lanes::storeIndices(xNumber_[c], BoxSearch::alongX(places, open));
        inChunk_[c] = Lanes::notGreater(Lanes::all(static_cast<float>(c + 1)), count);
        xRoom_[c] = largestLane(Lanes::select(inChunk_[c], room - squared, none));
        largestRoom_ = larger(largestRoom_, xRoom_[c]);
        places = Lanes::sum(places, Lanes::allIndices(1));
        begin = end;
    }
}

/** Finds how near the cells along y come to each voxel. */
void CellSearch::placeAlongY(CellSpan cells)
{
    const unsigned present = Lanes::everyLane >> (maxCount - voxels_.count);
    const F one = Lanes::all(1);
    const F first = Lanes::asFloats(Lanes::loadIndices(firstCell_[1]));
    const F last = Lanes::asFloats(Lanes::loadIndices(lastCell_[1]));
    F cell = Lanes::all(static_cast<float>(cells.first));
    CellEdge begin = findEdge(pass_, 1, voxels_, cell);
    for (std::int32_t y = 0; y < cells.count(); ++y) {
        const unsigned own =
            present & Lanes::notGreater(first, cell) & Lanes::notGreater(cell, last);
        cell = cell + one;
        const CellEdge end = findEdge(pass_, 1, voxels_, cell);
        const OpenEnds open = openEnds(begin, end);
        const F squared =
            Lanes::select(own, nearestSquaredOf(pointsBetween(pass_, 1, begin.at, end.at, open)),
                          Lanes::all(__builtin_inff()));
        Lanes::store(ySquared_[y], squared);
        Lanes::storeIndices(yNumber_[y], BoxSearch::alongY(y, open));
        yLeast_[y] = -largestLane(Lanes::all(0) - squared);
        begin = end;
    }
}

/** Lists the open cells of the chunk in a plane. */
void CellSearch::listPlane(const CellRun& zCell, int z)
{
    const float zSquared = nearestSquared(zCell);
    CellSpan rows{0, chunk_[1].count() - 1};
    while (rows.first <= rows.last && zSquared + yLeast_[rows.first] > largestRoom_) {
        ++rows.first;
    }
    while (rows.first <= rows.last && zSquared + yLeast_[rows.last] > largestRoom_) {
        --rows.last;
    }
    if (rows.first > rows.last) {
        return;
    }
    findRowRanges(zCell, rows);
    if (vectors_ <= 2 && Lanes::spreadsRegisters) {
        listRows<KeptRow<2>>(rows, z, zSquared);
    } else if (vectors_ == 3 && Lanes::spreadsRegisters) {
        listRows<KeptRow<3>>(rows, z, zSquared);
    } else if (vectors_ == 4 && Lanes::spreadsRegisters) {
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
        findCellRanges(y, least, most);
        listOpenCells(least, most, y, z, zSquared);
    }
}

/** Least and largest dose of the four voxels around each cell in x and z, row by row. */
void CellSearch::findRowRanges(const CellRun& zCell, CellSpan rows)
{
    const int* const n = pass_.evaluation.n;
    const int right = n[0] > 1 ? 1 : 0;
    const std::int32_t end = rows.last + (n[1] > 1 ? 1 : 0);
    const int first = voxelIndex(n, chunk_[0].first, chunk_[1].first, 0);
    const float* const lowerPlane = pass_.evaluation.map + first + voxelIndex(n, 0, 0, zCell.lower);
    const float* const upperPlane = pass_.evaluation.map + first + voxelIndex(n, 0, 0, zCell.upper);
    for (std::int32_t row = rows.first; row <= end; ++row) {
        const float* const p = lowerPlane + n[0] * row;
        const float* const q = upperPlane + n[0] * row;
        for (std::int32_t c = 0; c < vectors_ * Lanes::width; c += Lanes::width) {
            const F a = Lanes::load(p + c);
            const F b = Lanes::load(p + c + right);
            const F e = Lanes::load(q + c);
            const F f = Lanes::load(q + c + right);
            Lanes::store(rows_[row][0] + c, Lanes::min(Lanes::min(a, b), Lanes::min(e, f)));
            Lanes::store(rows_[row][1] + c, Lanes::max(Lanes::max(a, b), Lanes::max(e, f)));
        }
    }
}

/** The range of the doses around the cells between a row of voxels and the next one. */
template <class Row>
inline void CellSearch::findCellRanges(std::int32_t row, Row& least, Row& most) const
{
    const std::int32_t upper = row + (pass_.evaluation.n[1] > 1 ? 1 : 0);
    for (int v = 0; v < Row::count(vectors_); ++v) {
        // Vectors that hold no cell repeat the last one.
        const int c = smaller(v, vectors_ - 1) * Lanes::width;
        least.set(v, Lanes::min(Lanes::load(rows_[row][0] + c), Lanes::load(rows_[upper][0] + c)));
        most.set(v, Lanes::max(Lanes::load(rows_[row][1] + c), Lanes::load(rows_[upper][1] + c)));
    }
}

/** Lists the cells of the row that the range of their doses does not exclude. */
template <class Row>
inline void CellSearch::listOpenCells(const Row& least, const Row& most, int y, int z,
                                      float zSquared)
{
    const F zero = Lanes::all(0);
    const F squared = Lanes::load(ySquared_[y]) + Lanes::all(zSquared);
    const float leastSquared = yLeast_[y] + zSquared;
    const F threshold = Lanes::load(voxels_.threshold);
    const F room = Lanes::min(Lanes::all(pass_.outerRim), threshold);
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
    const Lanes::I row = Lanes::sum(BoxSearch::alongZ(z), Lanes::loadIndices(yNumber_[y]));
    boxes_.makeRoom(longest_);
    int count = boxes_.count();
    F leastBound = Lanes::load(voxels_.leastBound);
    Lanes::I places = Lanes::loadIndices(chunkPlace_);
    for (std::int32_t c = 0; c < longest_; ++c, places = Lanes::sum(places, Lanes::allIndices(1))) {
        if (leastSquared > xRoom_[c]) {
            continue;
        }
        const F r2 = Lanes::load(xSquared_[c]) + squared;
        const F low = least.at(places);
        const F high = most.at(places);
        const unsigned lanes = inChunk_[c] & Lanes::notGreater(r2, room) &
                               Lanes::notGreater(low, highest) & Lanes::notGreater(lowest, high);
        if (lanes == 0) {
            continue;
        }
        const F away = Lanes::max(low - dose, dose - high) - rounding;
        const F u = Lanes::max(away, zero) * scale;
        const F bound = u * u + r2;
        const unsigned open = lanes & Lanes::notGreater(bound, threshold);
        leastBound = Lanes::min(Lanes::select(open, bound, leastBound), leastBound);
        count = boxes_.add(count, open, bound, Lanes::sum(row, Lanes::loadIndices(xNumber_[c])));
    }
    Lanes::store(voxels_.leastBound, leastBound);
    boxes_.setCount(count);
}

} // namespace

#endif
