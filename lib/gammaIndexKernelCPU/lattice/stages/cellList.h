/**
 * @file cellList.h
 * Cells of the evaluation grid of which some lattice points may matter to a voxel.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLLIST_H
#define ZARNGI_LATTICE_STAGES_CELLLIST_H

#include "lanes/lanes.h"
#include "lattice/scratch.h"

namespace zarngi::engine
{

namespace
{

/**
 * Cells of several voxels, and the box of lattice points in each of them that can matter.
 *
 * u = the sum of term[c] times the s of the axes in the bits of c (x, y, z), where s, the fraction
 * from the cell's middle, is offset + slope * index.
 */
struct CellList {
    static constexpr int maxVectors = 16;
    static constexpr int maxCount = maxVectors * Lanes::width;

    /** Lanes that can matter of the vector of cells at a place. */
    [[nodiscard]] unsigned openAt(int cells) const { return open[cells / Lanes::width]; }

    int count = 0;
    float slope[3];
    const CellRun* runsAlongZ;
    unsigned open[maxVectors];

    // The last vector may reach beyond the last place.
    static constexpr int capacity = maxCount + Lanes::width;
    alignas(64) int number[capacity]; ///< of the cell and its voxel
    alignas(64) float term[8][capacity];
    alignas(64) float error[capacity];      ///< of u at the points of the cell
    alignas(64) float planeError[capacity]; ///< of u by the plane through the doses
    alignas(64) float first[3][capacity];
    alignas(64) float last[3][capacity];
    alignas(64) float centre[2][capacity]; ///< where u is least by the plane, in the cell or not
    alignas(64) float offset[3][capacity];
    alignas(64) float origin[2][capacity]; ///< mm, sample point along x and y
    alignas(64) float middle[2][capacity]; ///< voxels, minus the middle of the cell
    alignas(64) int voxel[capacity];
    alignas(64) int alongZ[capacity]; ///< place of the cell among those along z
};

} // namespace

} // namespace zarngi::engine

#endif
