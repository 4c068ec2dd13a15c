/**
 * @file wholeVoxels.h
 * The lattice points whose dose is that of the containing voxel.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_WHOLEVOXELS_H
#define ZARNGI_LATTICE_STAGES_WHOLEVOXELS_H

#include <cstdint>

#include "gridAxis.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/scratch.h"
#include "lattice/stages/voxelSearch.h"

namespace
{

void VoxelSearch::findVoxelRuns(int axis, LatticeInterval range)
{
    scratch_->voxelRuns[axis].referenceIndex = start_->index[axis];
    Room<VoxelRun>& runs = scratch_->voxelRuns[axis].runs;
    runs.count = 0;
    for (std::int32_t i = range.first; i <= range.last; ++i) {
        const AxisPoint p = locatePoint(axis, i);
        const VoxelRun* const last = runs.items + runs.count - 1;
        if (runs.count == 0 || last->point.zone != p.zone || last->point.voxel != p.voxel) {
            runs.items[runs.count++] = {i, i, i, p};
        }
        VoxelRun& run = runs.items[runs.count - 1];
        run.last = i;
        run.nearest = nearestToZero({run.first, run.last});
    }
}

/** The lattice points that are not between voxel centres on some axis. */
void VoxelSearch::searchVoxelwise()
{
    if (isInterpolatedWithinReach()) {
        return;
    }
    LatticeInterval range[3];
    bool allInterpolated = true;
    for (int a = 0; a < 3; ++a) {
        range[a] = common(start_->sample[a]->inside, reachOn(a));
        if (range[a].empty()) {
            return;
        }
        const LatticeInterval centre = common(start_->sample[a]->centre, range[a]);
        allInterpolated =
            allInterpolated && centre.first == range[a].first && centre.last == range[a].last;
    }
    if (allInterpolated) {
        return;
    }
    findVoxelRuns(0, range[0]);
    for (int a = 1; a < 3; ++a) {
        if (scratch_->voxelRuns[a].referenceIndex != start_->index[a]) {
            findVoxelRuns(
                a, common(start_->sample[a]->inside, {-pass_->outerIndex, pass_->outerIndex}));
        }
    }
    const Room<VoxelRun>& alongX = scratch_->voxelRuns[0].runs;
    const VoxelRun* lastInterpolated = nullptr;
    for (const VoxelRun& x : alongX) {
        lastInterpolated = x.point.zone == Zone::centre ? &x : lastInterpolated;
    }
    const float xNearest = squareOf(start_->sample[0]->nearest);
    const float yNearest = squareOf(start_->sample[1]->nearest);
    for (const VoxelRun& z : scratch_->voxelRuns[2].runs) {
        const float zNearest = squareOf(z.nearest) + xNearest;
        if (zNearest + yNearest > threshold_) {
            continue;
        }
        for (const VoxelRun& y : scratch_->voxelRuns[1].runs) {
            if (zNearest + squareOf(y.nearest) > threshold_) {
                continue;
            }
            const bool inside = y.point.zone == Zone::centre && z.point.zone == Zone::centre;
            for (const VoxelRun* x = alongX.begin(); x != alongX.end(); ++x) {
                if (inside && x->point.zone == Zone::centre) {
                    x = lastInterpolated;
                } else {
                    considerVoxel(*x, y, z);
                }
            }
            if (settled()) {
                return;
            }
        }
    }
}

void VoxelSearch::considerVoxel(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z)
{
    const float squared = squareOf(x.nearest) + squareOf(y.nearest) + squareOf(z.nearest);
    if (squared > threshold_ || squared > pass_->outerRim) {
        return;
    }
    const float dose = doseOf({x.point, y.point, z.point});
    const float u = (dose - start_->referenceDose) * scale_;
    if (u * u * (1 - 0x1p-19F) + squared > threshold_) {
        return;
    }
    // All points of the voxel have the same dose: the nearest one is enough.
    if (isMember(x.nearest, y.nearest, z.nearest)) {
        consider(dose, x.nearest, y.nearest, z.nearest);
    } else {
        considerVoxelRows(x, y, z, dose);
    }
}

/** Considers a voxel whose nearest lattice point is not in the shell, row by row. */
void VoxelSearch::considerVoxelRows(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z,
                                    float dose)
{
    for (std::int32_t i = x.first; i <= x.last; ++i) {
        for (std::int32_t j = y.first; j <= y.last; ++j) {
            for (std::int32_t k = z.first; k <= z.last; ++k) {
                if (isMember(i, j, k)) {
                    consider(dose, i, j, k);
                }
            }
        }
    }
}

} // namespace

#endif
