/**
 * @file latticeStart.h
 * A voxel at the start of its search in a pass.
 *
 * Part of latticeGroup.h.
 */
#ifndef ZARNGI_LATTICESTART_H
#define ZARNGI_LATTICESTART_H

#include "gammaTerm.h"
#include "latticeIntervals.h"
#include "latticeSearch.h"

namespace
{

/** A row of reference voxels along x. */
struct VoxelRow {
    std::int32_t first = -1; ///< linear index; -1: none
    std::int32_t y = 0;
    std::int32_t z = 0;

    /** Moves to the row of a voxel: mostly that of the voxel before, and no division is needed. */
    void moveTo(const int* n, std::int32_t voxel)
    {
        if (first >= 0 && voxel >= first && voxel - first < n[0]) {
            return;
        }
        const std::int32_t row = voxel / n[0];
        first = row * n[0];
        z = row / n[1];
        y = row - z * n[1];
    }
};

/** What is known of a voxel before its lattice is looked at, and the best value so far. */
struct VoxelStart {
    /** Looks a voxel up; `row` is that of the voxel before. */
    void begin(const SearchPass& pass, ActiveVoxel& activeVoxel, VoxelRow& row)
    {
        voxel = &activeVoxel;
        row.moveTo(pass.reference.n, voxel->ivxl);
        index[0] = voxel->ivxl - row.first;
        index[1] = row.y;
        index[2] = row.z;
        for (int a = 0; a < 3; ++a) {
            sample[a] = &pass.axes->axis[a][static_cast<std::size_t>(index[a])];
            candidates[a] = common(sample[a]->centre, {-pass.outerIndex, pass.outerIndex});
        }
        isSearched = false;
        originConsidered = false;
        bestDistanceSquared = 0;
        bestPoint = {};
        nearestSquared = distanceSquared(&AxisSample::nearest);
        if (!isReached() || !(nearestSquared <= pass.outerSquared)) {
            return;
        }
        referenceDose = doseAtPoint(pass.reference.map, pass.reference.n, sample[0]->inReference,
                                    sample[1]->inReference, sample[2]->inReference, pass.reader);
        delta = doseCriterion(pass.localDD, referenceDose, pass.dd, pass.ddValue);
        // With a criterion of 0 or not a number no point has a gamma^2 that is finite.
        isSearched = delta < 0 || delta > 0;
        scale = pass.stepsPerDTA / (delta < 0 ? -delta : delta);
        best = voxel->gammasq;
        cap = largestUseful(pass);
    }

    /** Whether some lattice point between voxel centres may belong to the shell. */
    [[nodiscard]] bool isInterpolated() const
    {
        return !candidates[0].empty() && !candidates[1].empty() && !candidates[2].empty();
    }

    /**
     * Whether squares of differences that matter are computed without underflow.
     *
     * The exact gamma^2 squares doses and distances before it divides. A square below 2^-126 loses
     * up to 2^-150, or 2^-150 / criterion^2 of gamma^2; with a criterion of 2^-60 n that is below
     * 2^-29 of the gamma^2 of the nearest points but the origin, 1 / n^2. Squares of the step are
     * normal from 2^-63 on. Where this does not hold, every point is evaluated.
     */
    [[nodiscard]] bool isTame(const SearchPass& pass) const
    {
        const float criterion = delta < 0 ? -delta : delta;
        return criterion >= 0x1p-60F * larger(pass.stepsPerDTA, 1.0F) && pass.stepSize >= 0x1p-50F;
    }

    /** Stores what the pass has found. */
    void store(const SearchPass& pass) const
    {
        if (best < voxel->gammasq && (pass.passRateMode || best <= cap)) {
            voxel->gammasq = best;
            voxel->distanceMinGamma = __builtin_sqrtf(bestDistanceSquared);
        }
        if (best <= 1.0F) {
            voxel->passed = true;
        }
    }

    ActiveVoxel* voxel;
    bool isSearched;       ///< some point of the shell may matter
    bool originConsidered; ///< and the origin, if it is interpolated, has been looked at
    std::int32_t index[3];
    const AxisSample* sample[3];
    LatticeInterval candidates[3]; ///< lattice indices between voxel centres within the shell
    float nearestSquared; ///< in steps, distance of the nearest lattice point in the evaluation box
    float referenceDose;
    float delta;               ///< Gy, dose criterion
    float scale;               ///< steps per Gy
    float cap;                 ///< largest gamma^2 that this pass must find exactly
    float best;                ///< least gamma^2 so far
    float bestDistanceSquared; ///< mm^2, of the point that gave it in this pass
    LatticePoint bestPoint;    ///< that point; the origin where there is none

private:
    /** Whether some lattice point lies inside the evaluation box. */
    [[nodiscard]] bool isReached() const
    {
        return !sample[0]->inside.empty() && !sample[1]->inside.empty() &&
               !sample[2]->inside.empty();
    }

    /**
     * The largest gamma^2 this pass must find exactly.
     *
     * In pass-rate mode 1. Otherwise, when a later pass will search this voxel again, what the
     * distance term can reach in this shell: a voxel whose least gamma^2 is larger stays open, and
     * the later pass finds it, as a pass searches all shells up to its own.
     */
    [[nodiscard]] float largestUseful(const SearchPass& pass) const
    {
        if (pass.passRateMode) {
            return 1.0F;
        }
        const bool searchedAgain =
            !pass.isLast && distanceSquared(&AxisSample::farthest) > pass.outerSquared;
        return searchedAgain ? pass.largestDistanceTerm : __builtin_inff();
    }

    /** Squared distance in steps of the nearest or farthest lattice point inside the box. */
    [[nodiscard]] float distanceSquared(std::int32_t AxisSample::*extreme) const
    {
        double squared = 0;
        for (const AxisSample* s : sample) {
            squared += static_cast<double>(s->*extreme) * s->*extreme;
        }
        return static_cast<float>(squared);
    }
};

} // namespace

#endif
