/**
 * @file voxelStart.h
 * A voxel at the start of its search in a pass.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_VOXELSTART_H
#define ZARNGI_LATTICE_STAGES_VOXELSTART_H

#include <cstddef>
#include <cstdint>

#include "engineState.h"
#include "gammaTerm.h"
#include "gridAxis.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/bestPoint.h"

namespace zarngi::engine
{

namespace
{

/** A row of reference voxels along x, and what the voxels of a row have in common. */
struct VoxelRow {
    /** Moves to the row of a voxel: mostly that of the voxel before, and no division is needed. */
    void moveTo(const SearchPass& pass, std::int32_t voxel)
    {
        const int* const n = pass.reference.n;
        if (first >= 0 && voxel >= first && voxel - first < n[0]) {
            return;
        }
        const std::int32_t row = voxel / n[0];
        first = row * n[0];
        index[1] = row / n[1];
        index[0] = row - index[1] * n[1];
        isReached = true;
        nearestSquared = 0;
        farthestSquared = 0;
        for (int a = 0; a < 2; ++a) {
            sample[a] = &pass.axes->axis[a + 1][static_cast<std::size_t>(index[a])];
            candidates[a] = candidatesOf(pass, *sample[a]);
            isReached = isReached && !sample[a]->inside.empty();
            nearestSquared += squared(sample[a]->nearest);
            farthestSquared += squared(sample[a]->farthest);
        }
    }

    /** The lattice indices of a sample between voxel centres within the shell. */
    static LatticeInterval candidatesOf(const SearchPass& pass, const AxisSample& sample)
    {
        return common(sample.centre, {-pass.outerIndex, pass.outerIndex});
    }

    static double squared(std::int32_t i) { return static_cast<double>(i) * i; }

    std::int32_t first = -1; ///< linear index; -1: none
    // Along y and z:
    std::int32_t index[2] = {};
    const AxisSample* sample[2] = {};
    LatticeInterval candidates[2] = {};
    bool isReached = false;     ///< some lattice indices lie inside the evaluation box
    double nearestSquared = 0;  ///< in steps, distance of the nearest and
    double farthestSquared = 0; ///< of the farthest of these
};

/** What is known of a voxel before its lattice is looked at, and the best value so far. */
struct VoxelStart {
    /** Looks a voxel up; `row` is that of the voxel before. */
    void begin(const SearchPass& pass, ActiveVoxel& activeVoxel, VoxelRow& row)
    {
        voxel = &activeVoxel;
        row.moveTo(pass, voxel->ivxl);
        index[0] = voxel->ivxl - row.first;
        sample[0] = &pass.axes->axis[0][static_cast<std::size_t>(index[0])];
        candidates[0] = VoxelRow::candidatesOf(pass, *sample[0]);
        for (int a = 1; a < 3; ++a) {
            index[a] = row.index[a - 1];
            sample[a] = row.sample[a - 1];
            candidates[a] = row.candidates[a - 1];
        }
        originConsidered = false;
        gammasq = voxel->gammasq;
        best = {gammasq, 0, {}};
        nearestSquared =
            static_cast<float>(row.nearestSquared + VoxelRow::squared(sample[0]->nearest));
        isSearched =
            row.isReached && !sample[0]->inside.empty() && nearestSquared <= pass.outerSquared;
        cap = largestUseful(
            pass, static_cast<float>(row.farthestSquared + VoxelRow::squared(sample[0]->farthest)));
    }

    /** Whether the sample point lies between voxel centres of the reference grid. */
    [[nodiscard]] bool isBetweenCentres() const
    {
        bool between = true;
        for (const AxisSample* s : sample) {
            between = between && s->inReference.zone == Zone::centre;
        }
        return between;
    }

    /** The reference dose, wherever the sample point lies. */
    [[nodiscard]] float findReferenceDose(const SearchPass& pass) const
    {
        return doseAtPoint(pass.reference.map, pass.reference.n, sample[0]->inReference,
                           sample[1]->inReference, sample[2]->inReference, pass.reader);
    }

