/**
 * @file groupSearch.h
 * The search of rotated points around one voxel, written once and compiled once per vector path.
 */
#ifndef ZARNGI_ROTATED_GROUPSEARCH_H
#define ZARNGI_ROTATED_GROUPSEARCH_H

#include <cstddef>
#include <cstdint>

#include "gammaTerm.h"
#include "gridAxis.h"
#include "lanes/lanes.h"
#include "rotated/doseChanges.h"
#include "rotated/pointGroups.h"
#include "rotated/rotate.h"

namespace zarngi::engine
{

namespace
{

/** Searches the groups of points around one voxel. */
class RotatedSearch
{
public:
    RotatedSearch(const RotatedPoints& points, ActiveVoxel& voxel)
        : points_(points), voxel_(voxel), sample_(points, voxel), changes_(points, sample_)
    {
    }

    bool run()
    {
        if (!insideCentreZone({points_.reach, points_.reach, points_.reach})) {
            return false;
        }
        referenceDose_ = doseAtPoint(points_.reference.map, points_.reference.n,
                                     sample_.axis[0]->inReference, sample_.axis[1]->inReference,
                                     sample_.axis[2]->inReference, Reader::trilinear);
        delta_ = doseCriterion(points_.localDD, referenceDose_, points_.dd, points_.ddValue);
        const float criterion = delta_ < 0 ? -delta_ : delta_;
        perGy_ = 1.0F / criterion;
        perMm_ = 1.0F / points_.dta;
        if (!(perGy_ < 1e15F && perGy_ > 0 && perMm_ < 1e15F)) {
            return false;
        }
        best_ = voxel_.gammasq;
        tryCandidate();
        // Only groups with points that can still matter decide how steep the doses are.
        const float radius = __builtin_sqrtf(threshold()) * points_.dta;
        float reach[3];
        for (int a = 0; a < 3; ++a) {
            const float box = radius + points_.halfExtent[a];
            reach[a] = box < points_.reach ? box : points_.reach;
        }
        static_cast<void>(insideCentreZone(reach));
        if (!changes_.find(region_, sampleDose_)) {
            return false;
        }
        searchGroups();
        store();
        return true;
    }

private:
    [[nodiscard]] bool insideCentreZone(const float (&reach)[3]);
    void tryCandidate();
    void searchGroups();
    void searchGroup(std::int32_t group);
    [[nodiscard]] Lanes::F doses(const Lanes::F (&position)[3]) const;
    void consider(const float (&sphPos)[3]);

    [[nodiscard]] bool settled() const { return points_.passRateMode && best_ <= 1.0F; }

    /** gamma^2 that matters, raised by the relative error of its estimates (some 20 roundings). */
    [[nodiscard]] float threshold() const
    {
        return (points_.passRateMode ? 1.0F : best_) * (1.0F + 0x1p-18F);
    }

    void store()
    {
        if (best_ < voxel_.gammasq) {
            voxel_.gammasq = best_;
            voxel_.distanceMinGamma = __builtin_sqrtf(bestDistanceSquared_);
        }
        if (best_ <= 1.0F) {
            voxel_.passed = true;
        }
        if (points_.largestDistanceTerm >= voxel_.gammasq) {
            voxel_.stopSearching = true;
        }
    }

