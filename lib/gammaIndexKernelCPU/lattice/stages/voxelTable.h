/**
 * @file voxelTable.h
 * Voxels that are searched together, one in each lane.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_VOXELTABLE_H
#define ZARNGI_LATTICE_STAGES_VOXELTABLE_H

#include "lanes/lanes.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/bestPoint.h"
#include "lattice/stages/reach.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/** What the stages of the search know of up to a vector of voxels: while it is searched, all. */
struct VoxelTable {
    static constexpr int maxCount = Lanes::width;

    /** Relative error, per |k|, of the least values of a column: see docs/exactness.md. */
    static constexpr float neighbourMargin = 0x1p-17F;

    explicit VoxelTable(const SearchPass& searchPass) : pass(searchPass) {}

    /** Adds a voxel and the lattice indices around it that can matter. */
    void add(VoxelStart& voxel, const Reach& reach, const LatticeInterval (&range)[3])
    {
        const int v = count++;
        start[v] = &voxel;
        for (int a = 0; a < 3; ++a) {
            origin[a][v] = voxel.sample[a]->position;
            low[a][v] = static_cast<float>(range[a].first);
            high[a][v] = static_cast<float>(range[a].last);
        }
        delta[v] = voxel.delta;
        referenceDose[v] = voxel.referenceDose;
        scale[v] = voxel.scale;
        threshold[v] = reach.threshold();
        root[v] = reach.root();
        for (int a = 0; a < 2; ++a) {
            cellStart[a][v] = voxel.sample[a]->firstCentre;
        }
        best[v] = voxel.best.gammasq;
        bestDistanceSquared[v] = voxel.best.distanceSquared;
        bestPoint[v] = voxel.best.point;
    }

    /** Adds what follows from the rest, when all voxels are there. */
    void complete()
    {
        using F = Lanes::F;
        Lanes::store(leastBound, Lanes::all(__builtin_inff()));
        const F one = Lanes::all(1 + 0x1p-18F);
        Lanes::store(perScale, one / Lanes::load(scale));
    }

    /** Takes a point into account. */
    void take(int v, const BestPoint& point)
    {
        if (!point.isBetterThan(bestOf(v))) {
            return;
        }
        best[v] = point.gammasq;
        bestDistanceSquared[v] = point.distanceSquared;
        bestPoint[v] = point.point;
        const float lower = start[v]->thresholdWith(pass, point.gammasq);
        if (lower < threshold[v]) {
            threshold[v] = lower;
            root[v] = __builtin_sqrtf(lower);
        }
    }

    /** Hands the best points back to the voxels, and forgets these. */
    void clear()
    {
        for (int v = 0; v < count; ++v) {
            start[v]->best = bestOf(v);
        }
        count = 0;
    }

    /** Lowers a voxel's threshold to f of a point, which all errors have raised; not its root. */
    void lower(int v, float f)
    {
        if (f < threshold[v] && start[v]->isTame) {
            threshold[v] = f;
        }
    }

    /** Finds the roots of thresholds that have been lowered. */
    void findRoots() { Lanes::store(root, Lanes::sqrt(Lanes::load(threshold))); }

    /**
     * f, with an error of u, that the least point of a column must not exceed to matter, as far as
     * k is its index along z.
     *
     * The least value of a column may be taken at the wrong one of two nearly equal neighbours.
     */
    [[nodiscard]] Lanes::F allowed(Lanes::I voxels, Lanes::F error, Lanes::F k) const
    {
        using F = Lanes::F;
        const F r = Lanes::spread(root, voxels);
        const F margin =
            absolute(k) * Lanes::all(neighbourMargin) + Lanes::all(1 + 2 * neighbourMargin);
        return Lanes::spread(threshold, voxels) * margin + error * (r + r + error);
    }

    /** What allowed() gives, the largest one for the columns of one voxel in a range along z. */
    [[nodiscard]] float allowedAlong(int v, float error, LatticeInterval range) const
    {
        const auto k = static_cast<float>(larger(-range.first, range.last));
        return threshold[v] * (1 + neighbourMargin * (2 + k)) + error * (2 * root[v] + error);
    }

    [[nodiscard]] BestPoint bestOf(int v) const
    {
        return {best[v], bestDistanceSquared[v], bestPoint[v]};
    }

    const SearchPass& pass;
    int count = 0;
    VoxelStart* start[maxCount];
    alignas(64) float origin[3][maxCount]; ///< mm, sample point
    alignas(64) float low[3][maxCount];    ///< lattice indices between voxel centres
    alignas(64) float high[3][maxCount];
    alignas(64) float cellStart[2][maxCount]; ///< steps, lower end of the first cell along x and y
    alignas(64) float leastBound[maxCount];   ///< of f, in the cells that have been listed
    alignas(64) float delta[maxCount];
    alignas(64) float referenceDose[maxCount];
    alignas(64) float scale[maxCount];
    alignas(64) float perScale[maxCount];  ///< a little more than its inverse
    alignas(64) float threshold[maxCount]; ///< f above it cannot matter, but for the error of u
    alignas(64) float root[maxCount];      ///< of the threshold
    alignas(64) float best[maxCount];      ///< least gamma^2 so far
    alignas(64) float bestDistanceSquared[maxCount]; ///< mm^2, of the point that gave it
    LatticePoint bestPoint[maxCount];                ///< that point
};

} // namespace

} // namespace zarngi::engine

#endif
