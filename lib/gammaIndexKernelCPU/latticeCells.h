/**
 * @file latticeCells.h
 * The lattice points between voxel centres, cell by cell of the evaluation grid.
 *
 * Part of latticeGroup.h.
 */
#ifndef ZARNGI_LATTICECELLS_H
#define ZARNGI_LATTICECELLS_H

#include "latticePoints.h"
#include "latticeVoxelSearch.h"
#include "latticeWindow.h"

namespace
{

/**
 * Searches the lattice points between voxel centres around a vector of voxels that share their
 * indices along y and z.
 *
 * The work goes through stages: cells that the range of their doses leaves; what the plane through
 * the doses of a cell leaves of it; rows that a least value leaves; points. Each stage writes a
 * list for the next one, so that no branch waits for the arithmetic of its own item.
 */
class CellSearch
{
public:
    static constexpr int maxCount = Lanes::width; ///< of voxels at once

    CellSearch(const SearchPass& pass, SearchScratch& scratch) : pass_(pass), scratch_(scratch) {}

    /** Adds a voxel, and searches those before it if they are enough or in another row. */
    void add(VoxelSearch& search);

    /** Searches the voxels that were added since the last time. */
    void searchAll();

private:
    using F = Lanes::F;

    /** Cells of several voxels with the same cells along z, one in each lane. */
    struct CellBatch {
        alignas(64) float corner[8][Lanes::width]; ///< u; bits of the index: x, y, z
        alignas(64) float error[Lanes::width];     ///< of u
        alignas(64) int first[3][Lanes::width];    ///< lattice indices that can matter
        alignas(64) int last[3][Lanes::width];
        int voxel[Lanes::width];
        int cell[Lanes::width]; ///< along x
        const CellRun* zCell;
        float neighbour; ///< raises the threshold for the rounding of a row's minimum
        unsigned open;   ///< lanes that can matter
    };

    /** Cells of several voxels, one in each lane: places in the tables and the cell along x. */
    struct Listed {
        Lanes::I voxels;
        Lanes::I cells;
        Lanes::I yCells;
    };

    /** Doses in the cells of a batch: u = sum of term[c] times the s of the axes in the bits of c.
     */
    struct CellDoses {
        F term[8];
        F offset[3]; ///< s, the fraction from the cell's middle, is offset + slope * index
        float slope[3];
        F error; ///< of u by this sum at the points of the cell
    };

    /** A box of lattice points in each lane. */
    struct Box {
        F first[3];
        F last[3];
    };

    /** Points along x in one cell, and u along its edges there. */
    struct CellColumns {
        F squared;         ///< i^2
        F lowerDifference; ///< u at the lower y, lower z
        F lowerRise;       ///< to the upper y
        F upperDifference; ///< u at the lower y, upper z
        F upperRise;
        const CellBatch* batch;
        int lane;                ///< of the cell in the batch
        std::int32_t firstPoint; ///< lattice index of the first lane
        unsigned points;         ///< lanes in the cell
    };

    /** Points of a row along x in one cell, of which some column along z can matter. */
    struct OpenRow {
        F least;                                 ///< f of the least point of each column along z
        F second;                                ///< of the second least; -infinity: unknown
        alignas(64) float leastAt[Lanes::width]; ///< lattice index of the least point along z
        const CellBatch* batch;
        int lane;                ///< of the cell in the batch
        std::int32_t firstPoint; ///< lattice index of the first lane
        std::int32_t j;
        unsigned open;   ///< lanes whose least point can matter
        unsigned others; ///< those of which it has not been looked at
    };

    static bool isSameRow(const VoxelStart& a, const VoxelStart& b)
    {
        return a.index[1] == b.index[1] && a.index[2] == b.index[2];
    }

    void searchChunk(std::int32_t firstCell, std::int32_t lastCell);
    void placeChunk(std::int32_t firstCell, std::int32_t lastCell);
    void searchPlane(const CellRun& zCell, std::int32_t firstCell, std::int32_t cells);
    void findRowRanges(const CellRun& zCell, std::int32_t firstCell, std::int32_t cells,
                       std::int32_t firstRow, std::int32_t lastRow);
    void findCellRanges(std::int32_t lowerRow, std::int32_t upperRow, std::int32_t cells);
    void listOpenCells(int yCell, float nearestSquared);
    int addYCell(const CellRun& yCell);
    void boundListed(const CellRun& zCell);
    void boundBatch(CellBatch& batch, int at, const CellRun& zCell);
    [[nodiscard]] CellDoses dosesOf(CellBatch& batch, const Listed& listed,
                                    const CellRun& zCell) const;
    [[nodiscard]] Box wholeCell(const Listed& listed, const CellRun& zCell) const;
    static void cutToBall(Box& box, F squaredRadius);
    unsigned shrink(Box& box, const CellDoses& doses, Lanes::I voxels) const;
    void searchBatches();
    void searchCell(const CellBatch& batch, int lane);
    void boundRow(const CellColumns& columns, std::int32_t j);
    void considerOpenRows();
    void listLeastPoint(OpenRow& row);
    void listOtherPoints(const OpenRow& row);
    void listPoint(const OpenRow& row, int lane);
    void considerPoints();
    void considerRow(const OpenRow& row);