    const RotatedPoints& points_;
    ActiveVoxel& voxel_;
    RotatedSample sample_;
    Region region_{};
    DoseChanges changes_;
    float referenceDose_ = 0;
    float sampleDose_ = 0; ///< Gy, evaluation dose at the sample point
    float delta_ = 0;
    float perGy_ = 0;
    float perMm_ = 0;
    float best_ = 0;
    float bestDistanceSquared_ = 0;
};

/** Finds the voxels within reach (mm); false if a point there is outside the centre zone. */
bool RotatedSearch::insideCentreZone(const float (&reach)[3])
{
    for (int a = 0; a < 3; ++a) {
        const float h = points_.evaluation.h[a];
        const int n = points_.evaluation.n[a];
        const float centred = (sample_.origin[a] - points_.evaluation.x0[a]) / h - 0.5F;
        // Positions are rounded to float.
        const float rounding = 0x1p-20F *
                               (__builtin_fabsf(sample_.origin[a]) +
                                __builtin_fabsf(points_.evaluation.x0[a]) + reach[a]) /
                               h;
        const float within = reach[a] / h + 0.001F + rounding;
        const float low = centred - within;
        const float high = centred + within;
        if (!(low >= 0 && high < static_cast<float>(n - 1))) {
            return false;
        }
        region_.first[a] = static_cast<int>(low);
        region_.last[a] = static_cast<int>(high) + 1;
    }
    return true;
}

/** Considers the point nearest to the minimum of the dose field linearised at the sample point. */
void RotatedSearch::tryCandidate()
{
    AxisPoint axis[3];
    for (int a = 0; a < 3; ++a) {
        axis[a] = locate(sample_.origin[a], points_.evaluation.x0[a], points_.evaluation.h[a],
                         points_.evaluation.n[a], Reader::trilinear);
    }
    const LinearDose<OneLane> linear =
        linearDose(points_.evaluation.map, points_.evaluation.n, axis[0], axis[1], axis[2]);
    sampleDose_ = linear.dose;
    float g[3];
    float steepness = 0;
    for (int a = 0; a < 3; ++a) {
        g[a] = linear.perVoxel[a] * perGy_ * points_.dta / points_.evaluation.h[a];
        steepness += g[a] * g[a];
    }
    const float move = -(linear.dose - referenceDose_) * perGy_ / (steepness + 1.0F) * points_.dta /
                       points_.stepSize;
    float sphPos[3];
    std::int64_t squared = 0;
    for (int i = 0; i < 3; ++i) {
        const float target = move * (points_.rotation[0][i] * g[0] + points_.rotation[1][i] * g[1] +
                                     points_.rotation[2][i] * g[2]);
        if (!(__builtin_fabsf(target) < 1024.0F)) {
            return;
        }
        const auto index = static_cast<std::int32_t>(target + (target < 0 ? -0.5F : 0.5F));
        squared += std::int64_t{index} * index;
        sphPos[i] = static_cast<float>(index) * points_.stepSize;
    }
    if (squared > points_.wholeSquared) {
        return;
    }
    float rotated[3];
    rotate(points_.rotation, sphPos, rotated);
    consider(rotated);
}

/** Interpolated doses at positions (mm from the sample point), up to the error of the changes. */
Lanes::F RotatedSearch::doses(const Lanes::F (&position)[3]) const
{
    using F = Lanes::F;
    const int* const n = points_.evaluation.n;
    Lanes::I cell[3];
    F fraction[3];
    for (int a = 0; a < 3; ++a) {
        const F centred =
            (position[a] + Lanes::all(sample_.shift[a])) * Lanes::all(sample_.perVoxel[a]) -
            Lanes::all(0.5F);
        const F low = Lanes::whole(centred);
        fraction[a] = centred - low;
        cell[a] = Lanes::truncated(centred);
    }
    const int right = n[0];
    const int back = n[0] * n[1];
    const Lanes::I at =
        Lanes::sum(cell[0], Lanes::sum(Lanes::times(cell[1], right), Lanes::times(cell[2], back)));
    const float* const map = points_.evaluation.map;
    const auto along = [&](F low, F high, int axis) { return low + (high - low) * fraction[axis]; };
    const auto alongX = [&](const float* from) {
        F low;
        F high;
        Lanes::gatherPairs(from, at, low, high);
        return along(low, high, 0);
    };
    const F c0 = along(alongX(map), alongX(map + right), 1);
    const F c1 = along(alongX(map + back), alongX(map + back + right), 1);
    return along(c0, c1, 2);
}

/** Goes through the groups, nearest first, and searches those that the dose bound leaves. */
void RotatedSearch::searchGroups()
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    const float perMm2 = perMm_ * perMm_;
    for (std::int32_t g = 0; g < points_.groupCount; g += Lanes::width) {
        const auto at = static_cast<std::size_t>(g);
        if (points_.nearest[at] * perMm2 > threshold() || settled()) {
            return;
        }
        const F centre[3] = {Lanes::load(points_.centre[0].data() + at),
                             Lanes::load(points_.centre[1].data() + at),
                             Lanes::load(points_.centre[2].data() + at)};
        const F change = changes_.of(at);
        const F difference = doses(centre) - Lanes::all(referenceDose_);
        const F away = Lanes::max(difference, zero - difference) - change;
        const F u = Lanes::max(away, zero) * Lanes::all(perGy_);
        const F bound = u * u + Lanes::load(points_.nearest.data() + at) * Lanes::all(perMm2);
        unsigned open = Lanes::notGreater(bound, Lanes::all(threshold()));
        const std::int32_t left = points_.groupCount - g;
        open &= left < Lanes::width ? (1U << left) - 1 : Lanes::everyLane;
        while (open != 0 && !settled()) {
            const int lane = __builtin_ctz(open);
            searchGroup(g + lane);
            open &= Lanes::notGreater(bound, Lanes::all(threshold())) & ~(1U << lane);
        }
    }
}

void RotatedSearch::searchGroup(std::int32_t group)
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    for (int part = 0; part < RotatedPoints::groupSize; part += Lanes::width) {
        const std::int32_t first = group * RotatedPoints::groupSize + part;
        const auto at = static_cast<std::size_t>(first);
        const F p[3] = {Lanes::load(points_.point[0].data() + at),
                        Lanes::load(points_.point[1].data() + at),
                        Lanes::load(points_.point[2].data() + at)};
        const F difference = doses(p) - Lanes::all(referenceDose_);
        const F away = Lanes::max(difference, zero - difference) - Lanes::all(changes_.error());
        const F u = Lanes::max(away, zero) * Lanes::all(perGy_);
        const F r2 = squaredDistance(p[0], p[1], p[2]);
        const F f = u * u + r2 * Lanes::all(perMm_ * perMm_);
        unsigned open = Lanes::notGreater(f, Lanes::all(threshold()));
        alignas(64) float values[RotatedPoints::groupSize];
        Lanes::store(values, f);
        while (open != 0) {
            const int lane = leastLane(values, open);
            const std::size_t point = at + static_cast<std::size_t>(lane);
            consider({points_.point[0][point], points_.point[1][point], points_.point[2][point]});
            open &= Lanes::notGreater(f, Lanes::all(threshold())) & ~(1U << lane);
        }
    }
}

/** Takes one point into account, in the specified order of operations. */
void RotatedSearch::consider(const float (&sphPos)[3])
{
    AxisPoint axis[3];
    for (int a = 0; a < 3; ++a) {
        axis[a] = locate(sample_.origin[a] + sphPos[a], points_.evaluation.x0[a],
                         points_.evaluation.h[a], points_.evaluation.n[a], Reader::trilinear);
    }
    const float dose = doseAtPoint(points_.evaluation.map, points_.evaluation.n, axis[0], axis[1],
                                   axis[2], Reader::trilinear);
    const float r2 = squaredDistance(sphPos[0], sphPos[1], sphPos[2]);
    const float DDterm = dose - referenceDose_;
    const float Gammasq = gammaSquared(DDterm, delta_, distanceTerm(r2, points_.dta));
    if (Gammasq < best_ || (Gammasq == best_ && r2 < bestDistanceSquared_)) {
        best_ = Gammasq;
        bestDistanceSquared_ = r2;
    }
}

} // namespace

} // namespace zarngi::engine

#endif
