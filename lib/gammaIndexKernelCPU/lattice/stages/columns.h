/**
 * @file columns.h
 * The lattice points of cells, column by column along z, with a column in each lane.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_COLUMNS_H
#define ZARNGI_LATTICE_STAGES_COLUMNS_H

#include <cstdint>

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/cellList.h"
#include "lattice/stages/openColumns.h"
#include "lattice/stages/pointList.h"
#include "lattice/stages/points.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** Searches columns of cells. */
class ColumnSearch
{
public:
    ColumnSearch(const SearchPass& pass, VoxelTable& voxels, const CellList& cells)
        : pass_(pass), voxels_(voxels), cells_(cells), points_(pass, voxels),
          openColumns_(pass, voxels), voxelsPerMm_{1 / pass.evaluation.h[0],
                                                   1 / pass.evaluation.h[1]}
    {
    }

    /**
     * Lowers the thresholds to what one column of each cell is worth: that in its box where u is
     * least by the plane. Only where the cells of points are known.
     */
    void probe();

    /** Lists what can matter of the open cells. */
    void search();

    /** Evaluates what has been listed and still matters. */
    void finish();

private:
    using F = Lanes::F;

    /** A vector of listed columns. */
    struct Columns {
        int cells;     ///< place of the vector of cells
        unsigned open; ///< lanes that can matter
    };

    /** The least points of a vector of columns. */
    struct LeastPoints {
        Lanes::I voxels;
        F error; ///< of u
        F f;
        F point[3];
    };

    void listCell(int cells, int lane);
    void endVectors(int cells);
    void boundListed();
    void bound(int vector);
    [[nodiscard]] LeastPoints leastPointsOf(int vector) const;
    void lowerThresholds(int vector);
    void take(int vector);
    void listOpen(int vector, unsigned lanes);

    /** The errors of f and of both sides of its comparison with other points: 128 roundings. */
    static constexpr float raisedMargin = 1 + 0x1p-17F;

    static constexpr int maxVectors = 32;
    static constexpr int maxListed = maxVectors * Lanes::width;

    const SearchPass& pass_;
    VoxelTable& voxels_;
    const CellList& cells_;
    PointList points_;
    OpenColumns openColumns_;
    float voxelsPerMm_[2]; ///< along x and y
    int listedCount_ = 0;
    int vectorCount_ = 0;
    Columns vectors_[maxVectors];
    // One after another; those of a vector of cells begin with a new vector.
    alignas(64) float index_[2][maxListed + Lanes::width]; ///< lattice indices along x and y
    alignas(64) int cell_[maxListed + Lanes::width];       ///< lane in the vector of cells
    alignas(64) float least_[maxListed];                   ///< f of the least point
    alignas(64) float leastAt_[maxListed];                 ///< lattice index of that along z
    alignas(64) float second_[maxListed];                  ///< f of the second least
};

void ColumnSearch::probe()
{
    const F half = Lanes::all(0.5F);
    for (int cells = 0; cells < cells_.count; cells += Lanes::width) {
        for (int a = 0; a < 2; ++a) {
            const F nearest = Lanes::floor(Lanes::load(cells_.centre[a] + cells) + half);
            const F first = Lanes::load(cells_.first[a] + cells);
            const F last = Lanes::load(cells_.last[a] + cells);
            Lanes::store(index_[a] + cells, Lanes::min(Lanes::max(nearest, first), last));
        }
        Lanes::storeIndices(cell_ + cells, Lanes::places());
        const int vector = cells / Lanes::width;
        vectors_[vector] = {cells, cells_.openAt(cells)};
        bound(vector);
        lowerThresholds(vector);
    }
    voxels_.findRoots();
}

void ColumnSearch::search()
{
    for (int cells = 0; cells < cells_.count; cells += Lanes::width) {
        for (unsigned open = cells_.openAt(cells); open != 0; open &= open - 1) {
            listCell(cells, __builtin_ctz(open));
        }
        endVectors(cells);
    }
    boundListed();
}

