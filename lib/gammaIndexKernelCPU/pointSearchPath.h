/**
 * @file pointSearchPath.h
 * The search of rotated points around one voxel, written once and compiled once per vector path.
 */
#ifndef ZARNGI_POINTSEARCHPATH_H
#define ZARNGI_POINTSEARCHPATH_H

#include "gammaTerm.h"
#include "lanes.h"
#include "pointSearch.h"

namespace
{

/** The voxels of the evaluation grid around a reference point, and how steep their doses are. */
struct Region {
    int first[3];
    int last[3];
    float slope[3];  ///< Gy per mm, largest change of the interpolated dose along each axis
    float magnitude; ///< Gy, largest absolute dose
};

class RotatedSearch
{
public:
    RotatedSearch(const RotatedPoints& points, ActiveVoxel& voxel) : points_(points), voxel_(voxel)
    {
        const int nx = points.reference.n[0];
        const int ny = points.reference.n[1];
        const int index[3] = {voxel.ivxl % nx, voxel.ivxl / nx % ny, voxel.ivxl / nx / ny};
        for (int a = 0; a < 3; ++a) {
            sample_[a] = &points.axes->axis[a][static_cast<std::size_t>(index[a])];
            origin_[a] = sample_[a]->position;
        }
    }

    bool run()
    {
        if (!insideCentreZone(points_.reach)) {
            return false;
        }
        referenceDose_ =
            doseAtPoint(points_.reference.map, points_.reference.n, sample_[0]->inReference,
                        sample_[1]->inReference, sample_[2]->inReference, Reader::trilinear);
        delta_ = doseCriterion(points_.localDD, referenceDose_, points_.dd, points_.ddValue);
        const float criterion = delta_ < 0 ? -delta_ : delta_;
        perGy_ = 1.0F / criterion;
        perMm_ = 1.0F / points_.dta;
        if (!(perGy_ < 1e15F && perGy_ > 0 && perMm_ < 1e15F)) {
            return false;
        }
        best_ = voxel_.gammasq;
        tryCandidate();
        // Only the part of the shell that can still matter decides how steep the doses are.
        const float radius = __builtin_sqrtf(threshold()) * points_.dta;
        const bool bounded = radius < points_.reach;
        static_cast<void>(insideCentreZone(bounded ? radius : points_.reach));
        if (!findSlopes()) {
            return false;
        }
        searchGroups();
        store();
        return true;
    }

private:
    [[nodiscard]] bool insideCentreZone(float radius);
    bool findSlopes();
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
    const AxisSample* sample_[3];
    float origin_[3];
    Region region_{};
    float doseError_ = 0; ///< Gy, of an estimated dose
    float referenceDose_ = 0;
    float delta_ = 0;
    float perGy_ = 0;
    float perMm_ = 0;
    float best_ = 0;
    float bestDistanceSquared_ = 0;
};

/** Finds the voxels within a radius (mm); false if a point there is outside the centre zone. */
bool RotatedSearch::insideCentreZone(float radius)
{
    for (int a = 0; a < 3; ++a) {
        const float h = points_.evaluation.h[a];
        const int n = points_.evaluation.n[a];
        const float centred = (origin_[a] - points_.evaluation.x0[a]) / h - 0.5F;
        // Positions are rounded to float.
        const float rounding =
            0x1p-20F *
            (__builtin_fabsf(origin_[a]) + __builtin_fabsf(points_.evaluation.x0[a]) + radius) / h;
        const float room = radius / h + 0.001F + rounding;
        const float low = centred - room;
        const float high = centred + room;
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
        axis[a] = locate(origin_[a], points_.evaluation.x0[a], points_.evaluation.h[a],
                         points_.evaluation.n[a], Reader::trilinear);
    }
    const LinearDose linear = linearDose(points_.evaluation.map, points_.evaluation.n, axis[0],
                                         axis[1], axis[2], Reader::trilinear);
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
    // In the order of operations of applyRotation.
    float rotated[3];
    for (int i = 0; i < 3; ++i) {
        rotated[i] =
            ((0.0F + points_.rotation[i][0] * sphPos[0]) + points_.rotation[i][1] * sphPos[1]) +
            points_.rotation[i][2] * sphPos[2];
    }
    consider(rotated);
}

/** Largest differences of neighbouring doses; reads behind a row's end, where the map has room. */
bool RotatedSearch::findSlopes()
{
    using F = Lanes::F;
    const int* const n = points_.evaluation.n;
    const int right = n[0];
    const int back = n[0] * n[1];
    const F zero = Lanes::all(0);
    F largest[3] = {zero, zero, zero};
    F magnitude = zero;
    F notFinite = zero; // stays zero as long as all doses are finite
    const auto absolute = [&](F a) { return Lanes::max(a, zero - a); };
    for (int iz = region_.first[2]; iz <= region_.last[2]; ++iz) {
        for (int iy = region_.first[1]; iy <= region_.last[1]; ++iy) {
            for (int ix = region_.first[0]; ix <= region_.last[0]; ix += Lanes::width) {
                // The last vector is moved back so that it ends with the region where it can.
                const int overlap = ix + Lanes::width - 1 - region_.last[0];
                const int start = overlap > 0 && ix - overlap >= 0 ? ix - overlap : ix;
                const float* const p = points_.evaluation.map + voxelIndex(n, start, iy, iz);
                const F here = Lanes::load(p);
                const F beside = Lanes::load(p + (start < region_.last[0] ? 1 : 0));
                largest[0] = Lanes::max(absolute(beside - here), largest[0]);
                if (iy < region_.last[1]) {
                    largest[1] = Lanes::max(absolute(Lanes::load(p + right) - here), largest[1]);
                }
                if (iz < region_.last[2]) {
                    largest[2] = Lanes::max(absolute(Lanes::load(p + back) - here), largest[2]);
                }
                magnitude = Lanes::max(absolute(here), magnitude);
                notFinite = notFinite + here * zero;
            }
        }
    }
    for (int a = 0; a < 3; ++a) {
        region_.slope[a] = largestLane(largest[a]) / points_.evaluation.h[a];
    }
    const bool allFinite = Lanes::notGreater(Lanes::all(1), notFinite) == 0;
    region_.magnitude = allFinite ? largestLane(magnitude) : __builtin_inff();
    // Rounding of the positions times the slopes, and some 20 roundings of doses.
    doseError_ = region_.magnitude * 0x1p-19F;
    for (int a = 0; a < 3; ++a) {
        doseError_ += region_.slope[a] * 0x1p-20F *
                      (__builtin_fabsf(origin_[a]) + __builtin_fabsf(points_.evaluation.x0[a]) +
                       points_.reach);
    }
    return region_.magnitude < 1e15F;
}

/** Interpolated doses at positions (mm from the sample point), up to doseError_. */
Lanes::F RotatedSearch::doses(const Lanes::F (&position)[3]) const
{
    using F = Lanes::F;
    const int* const n = points_.evaluation.n;
    Lanes::I cell[3];
    F fraction[3];
    for (int a = 0; a < 3; ++a) {
        const float perVoxel = 1.0F / points_.evaluation.h[a];
        const F shift = Lanes::all(origin_[a] - points_.evaluation.x0[a]);
        const F centred = (position[a] + shift) * Lanes::all(perVoxel) - Lanes::all(0.5F);
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
        F room = Lanes::all(doseError_);
        for (int a = 0; a < 3; ++a) {
            room = room +
                   Lanes::all(region_.slope[a]) * Lanes::load(points_.halfExtent[a].data() + at);
        }
        const F difference = doses(centre) - Lanes::all(referenceDose_);
        const F away = Lanes::max(difference, zero - difference) - room;
        const F u = Lanes::max(away, zero) * Lanes::all(perGy_);
        const F bound = u * u + Lanes::load(points_.nearest.data() + at) * Lanes::all(perMm2);
        unsigned open = Lanes::notGreater(bound, Lanes::all(threshold()));
        const std::int32_t left = points_.groupCount - g;
        open &= left < Lanes::width ? (1U << left) - 1 : Lanes::everyLane;
        alignas(64) float bounds[RotatedPoints::groupSize];
        Lanes::store(bounds, bound);
        while (open != 0 && !settled()) {
            const int lane = leastLane(bounds, open);
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
        const F away = Lanes::max(difference, zero - difference) - Lanes::all(doseError_);
        const F u = Lanes::max(away, zero) * Lanes::all(perGy_);
        const F r2 = p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
        const F f = u * u + r2 * Lanes::all(perMm_ * perMm_);
        unsigned open = Lanes::notGreater(f, Lanes::all(threshold()));
        alignas(64) float values[RotatedPoints::groupSize];
        Lanes::store(values, f);
        for (; open != 0; open &= open - 1) {
            const int lane = __builtin_ctz(open);
            if (!(values[lane] > threshold())) {
                const std::size_t point = at + static_cast<std::size_t>(lane);
                consider(
                    {points_.point[0][point], points_.point[1][point], points_.point[2][point]});
            }
        }
    }
}

/** Takes one point into account, in the specified order of operations. */
void RotatedSearch::consider(const float (&sphPos)[3])
{
    AxisPoint axis[3];
    for (int a = 0; a < 3; ++a) {
        axis[a] = locate(origin_[a] + sphPos[a], points_.evaluation.x0[a], points_.evaluation.h[a],
                         points_.evaluation.n[a], Reader::trilinear);
    }
    const float dose = doseAtPoint(points_.evaluation.map, points_.evaluation.n, axis[0], axis[1],
                                   axis[2], Reader::trilinear);
    const float r2 = (sphPos[0] * sphPos[0] + sphPos[1] * sphPos[1]) + sphPos[2] * sphPos[2];
    const float DDterm = dose - referenceDose_;
    const float Gammasq = gammaSquared(DDterm, delta_, distanceTerm(r2, points_.dta));
    if (Gammasq < best_ || (Gammasq == best_ && r2 < bestDistanceSquared_)) {
        best_ = Gammasq;
        bestDistanceSquared_ = r2;
    }
}

} // namespace

#endif