    /** Takes over what a voxel's search has found so far. */
    void noteBest(int voxel)
    {
        const VoxelSearch& search = *search_[voxel];
        threshold_[voxel] = search.threshold();
        root_[voxel] = search.root();
        best_[voxel] = search.best();
        bestDistanceSquared_[voxel] = search.bestDistanceSquared();
    }

    /** f that points of a cell must not exceed to matter, with the error of u. */
    [[nodiscard]] float thresholdIn(const CellBatch& batch, int lane) const
    {
        const VoxelSearch& search = *search_[batch.voxel[lane]];
        const float error = batch.error[lane];
        return search.threshold() * batch.neighbour + error * (2 * search.root() + error);
    }

    /** The cell along x that holds a lattice index, give or take a slack in steps. */
    [[nodiscard]] std::int32_t cellOf(float firstCellStart, std::int32_t i, float slack) const
    {
        const float cell = (static_cast<float>(i) + slack - firstCellStart) * pass_.cellsPerStep;
        const int lastCell = larger(pass_.evaluation.n[0] - 2, 0);
        return static_cast<std::int32_t>(clamped(cell, 0.0F, static_cast<float>(lastCell)));
    }

    /** Raises the threshold of the plane's paraboloid by the rounding of both: 128 roundings. */
    static constexpr float planeMargin = 1 + 0x1p-17F;

    /** Relative error, per |k| + 1, of the two least values of a column: see docs/performance.md.
     */
    static constexpr float neighbourMargin = 0x1p-17F;

    static constexpr int maxCells = SearchScratch::cellsAtOnce;
    static constexpr int maxListed = 2 * maxCount * maxCells;
    static constexpr int maxBatches = 16;
    static constexpr int maxOpenRows = 32;

    const SearchPass& pass_;
    SearchScratch& scratch_;
    int count_ = 0;
    int listedCount_ = 0;
    int batchCount_ = 0;
    int openRowCount_ = 0;
    float largestThreshold_ = 0;

    VoxelSearch* search_[maxCount];
    alignas(64) float origin_[3][maxCount]; ///< mm, sample point
    alignas(64) float delta_[maxCount];
    alignas(64) float referenceDose_[maxCount];
    alignas(64) float scale_[maxCount];
    alignas(64) float threshold_[maxCount];
    alignas(64) float root_[maxCount];
    alignas(64) float best_[maxCount];
    alignas(64) float bestDistanceSquared_[maxCount];
    alignas(64) float weight_[maxCount];    ///< VoxelStart::flattening
    alignas(64) float rimRest_[maxCount];   ///< (1 - weight^2) outer
    alignas(64) float cellStart_[maxCount]; ///< steps, lower end of the first cell along x
    alignas(64) float low_[3][maxCount]; ///< lattice indices between voxel centres that can matter
    alignas(64) float high_[3][maxCount];
    std::int32_t firstCell_[maxCount];
    std::int32_t lastCell_[maxCount];
    std::int32_t chunkStart_ = 0;
    std::int32_t chunkFirst_[maxCount]; ///< the voxel's cells in the chunk, counted from its start
    std::int32_t chunkCount_[maxCount];
    std::uint64_t cellsOf_[maxCount];                ///< bit per cell
    std::uint64_t openCells_[maxCount];              ///< those that can matter
    alignas(64) float xSquared_[maxCount][maxCells]; ///< least i^2 of each of them

    alignas(64) float least_[maxCells + Lanes::width]; ///< Gy, doses in the cells of a row
    alignas(64) float most_[maxCells + Lanes::width];

    int yCellCount_ = 0; ///< cells along y in the tables
    float ySlope_;
    alignas(64) float yFirst_[Lanes::width];
    alignas(64) float yLast_[Lanes::width];
    alignas(64) float yOffset_[Lanes::width];
    alignas(64) float yDeviation_[Lanes::width];
    alignas(64) int yRow_[Lanes::width]; ///< first voxel of the lower row