/** Lists the columns of a cell. */
inline void ColumnSearch::listCell(int cells, int lane)
{
    const Lanes::I cell = Lanes::allIndices(lane);
    const int c = cells + lane;
    const auto first = static_cast<std::int32_t>(cells_.first[0][c]);
    const auto last = static_cast<std::int32_t>(cells_.last[0][c]);
    const auto firstRow = static_cast<std::int32_t>(cells_.first[1][c]);
    const auto lastRow = static_cast<std::int32_t>(cells_.last[1][c]);
    int count = listedCount_;
    for (std::int32_t i = first; i <= last; i += Lanes::width) {
        const F x = Lanes::counting(i);
        const int columns = smaller(last - i + 1, Lanes::width);
        for (std::int32_t j = firstRow; j <= lastRow; ++j) {
            if (count > maxListed - Lanes::width) {
                listedCount_ = count;
                endVectors(cells);
                boundListed();
                count = 0;
            }
            Lanes::store(index_[0] + count, x);
            Lanes::store(index_[1] + count, Lanes::all(static_cast<float>(j)));
            Lanes::storeIndices(cell_ + count, cell);
            count += columns;
        }
    }
    listedCount_ = count;
}

/** Divides the columns of a vector of cells, which are the last ones of the list, into vectors. */
void ColumnSearch::endVectors(int cells)
{
    // The lanes that the last vector has left need a cell, too.
    Lanes::store(index_[0] + listedCount_, Lanes::all(0));
    Lanes::store(index_[1] + listedCount_, Lanes::all(0));
    Lanes::storeIndices(cell_ + listedCount_, Lanes::allIndices(0));
    for (int at = vectorCount_ * Lanes::width; at < listedCount_; at += Lanes::width) {
        const int columns = smaller(listedCount_ - at, Lanes::width);
        vectors_[vectorCount_++] = {cells, Lanes::everyLane >> (Lanes::width - columns)};
    }
    listedCount_ = vectorCount_ * Lanes::width;
}

void ColumnSearch::boundListed()
{
    for (int vector = 0; vector < vectorCount_; ++vector) {
        bound(vector);
    }
    // All thresholds before the first list: few points are below them then.
    if (pass_.cells.edgesAreKnown) {
        for (int vector = 0; vector < vectorCount_; ++vector) {
            lowerThresholds(vector);
        }
        voxels_.findRoots();
    }
    for (int vector = 0; vector < vectorCount_; ++vector) {
        take(vector);
    }
    listedCount_ = 0;
    vectorCount_ = 0;
}

/**
 * Finds the least point of each column of a vector, and which of them can matter.
 *
 * On a column u = a + b k, so that f is a parabola in k with the curvature 1 + b^2.
 */
inline void ColumnSearch::bound(int vector)
{
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F outer = Lanes::all(pass_.outerRim);
    const int from = vectors_[vector].cells;
    const int at = vector * Lanes::width;
    const Lanes::I cells = Lanes::loadIndices(cell_ + at);
    const Lanes::I voxels = Lanes::spreadIndices(cells_.voxel + from, cells);
    const auto ofCell = [&](const float* values) { return Lanes::spread(values + from, cells); };
    const F i = Lanes::load(index_[0] + at);
    const F j = Lanes::load(index_[1] + at);
    // As setNeighbours, but for the division: closer than the straight lines that boxes make do
    // with.
    const auto fromMiddle = [&](int axis, F index) {
        const F position = ofCell(cells_.origin[axis]) + index * Lanes::all(pass_.stepSize);
        return Lanes::mulAdd(position - Lanes::all(pass_.evaluation.x0[axis]),
                             Lanes::all(voxelsPerMm_[axis]), ofCell(cells_.middle[axis]));
    };
    const F x = fromMiddle(0, i);
    const F y = fromMiddle(1, j);
    const auto inPlane = [&](int c) {
        const F low = Lanes::mulAdd(ofCell(cells_.term[c + 1]), x, ofCell(cells_.term[c]));
        const F high = Lanes::mulAdd(ofCell(cells_.term[c + 3]), x, ofCell(cells_.term[c + 2]));
        return Lanes::mulAdd(high, y, low);
    };
    const F rise = inPlane(4);
    const F a = Lanes::mulAdd(rise, ofCell(cells_.offset[2]), inPlane(0));
    const F b = rise * Lanes::all(cells_.slope[2]);
    const F squared = Lanes::mulAdd(i, i, j * j);
    const F rim = latticeRim(pass_, squared);
    const F first = Lanes::max(ofCell(cells_.first[2]), zero - rim);
    const F last = Lanes::min(ofCell(cells_.last[2]), rim);
    const F steepness = Lanes::mulAdd(b, b, one);
    const F minimum = (zero - a * b) / steepness;
    const F k = Lanes::min(Lanes::max(rounded(minimum), first), last);
    const F u = Lanes::mulAdd(b, k, a);
    const F f = Lanes::mulAdd(u, u, Lanes::mulAdd(k, k, squared));
    const F allowed = voxels_.allowed(voxels, ofCell(cells_.error), k);
    const F distance = absolute(minimum - k);
    const unsigned inside = Lanes::notGreater(first, minimum) & Lanes::notGreater(minimum, last);
    const F further = Lanes::select(inside, zero - distance, distance);
    Lanes::store(leastAt_ + at, k);
    Lanes::store(least_ + at, f);
    Lanes::store(second_ + at, Lanes::mulAdd(steepness, one + further + further, f));
    vectors_[vector].open &= Lanes::notGreater(f, allowed) & Lanes::notGreater(squared, outer) &
                             Lanes::notGreater(first, last);
}

