/**
 * @file latticeWindow.h
 * The lattice points along y and z around one reference index, and the cells they lie in.
 *
 * Part of latticeGroup.h.
 */
#ifndef ZARNGI_LATTICEWINDOW_H
#define ZARNGI_LATTICEWINDOW_H

#include "latticeStart.h"

namespace
{

/** Gathers the points of a window by the cells they lie in. */
inline void findCellRuns(const SearchPass& pass, int axis, AxisWindow& window)
{
    window.runs.count = 0;
    const int n = pass.evaluation.n[axis];
    const bool planar = axis == 2 && pass.reader == Reader::bilinear;
    const float slope = n == 1 || planar ? 0.0F : pass.stepSize / pass.evaluation.h[axis];
    for (std::int32_t i = window.range.first; i <= window.range.last; ++i) {
        const std::int32_t at = i - window.range.first;
        AxisPoint p{Zone::centre, 0, window.lower[at], 0, window.fraction[at]};
        p.upper = p.lower + (n > 1 ? 1 : 0);
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

/** Makes the window of an axis for the lattice points of a voxel. */
inline void prepareWindow(const SearchPass& pass, const VoxelStart& voxel, int axis,
                          AxisWindow& window)
{
    const LatticeInterval range = voxel.candidates[axis];
    window.range = range;
    window.referenceIndex = voxel.index[axis];
    const float origin = voxel.sample[axis]->position;
    const float x0 = pass.evaluation.x0[axis];
    const float h = pass.evaluation.h[axis];
    const int n = pass.evaluation.n[axis];
    const float step = pass.stepSize;
    const std::int32_t count = range.last - range.first + 1;
    std::int32_t* const lower = window.lower;
    float* const fraction = window.fraction;
    for (std::int32_t i = 0; i < count; ++i) {
        AxisPoint p{};
        const float position = origin + static_cast<float>(range.first + i) * step;
        setNeighbours(p, (position - x0) / h, n);
        lower[i] = p.lower;
        fraction[i] = p.fraction;
    }
    findCellRuns(pass, axis, window);
}

} // namespace

#endif
