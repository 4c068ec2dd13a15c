/**
 * @file latticeCells.h
 * The lattice points between voxel centres, cell by cell of the evaluation grid.
 *
 * Part of latticeGroup.h.
 */
#ifndef ZARNGI_LATTICECELLS_H
#define ZARNGI_LATTICECELLS_H

#include "latticeBoxes.h"
#include "latticeWindow.h"

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
        : pass_(pass), scratch_(scratch), boxes_(pass, voxels_)
    {
    }

    /** Adds a voxel, and searches those before it if they are enough or in another plane. */
    void add(VoxelSearch& search);

    /** Searches the voxels that were added since the last time. */
    void searchAll();

private:
    using F = Lanes::F;
    static constexpr int maxCount = VoxelTable::maxCount;

    /** Whether a voxel has the same index along an axis as the last one that was added. */
    [[nodiscard]] bool isBesideLast(const VoxelStart& start, int axis) const
    {
        return start.index[axis] == voxels_.search[voxels_.count - 1]->start().index[axis];
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

    [[nodiscard]] Room<CellRun> nearOnes(Room<CellRun> cells, float squared) const;
    void listRow();
    void listChunk(std::int32_t firstCell, std::int32_t lastCell);
    void placeChunk(std::int32_t firstCell, std::int32_t lastCell);
    void listPlanes(Room<CellRun> yCells, Room<CellRun> zCells, int yPlace, std::int32_t firstCell,
                    std::int32_t cells);
    void findRowRanges(const CellRun& zCell, std::int32_t firstCell, std::int32_t cells,
                       std::int32_t firstRow, std::int32_t lastRow);
    void findCellRanges(std::int32_t lowerRow, std::int32_t upperRow, std::int32_t cells);
    void listOpenCells(int y, int z, float nearestSquared);

    /** The cell along x that holds a lattice index, give or take a slack in steps. */
    [[nodiscard]] std::int32_t cellOf(float firstCellStart, std::int32_t i, float slack) const
    {
        const float cell = (static_cast<float>(i) + slack - firstCellStart) * pass_.cellsPerStep;
        const int lastCell = larger(pass_.evaluation.n[0] - 2, 0);
        return static_cast<std::int32_t>(clamped(cell, 0.0F, static_cast<float>(lastCell)));
    }

    static constexpr int maxCells = SearchScratch::cellsAtOnce;

    const SearchPass& pass_;
    SearchScratch& scratch_;
    VoxelTable voxels_;
    BoxSearch boxes_;
    // The row of voxels whose cells are listed.
    int rowFirst_ = 0;                 ///< its first voxel
    const AxisWindow* window_[2] = {}; ///< along y and z
    float largestThreshold_ = 0;

    std::int32_t firstCell_[maxCount];
    std::int32_t lastCell_[maxCount];
    // The cells of each voxel in the chunk, beginning with its first one there.
    alignas(64) int chunkPlace_[maxCount]; ///< of the first one in the rows, from placesFrom_ on
    std::int32_t placesFrom_ = 0;
    std::int32_t lastPlace_ = 0; ///< the largest of them
    std::int32_t longest_ = 0;   ///< most cells of a voxel
    unsigned inChunk_[maxCells]; ///< voxels that have so many cells and one more
    alignas(64) float xSquared_[maxCells][maxCount]; ///< least i^2 in each cell
    float xRoom_[maxCells]; ///< the largest squared distance in y and z at which a cell may matter

    alignas(64) float least_[maxCells + 4 * Lanes::width]; ///< Gy, doses in the cells of a row
    alignas(64) float most_[maxCells + 4 * Lanes::width];
};