    alignas(64) int listedVoxel_[maxListed];
    alignas(64) int listedYCell_[maxListed];
    alignas(64) int listedCell_[maxListed];
    CellBatch batches_[maxBatches];
    OpenRow openRows_[maxOpenRows];
    int pointCount_ = 0;
    alignas(64) int pointVoxel_[Lanes::width];
    alignas(64) float point_[3][Lanes::width]; ///< lattice indices
};

void CellSearch::add(VoxelSearch& search)
{
    const VoxelStart& start = search.start();
    if (count_ == maxCount || (count_ > 0 && !isSameRow(start, search_[0]->start()))) {
        searchAll();
    }
    const int v = count_;
    for (int a = 0; a < 3; ++a) {
        const LatticeInterval range = common(start.sample[a]->centre, search.reachOn(a));
        if (range.empty()) {
            return;
        }
        origin_[a][v] = start.sample[a]->position;
        low_[a][v] = static_cast<float>(range.first);
        high_[a][v] = static_cast<float>(range.last);
    }
    search_[v] = &search;
    delta_[v] = start.delta;
    referenceDose_[v] = start.referenceDose;
    scale_[v] = start.scale;
    noteBest(v);
    const float weight = start.flattening;
    weight_[v] = weight;
    rimRest_[v] = weight < 1 ? (1 + 0x1p-20F - weight * weight) * pass_.outerRim : 0.0F;
    cellStart_[v] = static_cast<float>(
        (pass_.firstCentre - static_cast<double>(start.sample[0]->position)) * pass_.stepsPerMm);
    firstCell_[v] = cellOf(cellStart_[v], static_cast<std::int32_t>(low_[0][v]), -pass_.cellSlack);
    lastCell_[v] = cellOf(cellStart_[v], static_cast<std::int32_t>(high_[0][v]), pass_.cellSlack);
    ++count_;
}

void CellSearch::searchAll()
{
    if (count_ == 0) {
        return;
    }
    const VoxelStart& start = search_[0]->start();
    for (int a = 1; a < 3; ++a) {
        AxisWindow& window = scratch_.window[a];
        if (window.referenceIndex != start.index[a]) {
            prepareWindow(pass_, start, a, window);
        }
    }
    std::int32_t firstCell = firstCell_[0];
    std::int32_t lastCell = lastCell_[0];
    largestThreshold_ = threshold_[0];
    for (int v = 1; v < count_; ++v) {
        firstCell = smaller(firstCell, firstCell_[v]);
        lastCell = larger(lastCell, lastCell_[v]);
        largestThreshold_ = larger(largestThreshold_, threshold_[v]);
    }
    for (std::int32_t cell = firstCell; cell <= lastCell; cell += maxCells) {
        searchChunk(cell, smaller(cell + maxCells - 1, lastCell));
    }
    searchBatches();
    count_ = 0;
}

/** Searches the cells from firstCell to lastCell along x. */
void CellSearch::searchChunk(std::int32_t firstCell, std::int32_t lastCell)
{
    placeChunk(firstCell, lastCell);
    for (const CellRun& zCell : scratch_.window[2].runs) {
        if (!(squareOf(nearestToZero({zCell.first, zCell.last})) > largestThreshold_)) {
            searchPlane(zCell, firstCell, lastCell - firstCell + 1);
        }
    }
}

/** Finds the cells of each voxel in a chunk, and how near they come. */
void CellSearch::placeChunk(std::int32_t firstCell, std::int32_t lastCell)
{
    const F zero = Lanes::all(0);
    const F width = Lanes::all(pass_.cellWidth);
    chunkStart_ = firstCell;
    for (int v = 0; v < count_; ++v) {
        const std::int32_t first = larger(firstCell_[v], firstCell);
        chunkFirst_[v] = first - firstCell;
        chunkCount_[v] = larger(smaller(lastCell_[v], lastCell) - first + 1, 0);
        cellsOf_[v] = chunkCount_[v] == 0 ? 0 : ~std::uint64_t{0} >> (maxCells - chunkCount_[v]);
        for (std::int32_t c = 0; c < chunkCount_[v]; c += Lanes::width) {
            const F start = Lanes::all(cellStart_[v]) + Lanes::counting(first + c) * width -
                            Lanes::all(pass_.cellSlack);
            const F stop = start + Lanes::all(pass_.cellWidth + 2 * pass_.cellSlack);
            const F nearest = Lanes::max(Lanes::max(start, zero - stop), zero);
            Lanes::store(xSquared_[v] + c, nearest * nearest);
        }
    }
}

/** Searches one plane of cells. */
void CellSearch::searchPlane(const CellRun& zCell, std::int32_t firstCell, std::int32_t cells)
{
    const float zSquared = squareOf(nearestToZero({zCell.first, zCell.last}));
    const auto nearestSquared = [&](const CellRun& yCell) {
        return zSquared + squareOf(nearestToZero({yCell.first, yCell.last}));
    };
    const CellRun* begin = scratch_.window[1].runs.begin();
    const CellRun* end = scratch_.window[1].runs.end();
    while (begin != end && nearestSquared(*begin) > largestThreshold_) {
        ++begin;
    }
    while (begin != end && nearestSquared(*(end - 1)) > largestThreshold_) {
        --end;
    }
    if (begin == end) {
        return;
    }
    const std::int32_t firstRow = begin->lower;
    findRowRanges(zCell, firstCell, cells, firstRow, (end - 1)->upper);
    for (const CellRun* yCell = begin; yCell != end; ++yCell) {
        if (yCellCount_ == Lanes::width || listedCount_ > maxListed - maxCount * maxCells) {
            boundListed(zCell);
        }
        findCellRanges(yCell->lower - firstRow, yCell->upper - firstRow, cells);
        listOpenCells(addYCell(*yCell), nearestSquared(*yCell));
    }
    boundListed(zCell);
}

/** Puts a cell along y into the tables; returns its place there. */
int CellSearch::addYCell(const CellRun& yCell)
{
    yFirst_[yCellCount_] = static_cast<float>(yCell.first);
    yLast_[yCellCount_] = static_cast<float>(yCell.last);
    yOffset_[yCellCount_] = yCell.offset;
    yDeviation_[yCellCount_] = yCell.deviation;
    yRow_[yCellCount_] = yCell.lower * pass_.evaluation.n[0];
    ySlope_ = yCell.slope;
    return yCellCount_++;
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
void CellSearch::listOpenCells(int yCell, float nearestSquared)
{
    const F zero = Lanes::all(0);
    const unsigned near = Lanes::notGreater(Lanes::all(nearestSquared), Lanes::load(threshold_)) &
                          (Lanes::everyLane >> (Lanes::width - count_));
    for (unsigned voxels = near; voxels != 0; voxels &= voxels - 1) {
        const int v = __builtin_ctz(voxels);
        const F dose = Lanes::all(referenceDose_[v]);
        const F rounding = Lanes::all(0x1p-20F * __builtin_fabsf(referenceDose_[v]));
        const F scale = Lanes::all(scale_[v]);
        const F room = Lanes::all(threshold_[v]);
        const F outer = Lanes::all(pass_.outerRim);
        std::uint64_t open = 0;
        for (std::int32_t c = 0; c < chunkCount_[v]; c += Lanes::width) {
            const std::int32_t at = chunkFirst_[v] + c;
            const F least = Lanes::load(least_ + at);
            const F most = Lanes::load(most_ + at);
            const F away = Lanes::max(least - dose, dose - most) - rounding;
            const F u = Lanes::max(away, zero) * scale;
            const F r2 = Lanes::load(xSquared_[v] + c) + Lanes::all(nearestSquared);
            const unsigned lanes =
                Lanes::notGreater(u * u + r2, room) & Lanes::notGreater(r2, outer);
            open |= std::uint64_t{lanes} << c;
        }
        openCells_[v] = open & cellsOf_[v];
    }
    for (unsigned voxels = near; voxels != 0; voxels &= voxels - 1) {
        const int v = __builtin_ctz(voxels);
        std::int32_t cell = chunkStart_ + chunkFirst_[v];
        for (std::uint64_t open = openCells_[v]; open != 0; open >>= 1, ++cell) {
            listedVoxel_[listedCount_] = v;
            listedCell_[listedCount_] = cell;
            listedYCell_[listedCount_] = yCell;
            listedCount_ += static_cast<int>(open & 1U);
        }
    }
}

/** Looks at the listed cells, a batch at a time. */
void CellSearch::boundListed(const CellRun& zCell)
{
    for (int at = 0; at < listedCount_; at += Lanes::width) {
        const int lanes = smaller(listedCount_ - at, Lanes::width);
        for (int lane = lanes; lane < Lanes::width; ++lane) { // repeat the first cell
            listedVoxel_[at + lane] = listedVoxel_[at];
            listedCell_[at + lane] = listedCell_[at];
            listedYCell_[at + lane] = listedYCell_[at];
        }
        if (batchCount_ == maxBatches) {
            searchBatches();
        }
        CellBatch& batch = batches_[batchCount_];
        boundBatch(batch, at, zCell);
        batch.open &= Lanes::everyLane >> (Lanes::width - lanes);
        batchCount_ += batch.open != 0 ? 1 : 0;
    }
    listedCount_ = 0;
    yCellCount_ = 0;
}

/**
 * Finds which lattice points of listed cells can matter.
 *
 * Each round replaces the doses in a box of points by a plane, and takes the smaller box around the
 * points that can matter for the next round: the error of the plane shrinks with the box.
 */
void CellSearch::boundBatch(CellBatch& batch, int at, const CellRun& zCell)
{
    const Listed listed{Lanes::loadIndices(listedVoxel_ + at), Lanes::loadIndices(listedCell_ + at),
                        Lanes::loadIndices(listedYCell_ + at)};
    const CellDoses doses = dosesOf(batch, listed, zCell);
    Box box = wholeCell(listed, zCell);
    batch.open = Lanes::everyLane;
    constexpr int rounds = 2;
    for (int round = 0; round < rounds && batch.open != 0; ++round) {
        batch.open &= shrink(box, doses, listed.voxels);
    }
    for (int a = 0; a < 3; ++a) {
        Lanes::storeIndices(batch.first[a], Lanes::truncated(box.first[a]));
        Lanes::storeIndices(batch.last[a], Lanes::truncated(box.last[a]));
    }
    Lanes::storeIndices(batch.voxel, listed.voxels);
    Lanes::storeIndices(batch.cell, listed.cells);
    batch.zCell = &zCell;
    // A column's least value may be taken at the wrong one of two nearly equal neighbours.
    batch.neighbour =
        1.0F + neighbourMargin * (1.0F + static_cast<float>(larger(-zCell.first, zCell.last)));
}

/** The doses of listed cells as trilinear functions; also stores what their rows will read. */
CellSearch::CellDoses CellSearch::dosesOf(CellBatch& batch, const Listed& listed,
                                          const CellRun& zCell) const
{
    const int* const n = pass_.evaluation.n;
    const F half = Lanes::all(0.5F);
    const F referenceDose = Lanes::spread(referenceDose_, listed.voxels);
    const F scale = Lanes::spread(scale_, listed.voxels);
    const Lanes::I at = Lanes::sum(listed.cells, Lanes::spreadIndices(yRow_, listed.yCells));
    CellDoses doses;
    F(&u)[8] = doses.term;
    for (int c = 0; c < 8; c += 2) {
        const std::int32_t plane = (c & 4) != 0 ? zCell.upper : zCell.lower;
        const std::int32_t above = (c & 2) != 0 && n[1] > 1 ? 1 : 0;
        gatherRow(pass_, pass_.evaluation.map + voxelIndex(n, 0, above, plane), at, u[c], u[c + 1]);
    }
    for (int c = 0; c < 8; ++c) {
        u[c] = (u[c] - referenceDose) * scale;
        Lanes::store(batch.corner[c], u[c]);
    }
    // Means and rises along x, y and z in turn.
    for (int axis = 1; axis < 8; axis *= 2) {
        for (int c = 0; c < 8; ++c) {
            if ((c & axis) == 0) {
                const F mean = (u[c] + u[c + axis]) * half;
                u[c + axis] = u[c + axis] - u[c];
                u[c] = mean;
            }
        }
    }
    const F start = Lanes::spread(cellStart_, listed.voxels) +
                    Lanes::asFloats(listed.cells) * Lanes::all(pass_.cellWidth);
    doses.offset[0] = Lanes::all(-0.5F) - start * Lanes::all(pass_.cellsPerStep);
    doses.offset[1] = Lanes::spread(yOffset_, listed.yCells) - half;
    doses.offset[2] = Lanes::all(zCell.offset - 0.5F);
    doses.slope[0] = pass_.cellsPerStep;
    doses.slope[1] = ySlope_;
    doses.slope[2] = zCell.slope;
    // Error of u on a row: the fraction along z is off by at most `deviation`, and the some 30
    // roundings of both computations act on values no larger than |u| and scale * |reference dose|.
    F range = absolute(u[1]) + absolute(u[2]) + absolute(u[4]);
    for (const int c : {3, 5, 6, 7}) {
        range = range + absolute(u[c]) * half;
    }
    const F magnitude = absolute(u[0]) + range * half + absolute(referenceDose) * scale;
    const F error = range * Lanes::all(zCell.deviation) + magnitude * Lanes::all(0x1p-19F);
    // Where squares of u might overflow, every point is evaluated.
    const F bounded = Lanes::select(Lanes::notGreater(magnitude, Lanes::all(1e15F)), error,
                                    Lanes::all(__builtin_inff()));
    Lanes::store(batch.error, bounded);
    // Four times the deviations of the straight lines also cover the roundings of the plane.
    const F deviation = Lanes::spread(yDeviation_, listed.yCells) +
                        Lanes::all(zCell.deviation + pass_.cellSlack * pass_.cellsPerStep);
    doses.error = bounded + range * Lanes::all(4) * deviation;
    return doses;
}

/** The points of listed cells within the reach of their voxels. */
CellSearch::Box CellSearch::wholeCell(const Listed& listed, const CellRun& zCell) const
{
    const F start = Lanes::spread(cellStart_, listed.voxels) +
                    Lanes::asFloats(listed.cells) * Lanes::all(pass_.cellWidth);
    const F first[3] = {start - Lanes::all(pass_.cellSlack), Lanes::spread(yFirst_, listed.yCells),
                        Lanes::all(static_cast<float>(zCell.first))};
    const F last[3] = {start + Lanes::all(pass_.cellWidth + pass_.cellSlack),
                       Lanes::spread(yLast_, listed.yCells),
                       Lanes::all(static_cast<float>(zCell.last))};
    Box box;
    for (int a = 0; a < 3; ++a) {
        box.first[a] = Lanes::max(first[a], Lanes::spread(low_[a], listed.voxels));
        box.last[a] = Lanes::min(last[a], Lanes::spread(high_[a], listed.voxels));
    }
    return box;
}

/** Cuts a box to the part within a squared distance of the origin. */
void CellSearch::cutToBall(Box& box, F squaredRadius)
{
    const F zero = Lanes::all(0);
    F nearest[3];
    for (int a = 0; a < 3; ++a) {
        const F distance = Lanes::max(Lanes::max(box.first[a], zero - box.last[a]), zero);
        nearest[a] = distance * distance;
    }
    for (int a = 0; a < 3; ++a) {
        const F room = squaredRadius - nearest[(a + 1) % 3] - nearest[(a + 2) % 3];
        // One hundredth, and the roundings of large squares.
        const F reach = Lanes::sqrt(Lanes::max(room, zero) + squaredRadius * Lanes::all(0x1p-20F)) +
                        Lanes::all(0.01F);
        box.first[a] = Lanes::max(box.first[a], zero - reach);
        box.last[a] = Lanes::min(box.last[a], reach);
    }
}

/**
 * Shrinks a box of lattice points to what can matter; returns the lanes where something is left.
 *
 * With the fractions s from the box's middle, of at most h on each axis, u = plane + XY sx sy +
 * XZ sx sz + YZ sy sz + XYZ sx sy sz, where the plane is that of the dose and the rises in the
 * middle. So u differs from it by at most twist = |XY| hx hy + |XZ| hx hz + |YZ| hy hz +
 * |XYZ| hx hy hz. With an error e of the plane in all, points that matter have
 * plane^2 + r^2 <= T + e (2 sqrt(T) + e); and as r^2 <= outer for all points of the shells, also
 *
 *     weight^2 plane^2 + r^2 <= weight^2 (T + e (2 sqrt(T) + e)) + (1 - weight^2) outer
 *
 * for any weight from 0 to 1. The left side is a paraboloid over (i, j, k), whose minimum and
 * extent on each axis below a value are known in closed form.
 */
unsigned CellSearch::shrink(Box& box, const CellDoses& doses, Lanes::I voxels) const
{
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F half = Lanes::all(0.5F);
    cutToBall(box, Lanes::min(Lanes::spread(threshold_, voxels), Lanes::all(pass_.outerRim)));
    F middle[3];
    F s[3]; // fractions of the middle
    F h[3];
    for (int a = 0; a < 3; ++a) {
        const F slope = Lanes::all(doses.slope[a]);
        middle[a] = (box.first[a] + box.last[a]) * half;
        s[a] = doses.offset[a] + slope * middle[a];
        h[a] = (box.last[a] - box.first[a]) * half * slope;
    }
    const F(&t)[8] = doses.term;
    const F xy = t[3] + t[7] * s[2];
    const F xz = t[5] + t[7] * s[1];
    const F yz = t[6] + t[7] * s[0];
    const F yRest = t[2] + t[6] * s[2];
    const F dose = t[0] + t[4] * s[2] + yRest * s[1] + (t[1] + t[5] * s[2] + xy * s[1]) * s[0];
    const F rise[3] = {t[1] + t[5] * s[2] + xy * s[1], yRest + xy * s[0],
                       t[4] + t[5] * s[0] + yz * s[1]};
    const F twist = absolute(xy) * h[0] * h[1] + absolute(xz) * h[0] * h[2] +
                    absolute(yz) * h[1] * h[2] + absolute(t[7]) * h[0] * h[1] * h[2];
    const F e = doses.error + twist;
    const F weight = Lanes::spread(weight_, voxels);
    const F root = Lanes::spread(root_, voxels);
    F g[3];
    F squared[3];
    F atOrigin = dose;
    for (int a = 0; a < 3; ++a) {
        const F perStep = rise[a] * Lanes::all(doses.slope[a]);
        atOrigin = atOrigin - perStep * middle[a];
        g[a] = perStep * weight;
        squared[a] = g[a] * g[a];
    }
    atOrigin = atOrigin * weight;
    const F raised =
        ((Lanes::spread(threshold_, voxels) + e * (root + root + e)) * weight * weight +
         Lanes::spread(rimRest_, voxels)) *
        Lanes::all(planeMargin);
    const F perSteepness = one / (one + squared[0] + squared[1] + squared[2]);
    const F towards = atOrigin * perSteepness;
    const F excess = raised - atOrigin * towards;
    const F perExcess = excess * perSteepness;
    // The centre and the width of the paraboloid's part are off by some roundings of their sizes.
    const F slack =
        (e + root) * Lanes::all(0x1p-18F) + Lanes::all(0.01F + 0x1p-18F * pass_.outerRoot);
    unsigned open = Lanes::notGreater(zero, excess);
    for (int a = 0; a < 3; ++a) {
        const F across = one + squared[(a + 1) % 3] + squared[(a + 2) % 3];
        const F width = Lanes::sqrt(perExcess * across) + slack;
        const F centre = zero - towards * g[a];
        // max and min give their second operand if the first one is not a number.
        box.first[a] = zero - floored(zero - Lanes::max(centre - width, box.first[a]));
        box.last[a] = floored(Lanes::min(centre + width, box.last[a]));
        open &= Lanes::notGreater(box.first[a], box.last[a]);
    }
    return open;
}

/** Searches what is left of the cells. */
void CellSearch::searchBatches()
{
    for (int b = 0; b < batchCount_; ++b) {
        for (unsigned open = batches_[b].open; open != 0; open &= open - 1) {
            searchCell(batches_[b], __builtin_ctz(open));
        }
    }
    considerOpenRows();
    batchCount_ = 0;
}

/** Lists the rows of a cell whose least value, in some column along z, can matter. */
void CellSearch::searchCell(const CellBatch& batch, int lane)
{
    const bool single = pass_.evaluation.n[0] == 1;
    const float origin = search_[batch.voxel[lane]]->start().sample[0]->position;
    const auto alongX = [&](int c, F t) {
        const F low = Lanes::all(batch.corner[c][lane]);
        return low + (Lanes::all(batch.corner[c + 1][lane]) - low) * t;
    };
    const std::int32_t last = batch.last[0][lane];
    for (std::int32_t i = batch.first[0][lane]; i <= last; i += Lanes::width) {
        const F index = Lanes::counting(i);
        // The same operations as setNeighbours.
        const F position = Lanes::all(origin) + index * Lanes::all(pass_.stepSize);
        const F centred =
            (position - Lanes::all(pass_.evaluation.x0[0])) / Lanes::all(pass_.evaluation.h[0]) -
            Lanes::all(0.5F);
        const F x =
            single ? Lanes::all(0) : centred - Lanes::all(static_cast<float>(batch.cell[lane]));
        CellColumns columns;
        columns.batch = &batch;
        columns.lane = lane;
        columns.firstPoint = i;
        columns.points = Lanes::everyLane >> (Lanes::width - smaller(last - i + 1, Lanes::width));
        columns.squared = index * index;
        columns.lowerDifference = alongX(0, x);
        columns.lowerRise = alongX(2, x) - columns.lowerDifference;
        columns.upperDifference = alongX(4, x);
        columns.upperRise = alongX(6, x) - columns.upperDifference;
        for (std::int32_t j = batch.first[1][lane]; j <= batch.last[1][lane]; ++j) {
            boundRow(columns, j);
        }
    }
}

/**
 * Lists a row if its least value, in some column along z, can matter.
 *
 * On a column u = a + b k, so that f is a parabola in k with the curvature 1 + b^2.
 */
inline void CellSearch::boundRow(const CellColumns& columns, std::int32_t j)
{
    const CellBatch& batch = *columns.batch;
    const CellRun& zCell = *batch.zCell;
    const AxisWindow& yWindow = scratch_.window[1];
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F outer = Lanes::all(pass_.outerRim);
    const auto wholeSquared = static_cast<float>(pass_.wholeSquared);
    const float threshold = thresholdIn(batch, columns.lane);
    const F t = Lanes::all(yWindow.fraction[j - yWindow.range.first]);
    const F lower = columns.lowerDifference + columns.lowerRise * t;
    const F gradient = columns.upperDifference + columns.upperRise * t - lower;
    const F b = gradient * Lanes::all(zCell.slope);
    const F a = lower + gradient * Lanes::all(zCell.offset);
    const F inPlane = columns.squared + Lanes::all(squareOf(j));
    F first = Lanes::all(static_cast<float>(batch.first[2][columns.lane]));
    F last = Lanes::all(static_cast<float>(batch.last[2][columns.lane]));
    // Below this no point within the threshold lies outside the shell's sphere.
    if (!(threshold <= wholeSquared)) {
        const F room = Lanes::max(outer - inPlane, zero);
        const F rim = rounded(Lanes::sqrt(room + Lanes::all(0.01F)) - Lanes::all(0.499F));
        first = Lanes::max(first, zero - rim);
        last = Lanes::min(last, rim);
    }
    const F steepness = b * b + one;
    const F minimum = (zero - a * b) / steepness;
    const F k = Lanes::min(Lanes::max(rounded(minimum), first), last);
    const F u = a + b * k;
    const F f = u * u + (k * k + inPlane);
    if (openRowCount_ == maxOpenRows) {
        considerOpenRows();
    }
    OpenRow& row = openRows_[openRowCount_];
    row.least = f;
    Lanes::store(row.leastAt, k);
    row.batch = &batch;
    row.lane = columns.lane;
    row.firstPoint = columns.firstPoint;
    row.j = j;
    // Not the lanes whose row does not meet this cell within the shell's sphere.
    row.open = Lanes::notGreater(f, Lanes::all(threshold)) & columns.points &
               Lanes::notGreater(inPlane, outer) & Lanes::notGreater(first, last);
    const F distance = absolute(minimum - k);
    const unsigned inside = Lanes::notGreater(first, minimum) & Lanes::notGreater(minimum, last);
    const F further = Lanes::select(inside, zero - distance, distance);
    row.second = f + steepness * (one + further + further);
    if (pass_.reader == Reader::bilinear) {
        // All points of the column have the same dose: the nearest of them is the best, if the
        // shells hold it.
        const F infinity = Lanes::all(__builtin_inff());
        row.second = Lanes::select(Lanes::notGreater(k * k + inPlane, Lanes::all(wholeSquared)),
                                   infinity, zero - infinity);
    }
    openRowCount_ += row.open != 0 ? 1 : 0;
}

void CellSearch::considerOpenRows()
{
    for (int row = 0; row < openRowCount_; ++row) {
        listLeastPoint(openRows_[row]);
    }
    considerPoints();
    for (int row = 0; row < openRowCount_; ++row) {
        listOtherPoints(openRows_[row]);
    }
    considerPoints();
    for (int row = 0; row < openRowCount_; ++row) {
        considerRow(openRows_[row]);
    }
    openRowCount_ = 0;
}

/** Lists the point of a row that is the least of all lanes. */
void CellSearch::listLeastPoint(OpenRow& row)
{
    alignas(64) float values[Lanes::width];
    Lanes::store(values, row.least);
    const int lane = leastLane(values, row.open);
    listPoint(row, lane);
    row.others = row.open & ~(1U << lane);
}

/** Lists the least points of the other lanes, if they can still matter. */
void CellSearch::listOtherPoints(const OpenRow& row)
{
    if (row.others == 0) {
        return;
    }
    const float threshold = thresholdIn(*row.batch, row.lane);
    unsigned open = row.others & Lanes::notGreater(row.least, Lanes::all(threshold));
    for (; open != 0; open &= open - 1) {
        listPoint(row, __builtin_ctz(open));
    }
}

void CellSearch::listPoint(const OpenRow& row, int lane)
{
    pointVoxel_[pointCount_] = row.batch->voxel[row.lane];
    point_[0][pointCount_] = static_cast<float>(row.firstPoint + lane);
    point_[1][pointCount_] = static_cast<float>(row.j);
    point_[2][pointCount_] = row.leastAt[lane];
    if (++pointCount_ == Lanes::width) {
        considerPoints();
    }
}

/** Considers the listed points, one in each lane. */
void CellSearch::considerPoints()
{
    const int count = pointCount_;
    pointCount_ = 0;
    if (count == 0) {
        return;
    }
    for (int lane = count; lane < Lanes::width; ++lane) { // repeat the first point
        pointVoxel_[lane] = pointVoxel_[0];
        for (float(&index)[Lanes::width] : point_) {
            index[lane] = index[0];
        }
    }
    const Lanes::I voxels = Lanes::loadIndices(pointVoxel_);
    F p[3];
    F origin[3];
    for (int a = 0; a < 3; ++a) {
        p[a] = Lanes::load(point_[a]);
        origin[a] = Lanes::spread(origin_[a], voxels);
    }
    const F DDterm = linearDoses(pass_, origin, p).dose - Lanes::spread(referenceDose_, voxels);
    const F r2 = squaredDistances(pass_, p);
    const F Gammasq = gammasSquared(pass_, DDterm, Lanes::spread(delta_, voxels), r2);
    const unsigned lanes = Lanes::everyLane >> (Lanes::width - count);
    unsigned better = improvements(Gammasq, r2, Lanes::spread(best_, voxels),
                                   Lanes::spread(bestDistanceSquared_, voxels)) &
                      lanes;
    if (better == 0) {
        return;
    }
    alignas(64) float gammas[Lanes::width];
    alignas(64) float distances[Lanes::width];
    Lanes::store(gammas, Gammasq);
    Lanes::store(distances, r2);
    for (better = members(pass_, p, better); better != 0; better &= better - 1) {
        const int lane = __builtin_ctz(better);
        const int voxel = pointVoxel_[lane];
        search_[voxel]->take(gammas[lane], distances[lane]);
        noteBest(voxel);
    }
}

/** Considers the columns of a row of which more than the least point can matter. */
void CellSearch::considerRow(const OpenRow& row)
{
    const CellBatch& batch = *row.batch;
    VoxelSearch& search = *search_[batch.voxel[row.lane]];
    const RowPart part{batch.zCell, {batch.first[2][row.lane], batch.last[2][row.lane]}};
    const auto stillOpen = [&] {
        return Lanes::notGreater(row.second, Lanes::all(thresholdIn(batch, row.lane)));
    };
    unsigned open = row.open & stillOpen();
    if (open == 0) {
        return;
    }
    alignas(64) float values[Lanes::width];
    Lanes::store(values, row.second);
    while (open != 0 && !search.settled()) {
        const int lane = leastLane(values, open);
        search.considerRow(row.firstPoint + lane, row.j, part, batch.error[row.lane]);
        noteBest(batch.voxel[row.lane]);
        open &= stillOpen() & ~(1U << lane);
    }
}

} // namespace

#endif
