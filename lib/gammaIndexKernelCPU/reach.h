/**
 * @file reach.h
 * How far the lattice points inside the evaluation box lie from the reference voxels.
 */
#ifndef ZARNGI_REACH_H
#define ZARNGI_REACH_H

#include <cstdint>
#include <vector>

#include "shellLattice.h"

/**
 * The lattice points inside the evaluation box, per axis and reference index.
 *
 * Without rotation the search lattice is a tensor product: whether a point lies in the box is
 * decided axis by axis, by the reference index and the lattice index on that axis alone.
 */
class LatticeReach
{
public:
    /** Reads the grids, the step size and ptsSob_vox of the current computation. */
    LatticeReach();

    /** Lattice indices inside the box on one axis, for a reference index on that axis. */
    [[nodiscard]] const LatticeRange& insideBox(int axis, int index) const
    {
        return ranges_[axis][static_cast<std::size_t>(index)];
    }

    /**
     * Closes (stopSearching) every open voxel for which no lattice point outside the radius rmax
     * (mm) can lie inside the evaluation box: no later shell could change it.
     */
    void closeVoxelsBeyond(float rmax) const;

private:
    [[nodiscard]] bool reachesBeyond(std::int32_t ivxl, float rmax) const;

    std::vector<LatticeRange> ranges_[3];
};

#endif