void CellSearch::add(VoxelSearch& search)
{
    const VoxelStart& start = search.start();
    if (voxels_.count > 0 && !isBesideLast(start, 1)) {
        listRow();
    }
    if (voxels_.count == maxCount || (voxels_.count > 0 && !isBesideLast(start, 2))) {
        searchAll();
    }
    LatticeInterval range[3];
    for (int a = 0; a < 3; ++a) {
        range[a] = common(start.sample[a]->centre, search.reachOn(a));
        if (range[a].empty()) {
            return;
        }
    }
    const int v = voxels_.add(pass_, search, range);
    const float firstCellStart = voxels_.cellStart[v];
    firstCell_[v] = cellOf(firstCellStart, range[0].first, -pass_.cellSlack);
    lastCell_[v] = cellOf(firstCellStart, range[0].last, pass_.cellSlack);
}

void CellSearch::searchAll()
{
    listRow();
    boxes_.finish();
    voxels_.count = 0;
    rowFirst_ = 0;
}

/** Lists the open cells of the voxels that have been added since the last row. */
void CellSearch::listRow()
{
    if (rowFirst_ == voxels_.count) {
        return;
    }
    const VoxelStart& start = voxels_.search[rowFirst_]->start();
    for (int a = 1; a < 3; ++a) {
        AxisWindow& window = scratch_.windowOf(a, start.index[a]);
        if (window.referenceIndex != start.index[a]) {
            prepareWindow(pass_, start, a, window);
        }
        window_[a - 1] = &window;
    }
    std::int32_t firstCell = firstCell_[rowFirst_];
    std::int32_t lastCell = lastCell_[rowFirst_];
    largestThreshold_ = voxels_.threshold[rowFirst_];
    for (int v = rowFirst_ + 1; v < voxels_.count; ++v) {
        firstCell = smaller(firstCell, firstCell_[v]);
        lastCell = larger(lastCell, lastCell_[v]);
        largestThreshold_ = larger(largestThreshold_, voxels_.threshold[v]);
    }
    for (std::int32_t cell = firstCell; cell <= lastCell; cell += maxCells) {
        if (cell > firstCell) {
            boxes_.searchListed();
        }
        listChunk(cell, smaller(cell + maxCells - 1, lastCell));
    }
    rowFirst_ = voxels_.count;
}

/** Lists the open cells among those from firstCell to lastCell along x. */
void CellSearch::listChunk(std::int32_t firstCell, std::int32_t lastCell)
{
    placeChunk(firstCell, lastCell);
    const Room<CellRun> alongY = window_[0]->runs;
    const Room<CellRun> alongZ = window_[1]->runs;
    for (std::int32_t z = 0; z < alongZ.count; z += BoxSearch::runsAtOnce) {
        const Room<CellRun> zCells = part(alongZ, z);
        for (std::int32_t y = 0; y < alongY.count; y += BoxSearch::runsAtOnce) {
            const Room<CellRun> yCells = nearOnes(part(alongY, y), 0);
            if (yCells.count > 0 && nearOnes(zCells, 0).count > 0) {
                const int place = boxes_.takeUp(yCells, zCells);
                listPlanes(yCells, zCells, place, firstCell, lastCell - firstCell + 1);
            }
        }
    }
}

/** Those of the cells that come near enough, at a squared distance on the other axes. */
Room<CellRun> CellSearch::nearOnes(Room<CellRun> cells, float squared) const
{
    while (cells.count > 0 && squared + nearestSquared(*cells.begin()) > largestThreshold_) {
        ++cells.items;
        --cells.count;
    }
    while (cells.count > 0 && squared + nearestSquared(*(cells.end() - 1)) > largestThreshold_) {
        --cells.count;
    }
    return cells;
}

