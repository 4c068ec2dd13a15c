/**
 * @file axes.h
 * What the search knows of each axis before it looks at any voxel.
 *
 * Without rotation the search lattice is a tensor product: whether a point lies in the evaluation
 * box and between which voxel centres it lies is decided axis by axis, by the reference index and
 * the lattice index on that axis alone.
 */
#ifndef ZARNGI_LATTICE_AXES_H
#define ZARNGI_LATTICE_AXES_H

#include <cstdint>
#include <vector>

#include "gridAxis.h"
#include "searchCriteria.h"

namespace zarngi::engine
{

/** A range of lattice indices on one axis, both ends included; empty when first > last. */
struct LatticeInterval {
    std::int32_t first;
    std::int32_t last;

    [[nodiscard]] bool empty() const { return first > last; }
};

/** One reference index on one axis. */
struct AxisSample {
    float position;         ///< mm, the reference sample point
    AxisPoint inReference;  ///< where it lies in the reference grid
    LatticeInterval inside; ///< lattice points inside the evaluation box
    LatticeInterval centre; ///< those of them in the zone between voxel centres
    std::int32_t nearest;   ///< smallest |index| inside the box
    std::int32_t farthest;  ///< largest |index| inside the box
    float firstCentre;      ///< steps, to the centre of the first evaluation voxel
};

/** The samples of the three axes. */
struct LatticeAxes {
    std::vector<AxisSample> axis[3];
};

/** Tabulates the axes from the grids, the step size and ptsSob_vox. */
LatticeAxes tabulateLatticeAxes(const SearchCriteria& criteria);

/**
 * Squared distance, in steps, that the lattice inside the evaluation box reaches from every
 * reference voxel; -1 if it may not reach some voxel at all.
 */
float reachedFromEverywhere(const LatticeAxes& axes);

/**
 * Distance (mm) from the evaluation box to the sample point of the open voxel nearest to it. Ends
 * at the first voxel within `reach`: a result of at most `reach` need not be the smallest.
 */
double nearestOpenVoxel(const SearchCriteria& criteria, const LatticeAxes& axes, double reach);

/**
 * Closes (stopSearching) every open voxel for which no lattice point outside the radius rmax (mm)
 * can lie inside the evaluation box: no later shell could change it.
 */
void closeVoxelsOutOfReach(const SearchCriteria& criteria, const LatticeAxes& axes, float rmax);

} // namespace zarngi::engine

#endif
