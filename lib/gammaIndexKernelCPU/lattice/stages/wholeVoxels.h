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
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/bestPoint.h"
#include "lattice/stages/reach.h"
#include "lattice/stages/singlePoints.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/** Searches the lattice points around one voxel that are not between voxel centres on some axis. */
class WholeVoxels
{
public:
    WholeVoxels(const SearchPass& pass, SearchScratch& scratch, VoxelStart& start)
        : pass_(pass), scratch_(scratch), start_(start), points_(pass, start),
          threshold_(start.threshold(pass))
    {
    }

    void search();

    // What SinglePoints asks for:
    [[nodiscard]] float threshold() const { return threshold_; }
    void take(const BestPoint& point)
    {
        if (point.isBetterThan(start_.best)) {
            start_.best = point;
            threshold_ = start_.threshold(pass_);
        }
    }

private:
    [[nodiscard]] bool findRange(LatticeInterval (&range)[3]) const;
    void findRuns(int axis, LatticeInterval range);
    void searchRow(const VoxelRun& y, const VoxelRun& z);
    void considerVoxel(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z);
    void considerEach(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z, float dose);

    const SearchPass& pass_;
    SearchScratch& scratch_;
    VoxelStart& start_;
    SinglePoints points_;
    float threshold_;                            ///< f above it cannot matter
    const VoxelRun* lastInterpolated_ = nullptr; ///< along x; null: none
};

/** Finds the lattice indices that can matter; false if all of them lie between voxel centres. */
bool WholeVoxels::findRange(LatticeInterval (&range)[3]) const
{
    const Reach reach(pass_, start_);
    const LatticeInterval any = reach.onAny();
    bool isInterpolated = true;
    for (const AxisSample* sample : start_.sample) {
        isInterpolated =
            isInterpolated && sample->centre.first <= any.first && sample->centre.last >= any.last;
    }
    if (isInterpolated) {
        return false;
    }
    isInterpolated = true;
    for (int a = 0; a < 3; ++a) {
        range[a] = common(start_.sample[a]->inside, reach.on(a));
        if (range[a].empty()) {
            return false;
        }
        const LatticeInterval centre = common(start_.sample[a]->centre, range[a]);
        isInterpolated =
            isInterpolated && centre.first == range[a].first && centre.last == range[a].last;
    }
    return !isInterpolated;
}

/** Finds the runs along an axis that lie in the same voxel and zone. */
void WholeVoxels::findRuns(int axis, LatticeInterval range)
{
    scratch_.voxelRuns[axis].referenceIndex = start_.index[axis];
    BorrowedList<VoxelRun>& runs = scratch_.voxelRuns[axis].runs;
    runs.count = 0;
    for (std::int32_t i = range.first; i <= range.last; ++i) {
        const AxisPoint p = points_.locatePoint(axis, i);
        const VoxelRun* const last = runs.items + runs.count - 1;
        if (runs.count == 0 || last->point.zone != p.zone || last->point.voxel != p.voxel) {
            runs.items[runs.count++] = {i, i, i, p};
        }
        VoxelRun& run = runs.items[runs.count - 1];
        run.last = i;
        run.nearest = nearestToZero({run.first, run.last});
    }
}

void WholeVoxels::search()
{
    LatticeInterval range[3];
    if (!findRange(range)) {
        return;
    }
    findRuns(0, range[0]);
    for (int a = 1; a < 3; ++a) {
        if (scratch_.voxelRuns[a].referenceIndex != start_.index[a]) {
            findRuns(a, common(start_.sample[a]->inside, {-pass_.outerIndex, pass_.outerIndex}));
        }
    }
    lastInterpolated_ = nullptr;
    for (const VoxelRun& x : scratch_.voxelRuns[0].runs) {
        lastInterpolated_ = x.point.zone == Zone::centre ? &x : lastInterpolated_;
    }
    const float xNearest = squareOf(start_.sample[0]->nearest);
    const float yNearest = squareOf(start_.sample[1]->nearest);
    for (const VoxelRun& z : scratch_.voxelRuns[2].runs) {
        const float zNearest = squareOf(z.nearest) + xNearest;
        if (zNearest + yNearest > threshold_) {
            continue;
        }
        for (const VoxelRun& y : scratch_.voxelRuns[1].runs) {
            if (zNearest + squareOf(y.nearest) > threshold_) {
                continue;
            }
            searchRow(y, z);
            if (start_.isSettled(pass_)) {
                return;
            }
        }
    }
}

void WholeVoxels::searchRow(const VoxelRun& y, const VoxelRun& z)
{
    const bool isInside = y.point.zone == Zone::centre && z.point.zone == Zone::centre;
    const BorrowedList<VoxelRun>& alongX = scratch_.voxelRuns[0].runs;
    for (const VoxelRun* x = alongX.begin(); x != alongX.end(); ++x) {
        if (isInside && x->point.zone == Zone::centre) {
            x = lastInterpolated_;
        } else {
            considerVoxel(*x, y, z);
        }
    }
}

void WholeVoxels::considerVoxel(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z)
{
    const float squared = squareOf(x.nearest) + squareOf(y.nearest) + squareOf(z.nearest);
    if (squared > threshold_ || squared > pass_.outerRim) {
        return;
    }
    const float dose = points_.doseOf({x.point, y.point, z.point});
    const float u = (dose - start_.referenceDose) * start_.scale;
    if (u * u * (1 - 0x1p-19F) + squared > threshold_) {
        return;
    }
    // All points of the voxel have the same dose: the nearest one is enough.
    if (points_.isMember(x.nearest, y.nearest, z.nearest)) {
        points_.consider(*this, dose, x.nearest, y.nearest, z.nearest);
    } else {
        considerEach(x, y, z, dose);
    }
}

/** Considers a voxel whose nearest lattice point is not in the shell, point by point. */
void WholeVoxels::considerEach(const VoxelRun& x, const VoxelRun& y, const VoxelRun& z, float dose)
{
    for (std::int32_t i = x.first; i <= x.last; ++i) {
        for (std::int32_t j = y.first; j <= y.last; ++j) {
            for (std::int32_t k = z.first; k <= z.last; ++k) {
                if (points_.isMember(i, j, k)) {
                    points_.consider(*this, dose, i, j, k);
                }
            }
        }
    }
}

} // namespace

} // namespace zarngi::engine

#endif
