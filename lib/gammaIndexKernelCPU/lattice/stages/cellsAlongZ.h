/**
 * @file cellsAlongZ.h
 * The lattice points along z around one reference index, and the cells they lie in.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLSALONGZ_H
#define ZARNGI_LATTICE_STAGES_CELLSALONGZ_H

#include <cstdint>

#include "gridAxis.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/** Makes the window of a voxel: gathers its lattice points along z by cells. */
inline void prepareWindow(const SearchPass& pass, const VoxelStart& voxel, AxisWindow& window)
{
    constexpr int axis = 2;
    window.referenceIndex = voxel.index[axis];
    window.runs.count = 0;
    const LatticeInterval range = voxel.candidates[axis];
    const float origin = voxel.sample[axis]->position;
    const float x0 = pass.evaluation.x0[axis];
    const float h = pass.evaluation.h[axis];
    const int n = pass.evaluation.n[axis];
    const bool planar = pass.reader == Reader::bilinear;
    const float slope = n == 1 || planar ? 0.0F : pass.stepSize / h;
    for (std::int32_t i = range.first; i <= range.last; ++i) {
        AxisPoint p{};
        const float position = origin + static_cast<float>(i) * pass.stepSize;
        setNeighbours(p, (position - x0) / h, n);
        if (planar) {
            p.lower = p.upper = nearestPlane(p);
            p.fraction = 0;
        }
        CellRun* const last = window.runs.items + window.runs.count - 1;
        if (window.runs.count == 0 || last->lower != p.lower) {
            const float offset = p.fraction - slope * static_cast<float>(i);
            window.runs.items[window.runs.count++] = {i, i, p.lower, p.upper, offset, slope, 0};
        }
        CellRun& run = window.runs.items[window.runs.count - 1];
        run.last = i;
        const float line = run.offset + slope * static_cast<float>(i);
        const float deviation = __builtin_fabsf(p.fraction - line);
        // Rounding of offset + slope * index itself, in whatever order it is summed up.
        const float rounding = 0x1p-22F * (1.0F + __builtin_fabsf(run.offset) +
                                           slope * __builtin_fabsf(static_cast<float>(i)));
        run.deviation = larger(run.deviation, deviation + rounding);
    }
}

} // namespace

} // namespace zarngi::engine

#endif