inline ColumnSearch::LeastPoints ColumnSearch::leastPointsOf(int vector) const
{
    const int from = vectors_[vector].cells;
    const int at = vector * Lanes::width;
    const Lanes::I cells = Lanes::loadIndices(cell_ + at);
    return {Lanes::spreadIndices(cells_.voxel + from, cells),
            Lanes::spread(cells_.error + from, cells),
            Lanes::load(least_ + at),
            {Lanes::load(index_[0] + at), Lanes::load(index_[1] + at), Lanes::load(leastAt_ + at)}};
}

/**
 * Lowers the thresholds of voxels to what the least points of some columns are worth at most.
 *
 * Where the cell of a point is not known for certain, its dose may not be finite.
 */
inline void ColumnSearch::lowerThresholds(int vector)
{
    const LeastPoints least = leastPointsOf(vector);
    const F root = rootFromAbove(least.f);
    const F raised =
        (least.f + least.error * (root + root + least.error)) * Lanes::all(raisedMargin);
    // A little lower is not worth the work.
    unsigned lower =
        vectors_[vector].open & ~Lanes::notGreater(Lanes::spread(voxels_.threshold, least.voxels),
                                                   raised * Lanes::all(1.002F));
    if (lower == 0) {
        return;
    }
    lower &= certainMembers(pass_, least.point);
    alignas(64) float values[Lanes::width];
    alignas(64) int places[Lanes::width];
    Lanes::store(values, raised);
    Lanes::storeIndices(places, least.voxels);
    for (; lower != 0; lower &= lower - 1) {
        const int lane = __builtin_ctz(lower);
        voxels_.lower(places[lane], values[lane]);
    }
}

/** Lists the points of a vector of columns that can still matter. */
inline void ColumnSearch::take(int vector)
{
    const LeastPoints least = leastPointsOf(vector);
    const F allowed = voxels_.allowed(least.voxels, least.error, least.point[2]);
    const unsigned open = vectors_[vector].open & Lanes::notGreater(least.f, allowed);
    if (open == 0) {
        return;
    }
    points_.add(open, least.voxels, least.point, least.f, least.error);
    // In 2D mode all points of the column have the same dose: the nearest of them is the best, if
    // the shells hold it.
    const F second = Lanes::load(second_ + vector * Lanes::width);
    const unsigned others =
        open & (pass_.reader == Reader::bilinear ? ~certainMembers(pass_, least.point)
                                                 : Lanes::notGreater(second, allowed));
    if (others != 0) {
        listOpen(vector, others);
    }
}

/** Lists columns of which more than the least point may matter. */
void ColumnSearch::listOpen(int vector, unsigned lanes)
{
    if (openColumns_.isNearlyFull()) {
        finish();
    }
    for (; lanes != 0; lanes &= lanes - 1) {
        const int at = vector * Lanes::width + __builtin_ctz(lanes);
        const int c = vectors_[vector].cells + cell_[at];
        const LatticeInterval range{static_cast<std::int32_t>(cells_.first[2][c]),
                                    static_cast<std::int32_t>(cells_.last[2][c])};
        openColumns_.add(
            {cells_.runsAlongZ + cells_.alongZ[c], range, static_cast<std::int32_t>(index_[0][at]),
             static_cast<std::int32_t>(index_[1][at]), cells_.voxel[c], cells_.error[c],
             pass_.reader == Reader::bilinear ? -__builtin_inff() : second_[at]});
    }
}

void ColumnSearch::finish()
{
    points_.considerAll();
    openColumns_.considerAll();
}

} // namespace

} // namespace zarngi::engine

#endif
