/**
 * @file cellGeometry.h
 * The cells between the voxel centres of the evaluation grid, in lattice steps.
 */
#ifndef ZARNGI_LATTICE_CELLGEOMETRY_H
#define ZARNGI_LATTICE_CELLGEOMETRY_H

#include "lattice/axes.h"
#include "searchCriteria.h"

namespace zarngi::engine
{

/** The size of cells and how well it is known: the same in all passes. */
struct CellGeometry {
    CellGeometry(const SearchCriteria& criteria, const LatticeAxes& axes);

    float voxelsPerStep[3]; ///< evaluation voxels per lattice step; 0 on an axis of one voxel
    // Along x and y:
    float width[2]; ///< steps
    float perStep[2];
    float slack[2];     ///< steps, rounding of positions
    bool edgesAreKnown; ///< no two lattice points are within the slack of one place
};

} // namespace zarngi::engine

#endif