/** Finds the cells of each voxel in a chunk, and how near they come. */
void CellSearch::placeChunk(std::int32_t firstCell, std::int32_t lastCell)
{
    const F zero = Lanes::all(0);
    alignas(64) int counts[maxCount] = {};
    placesFrom_ = lastCell - firstCell;
    std::int32_t lastPlace = 0;
    longest_ = 0;
    for (int v = rowFirst_; v < voxels_.count; ++v) {
        if (firstCell_[v] <= lastCell && lastCell_[v] >= firstCell) {
            voxels_.firstCell[v] = larger(firstCell_[v], firstCell);
            counts[v] = smaller(lastCell_[v], lastCell) - voxels_.firstCell[v] + 1;
            chunkPlace_[v] = voxels_.firstCell[v] - firstCell;
            longest_ = larger(longest_, counts[v]);
            placesFrom_ = smaller(placesFrom_, chunkPlace_[v]);
            lastPlace = larger(lastPlace, chunkPlace_[v]);
        }
    }
    for (int v = 0; v < maxCount; ++v) {
        chunkPlace_[v] = counts[v] == 0 ? 0 : chunkPlace_[v] - placesFrom_;
    }
    lastPlace_ = lastPlace - placesFrom_;
    const F first = Lanes::asFloats(Lanes::loadIndices(voxels_.firstCell));
    const F count = Lanes::asFloats(Lanes::loadIndices(counts));
    const F none = Lanes::all(-1);
    const F room = Lanes::min(Lanes::all(pass_.outerRim), Lanes::load(voxels_.threshold));
    for (std::int32_t c = 0; c < longest_; ++c) {
        const F cell = Lanes::all(static_cast<float>(c));
        const F start = Lanes::load(voxels_.cellStart) +
                        (first + cell) * Lanes::all(pass_.cellWidth) - Lanes::all(pass_.cellSlack);
        const F stop = start + Lanes::all(pass_.cellWidth + 2 * pass_.cellSlack);
        const F nearest = Lanes::max(Lanes::max(start, zero - stop), zero);
        Lanes::store(xSquared_[c], nearest * nearest);
        inChunk_[c] = Lanes::notGreater(cell + Lanes::all(1), count);
        xRoom_[c] = largestLane(Lanes::select(inChunk_[c], room - nearest * nearest, none));
    }
}

/** Lists the open cells in the planes and rows taken up: the first row is at place yPlace there. */
void CellSearch::listPlanes(Room<CellRun> yCells, Room<CellRun> zCells, int yPlace,
                            std::int32_t firstCell, std::int32_t cells)
{
    for (int z = 0; z < zCells.count; ++z) {
        const float zSquared = nearestSquared(zCells.items[z]);
        const Room<CellRun> near = nearOnes(yCells, zSquared);
        if (near.count == 0) {
            continue;
        }
        const std::int32_t firstRow = near.begin()->lower;
        findRowRanges(zCells.items[z], firstCell, cells, firstRow, (near.end() - 1)->upper);
        for (const CellRun& yCell : near) {
            findCellRanges(yCell.lower - firstRow, yCell.upper - firstRow, cells);
            const int y = yPlace + static_cast<int>(&yCell - yCells.begin());
            listOpenCells(y, z, zSquared + nearestSquared(yCell));
        }
    }
}

/** Least and largest dose of the four voxels around each cell in x and z, row by row. */
void CellSearch::findRowRanges(const CellRun& zCell, std::int32_t firstCell, std::int32_t cells,
                               std::int32_t firstRow, std::int32_t lastRow)
{
    const int* const n = pass_.evaluation.n;
    const int right = n[0] > 1 ? 1 : 0;
    const float* const lowerPlane = pass_.evaluation.map + voxelIndex(n, firstCell, 0, zCell.lower);
    const float* const upperPlane = pass_.evaluation.map + voxelIndex(n, firstCell, 0, zCell.upper);
    for (std::int32_t row = firstRow; row <= lastRow; ++row) {
        const float* const p = lowerPlane + n[0] * row;
        const float* const q = upperPlane + n[0] * row;
        float* const least = scratch_.rows[0] + (row - firstRow) * maxCells;
        float* const most = scratch_.rows[1] + (row - firstRow) * maxCells;
        for (std::int32_t c = 0; c < cells; c += Lanes::width) {
            const F a = Lanes::load(p + c);
            const F b = Lanes::load(p + c + right);
            const F e = Lanes::load(q + c);
            const F f = Lanes::load(q + c + right);
            Lanes::store(least + c, Lanes::min(Lanes::min(a, b), Lanes::min(e, f)));
            Lanes::store(most + c, Lanes::max(Lanes::max(a, b), Lanes::max(e, f)));
        }
    }
}

