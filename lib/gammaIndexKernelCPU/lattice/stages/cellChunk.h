/**
 * @file cellChunk.h
 * The cells along x and y that a vector of voxels looks at: as many as have numbers.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLCHUNK_H
#define ZARNGI_LATTICE_STAGES_CELLCHUNK_H

#include <cstdint>

#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/cellEdges.h"
#include "lattice/stages/cellNumbers.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** Some cells along an axis. */
struct CellSpan {
    std::int32_t first;
    std::int32_t last;

    [[nodiscard]] std::int32_t count() const { return last - first + 1; }
};

/** A chunk of cells, and how near they come to each of the voxels. */
class CellChunk
{
public:
    static constexpr int maxCount = VoxelTable::maxCount;
    static constexpr int maxCells = CellNumbers::cellsAtOnce; ///< along x and y

    CellChunk(const SearchPass& pass, const VoxelTable& voxels) : pass_(pass), voxels_(voxels) {}

    [[nodiscard]] CellSpan findCells(int axis);

    /** Takes up cells: at most maxCells along x and y. */
    void takeUp(CellSpan alongX, CellSpan alongY)
    {
        span[0] = alongX;
        span[1] = alongY;
        vectors = (alongX.count() + Lanes::width - 1) / Lanes::width;
        placeAlongX(alongX);
        placeAlongY(alongY);
    }

    CellSpan span[2] = {};
    int vectors = 0;                                ///< that hold its cells along x
    alignas(64) int place[maxCount];                ///< along x, of the first cell of each voxel
    std::int32_t longest = 0;                       ///< most cells of a voxel along x
    unsigned isIn[maxCells];                        ///< voxels that have so many cells and one more
    alignas(64) float xSquared[maxCells][maxCount]; ///< least i^2 in each cell
    alignas(64) int xNumber[maxCells][maxCount];    ///< what it adds to the number of a cell
    float xRest[maxCells]; ///< the largest squared distance in y and z at which a cell may matter
    float largestRest = 0; ///< of all these cells
    alignas(64) float ySquared[maxCells][maxCount]; ///< least j^2; infinite: not one of the voxel
    alignas(64) int yNumber[maxCells][maxCount];
    float yLeast[maxCells]; ///< the least of all voxels

private:
    using F = Lanes::F;

    static F nearestSquaredOf(const CellPoints& points)
    {
        const F zero = Lanes::all(0);
        const F nearest = Lanes::max(Lanes::max(points.first, zero - points.last), zero);
        return nearest * nearest;
    }

    void placeAlongX(CellSpan cells);
    void placeAlongY(CellSpan cells);

    /** The cells along an axis that hold lattice indices, give or take a slack in steps. */
    [[nodiscard]] Lanes::I cellsOf(int axis, F index, float slack) const
    {
        const F cell = (index + Lanes::all(slack) - Lanes::load(voxels_.cellStart[axis])) *
                       Lanes::all(pass_.cells.perStep[axis]);
        const F lastCell = Lanes::all(static_cast<float>(larger(pass_.evaluation.n[axis] - 2, 0)));
        return Lanes::truncated(Lanes::min(Lanes::max(cell, Lanes::all(0)), lastCell));
    }

    const SearchPass& pass_;
    const VoxelTable& voxels_;
    alignas(64) int firstCell_[2][maxCount]; ///< of each voxel, along x and y
    alignas(64) int lastCell_[2][maxCount];
};

/** Finds the cells of each voxel along x or y; returns those from the first to the last of all. */
CellSpan CellChunk::findCells(int axis)
{
    const float slack = pass_.cells.slack[axis];
    Lanes::storeIndices(firstCell_[axis], cellsOf(axis, Lanes::load(voxels_.low[axis]), -slack));
    Lanes::storeIndices(lastCell_[axis], cellsOf(axis, Lanes::load(voxels_.high[axis]), slack));
    CellSpan all{firstCell_[axis][0], lastCell_[axis][0]};
    for (int v = 1; v < voxels_.count; ++v) {
        all.first = smaller(all.first, firstCell_[axis][v]);
        all.last = larger(all.last, lastCell_[axis][v]);
    }
    return all;
}

/** Finds the cells of each voxel along x in a chunk, and how near they come. */
void CellChunk::placeAlongX(CellSpan cells)
{
    alignas(64) int counts[maxCount] = {};
    longest = 0;
    for (int v = 0; v < maxCount; ++v) {
        place[v] = 0;
        if (v < voxels_.count && firstCell_[0][v] <= cells.last && lastCell_[0][v] >= cells.first) {
            const std::int32_t first = larger(firstCell_[0][v], cells.first);
            counts[v] = smaller(lastCell_[0][v], cells.last) - first + 1;
            place[v] = first - cells.first;
            longest = larger(longest, counts[v]);
        }
    }
    const F one = Lanes::all(1);
    const F count = Lanes::asFloats(Lanes::loadIndices(counts));
    constexpr float noRest = -1;
    const F none = Lanes::all(noRest);
    const F rest = Lanes::min(Lanes::all(pass_.outerRim), Lanes::load(voxels_.threshold));
    largestRest = noRest;
    Lanes::I places = Lanes::loadIndices(place);
    F cell = Lanes::asFloats(Lanes::sum(places, Lanes::allIndices(cells.first)));
    CellEdge begin = findEdge(pass_, 0, voxels_, cell);
    for (std::int32_t c = 0; c < longest; ++c) {
        cell = cell + one;
        const CellEdge end = findEdge(pass_, 0, voxels_, cell);
        const OpenEnds open = openEnds(begin, end);
        const F squared = nearestSquaredOf(pointsBetween(pass_, 0, begin.at, end.at, open));
        Lanes::store(xSquared[c], squared);
        Lanes::storeIndices(xNumber[c], CellNumbers::alongX(places, open));
        isIn[c] = Lanes::notGreater(Lanes::all(static_cast<float>(c + 1)), count);
        xRest[c] = Lanes::largest(Lanes::select(isIn[c], rest - squared, none));
        largestRest = larger(largestRest, xRest[c]);
        places = Lanes::sum(places, Lanes::allIndices(1));
        begin = end;
    }
}

/** Finds how near the cells along y come to each voxel. */
void CellChunk::placeAlongY(CellSpan cells)
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
        Lanes::store(ySquared[y], squared);
        Lanes::storeIndices(yNumber[y], CellNumbers::alongY(y, open));
        yLeast[y] = -Lanes::largest(Lanes::all(0) - squared);
        begin = end;
    }
}

} // namespace

} // namespace zarngi::engine

#endif