    /** Sets the reference dose, and with it the criterion. */
    void setReferenceDose(const SearchPass& pass, float dose)
    {
        referenceDose = dose;
        delta = doseCriterion(pass.localDD, referenceDose, pass.dd, pass.ddValue);
        // With a criterion of 0 or not a number no point has a gamma^2 that is finite.
        isSearched = delta < 0 || delta > 0;
        const float criterion = delta < 0 ? -delta : delta;
        scale = pass.stepsPerDTA / criterion;
        isTame =
            criterion >= 0x1p-60F * larger(pass.stepsPerDTA, 1.0F) && pass.stepSize >= 0x1p-50F;
    }

    /** Whether some lattice point between voxel centres may belong to the shell. */
    [[nodiscard]] bool isInterpolated() const
    {
        return !candidates[0].empty() && !candidates[1].empty() && !candidates[2].empty();
    }

    /** Whether every lattice point within the radius of the shell lies between voxel centres. */
    [[nodiscard]] bool isInterpolatedOnly(const SearchPass& pass) const
    {
        bool only = true;
        for (const LatticeInterval& range : candidates) {
            only = only && range.first == -pass.outerIndex && range.last == pass.outerIndex;
        }
        return only;
    }

    /** f that a point must not exceed to matter, with the best value of the voxel so far. */
    [[nodiscard]] float thresholdWith(const SearchPass& pass, float bestValue) const
    {
        const float limit = pass.passRateMode ? cap : smaller(bestValue, cap);
        return isTame ? limit * pass.thresholdPerLimit : __builtin_inff();
    }
    /** f that a point must not exceed to matter, with the best point of the record. */
    [[nodiscard]] float threshold(const SearchPass& pass) const
    {
        return thresholdWith(pass, best.gammasq);
    }

    /** In pass-rate mode one passing point is enough. */
    [[nodiscard]] bool isSettled(const SearchPass& pass) const
    {
        return pass.passRateMode && best.gammasq <= 1.0F;
    }

    /** Whether nothing that has not been looked at can matter: at most the origin could. */
    [[nodiscard]] bool isDone(const SearchPass& pass) const
    {
        return isSettled(pass) ||
               (originConsidered && holdsZero(candidates[0]) && holdsZero(candidates[1]) &&
                holdsZero(candidates[2]) && threshold(pass) < 1.0F);
    }

    /** Stores what the pass has found. The record is written only: a read might wait for it. */
    void store(const SearchPass& pass)
    {
        if (best.gammasq < gammasq && (pass.passRateMode || best.gammasq <= cap)) {
            gammasq = best.gammasq;
            voxel->gammasq = best.gammasq;
            voxel->distanceMinGamma = __builtin_sqrtf(best.distanceSquared);
        }
        if (best.gammasq <= 1.0F) {
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
    float delta; ///< Gy, dose criterion
    float scale; ///< steps per Gy
    /**
     * Whether squares of differences that matter are computed without underflow.
     *
     * The exact gamma^2 squares doses and distances before it divides. A square below 2^-126 loses
     * up to 2^-150, or 2^-150 / criterion^2 of gamma^2; with a criterion of 2^-60 n that is below
     * 2^-29 of the gamma^2 of the nearest points but the origin, 1 / n^2. Squares of the step are
     * normal from 2^-63 on. Where this does not hold, every point is evaluated.
     */
    bool isTame;
    float cap;      ///< largest gamma^2 that this pass must find exactly
    float gammasq;  ///< as it will stand in the list of voxels
    BestPoint best; ///< so far; while a vector of voxels is searched, that is in the VoxelTable

private:
    /**
     * The largest gamma^2 this pass must find exactly.
     *
     * In pass-rate mode 1. Otherwise, when a later pass will search this voxel again, what the
     * distance term can reach in this shell: a voxel whose least gamma^2 is larger stays open, and
     * the later pass finds it, as a pass searches all shells up to its own.
     */
    static float largestUseful(const SearchPass& pass, float farthestSquared)
    {
        if (pass.passRateMode) {
            return 1.0F;
        }
        const bool searchedAgain = !pass.isLast && farthestSquared > pass.outerSquared;
        return searchedAgain ? pass.largestDistanceTerm : __builtin_inff();
    }
};

} // namespace

} // namespace zarngi::engine

#endif