/** The range of the interpolated doses in the cells between two rows. */
void CellSearch::findCellRanges(std::int32_t lowerRow, std::int32_t upperRow, std::int32_t cells)
{
    const F zero = Lanes::all(0);
    const float* const lower[2] = {scratch_.rows[0] + lowerRow * maxCells,
                                   scratch_.rows[1] + lowerRow * maxCells};
    const float* const upper[2] = {scratch_.rows[0] + upperRow * maxCells,
                                   scratch_.rows[1] + upperRow * maxCells};
    for (std::int32_t c = 0; c < cells; c += Lanes::width) {
        const F least = Lanes::min(Lanes::load(lower[0] + c), Lanes::load(upper[0] + c));
        const F most = Lanes::max(Lanes::load(lower[1] + c), Lanes::load(upper[1] + c));
        // An interpolated dose leaves the range of its corners by some roundings at most.
        const F rounding = Lanes::max(most, zero - least) * Lanes::all(0x1p-20F);
        Lanes::store(least_ + c, least - rounding);
        Lanes::store(most_ + c, most + rounding);
    }
}

/** Lists the cells of the row that the range of their doses does not exclude. */
void CellSearch::listOpenCells(int y, int z, float nearestSquared)
{
    const F zero = Lanes::all(0);
    const F squared = Lanes::all(nearestSquared);
    const F threshold = Lanes::load(voxels_.threshold);
    const F room = Lanes::min(Lanes::all(pass_.outerRim), threshold);
    const F dose = Lanes::load(voxels_.referenceDose);
    const F rounding = absolute(dose) * Lanes::all(0x1p-20F);
    const F scale = Lanes::load(voxels_.scale);
    // A dose farther away than that is excluded at any point of the row.
    const F reach = Lanes::mulAdd(rootFromAbove(Lanes::max(threshold - squared, zero)),
                                  Lanes::load(voxels_.perScale), rounding);
    const F highest = dose + reach;
    const F lowest = dose - reach;
    const Lanes::I place = Lanes::loadIndices(chunkPlace_);
    const auto doses = [&](const float* row) {
        return lastPlace_ < 2 * Lanes::width   ? Lanes::spreadFromPair(row, place)
               : lastPlace_ < 4 * Lanes::width ? spreadFromFour(row, place)
                                               : Lanes::gather(row, place);
    };
    int count = boxes_.count();
    F leastBound = Lanes::load(voxels_.leastBound);
    for (std::int32_t c = 0; c < longest_; ++c) {
        if (nearestSquared > xRoom_[c]) {
            continue;
        }
        const F r2 = Lanes::load(xSquared_[c]) + squared;
        unsigned lanes = inChunk_[c] & Lanes::notGreater(r2, room);
        if (lanes == 0) {
            continue;
        }
        const F least = doses(least_ + placesFrom_ + c);
        const F most = doses(most_ + placesFrom_ + c);
        lanes &= Lanes::notGreater(least, highest) & Lanes::notGreater(lowest, most);
        if (lanes == 0) {
            continue;
        }
        const F away = Lanes::max(least - dose, dose - most) - rounding;
        const F u = Lanes::max(away, zero) * scale;
        const F bound = u * u + r2;
        const unsigned open = lanes & Lanes::notGreater(bound, threshold);
        leastBound = Lanes::min(Lanes::select(open, bound, leastBound), leastBound);
        count = boxes_.add(count, open, bound, c, y, z);
    }
    Lanes::store(voxels_.leastBound, leastBound);
    boxes_.setCount(count);
}

} // namespace

#endif
