/**
 * @file cellNumbers.h
 * A number for each cell of a chunk and a voxel that looks at it.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLNUMBERS_H
#define ZARNGI_LATTICE_STAGES_CELLNUMBERS_H

#include "lanes/lanes.h"
#include "lattice/stages/cellEdges.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/**
 * Numbers of cells of a chunk, one in each lane.
 *
 * A number is the sum of what the places of the cell in the chunk contribute: along x and y with
 * the ends that leave out a point, along x with the numbers of the voxels. From the lowest bits on
 * it holds the voxel, the places along x, y and z, and the ends.
 */
struct CellNumbers {
    using I = Lanes::I;

    // A chunk has at most so many cells along z, and along x and y.
    static constexpr int runsAtOnce = Lanes::width;
    static constexpr int cellsAtOnce = 64;

    static I alongX(I places, OpenEnds open)
    {
        return Lanes::sum(Lanes::sum(Lanes::product<VoxelTable::maxCount>(places), Lanes::places()),
                          Lanes::sum(bits(open.first, 0), bits(open.last, 1)));
    }
    static I alongY(int place, OpenEnds open)
    {
        return Lanes::sum(Lanes::allIndices(place * cellsAtOnce * VoxelTable::maxCount),
                          Lanes::sum(bits(open.first, 2), bits(open.last, 3)));
    }
    static I alongZ(int place)
    {
        return Lanes::allIndices(place * cellsAtOnce * cellsAtOnce * VoxelTable::maxCount);
    }

    static I voxels(I numbers) { return Lanes::remainder<VoxelTable::maxCount>(numbers); }

    /** The places of cells in the chunk. */
    struct Places {
        I cell[2]; ///< along x and y
        I alongZ;
    };
    static Places places(I numbers)
    {
        const I cells = Lanes::quotient<VoxelTable::maxCount>(numbers);
        const I rows = Lanes::quotient<cellsAtOnce>(cells);
        return {{Lanes::remainder<cellsAtOnce>(cells), Lanes::remainder<cellsAtOnce>(rows)},
                Lanes::remainder<runsAtOnce>(Lanes::quotient<cellsAtOnce>(rows))};
    }

    /** Their ends along x or y. */
    static OpenEnds ends(I numbers, int axis)
    {
        return {Lanes::hasBit(numbers, firstBit + 2 * axis),
                Lanes::hasBit(numbers, firstBit + 2 * axis + 1)};
    }

private:
    /** The numbers of cells are below the bits for their ends. */
    static constexpr int firstBit = 20;
    static_assert(runsAtOnce * cellsAtOnce * cellsAtOnce * VoxelTable::maxCount <= 1 << firstBit);

    /** A bit in some lanes. */
    static I bits(unsigned lanes, int bit)
    {
        return Lanes::truncated(Lanes::select(
            lanes, Lanes::all(static_cast<float>(1 << (firstBit + bit))), Lanes::all(0)));
    }
};

} // namespace

} // namespace zarngi::engine

#endif
