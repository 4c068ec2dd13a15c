/**
 * @file cellEdges.h
 * Which lattice points on an axis lie in which cell of the evaluation grid, along x and y.
 *
 * Part of lattice/stages/group.h.
 *
 * Where a cell begins is computed without the roundings of positions. A lattice point farther from
 * there than the slack of the pass lies on the side where it seems to be; for the one point that
 * may be nearer, the operations of the readers decide.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLEDGES_H
#define ZARNGI_LATTICE_STAGES_CELLEDGES_H

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** Where cells begin on an axis. */
struct CellEdge {
    Lanes::F at; ///< steps from the sample point
    // Lanes in which the lattice point there is known to lie in the cell before or behind.
    unsigned pointBefore;
    unsigned pointBehind;
};

/** The ends of cells: lanes in which the point there is left out. */
struct OpenEnds {
    unsigned first;
    unsigned last;
};

/** The first and the last lattice index of cells on an axis. */
struct CellPoints {
    Lanes::F first;
    Lanes::F last;
};

/** Where cells begin, in steps from sample points; the first cell begins at `start`. */
inline Lanes::F edgeOf(const SearchPass& pass, int axis, Lanes::F start, Lanes::F cells)
{
    return start + cells * Lanes::all(pass.cells.width[axis]);
}

/**
 * Where cells begin, and to which cell the point there belongs. (Where that is farther away than
 * the slack, either answer will do.)
 */
inline CellEdge findEdge(const SearchPass& pass, int axis, const VoxelTable& voxels, Lanes::F cell)
{
    using F = Lanes::F;
    const F edge = edgeOf(pass, axis, Lanes::load(voxels.cellStart[axis]), cell);
    if (!pass.cells.edgesAreKnown) {
        return {edge, 0, 0};
    }
    const F nearest = rounded(edge);
    if (Lanes::notGreater(absolute(edge - nearest), Lanes::all(pass.cells.slack[axis])) == 0) {
        return {edge, 0, 0};
    }
    const F position = Lanes::load(voxels.origin[axis]) + nearest * Lanes::all(pass.stepSize);
    const F fractional =
        (position - Lanes::all(pass.evaluation.x0[axis])) / Lanes::all(pass.evaluation.h[axis]);
    const unsigned behind =
        Lanes::notGreater(cell, betweenCentres<Lanes>(fractional, pass.evaluation.n[axis]).lower);
    return {edge, ~behind, behind};
}

/** The ends of cells between two edges. */
inline OpenEnds openEnds(const CellEdge& begin, const CellEdge& end)
{
    return {begin.pointBefore, end.pointBehind};
}

/** The points of cells that begin and end there. */
inline CellPoints pointsBetween(const SearchPass& pass, int axis, Lanes::F begin, Lanes::F end,
                                OpenEnds open)
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    const F slack = Lanes::all(pass.cells.slack[axis]);
    const F first = begin + Lanes::select(open.first, slack, zero - slack);
    const F last = end + Lanes::select(open.last, zero - slack, slack);
    return {zero - Lanes::floor(zero - first), Lanes::floor(last)};
}

} // namespace

} // namespace zarngi::engine

#endif
