/**
 * @file firstCandidates.h
 * Good first values: the sooner a small gamma^2 is known, the less has to be looked at.
 *
 * One voxel in each lane: the points tried depend on each other, so a single voxel would wait for
 * every division and every dose.
 */
#ifndef ZARNGI_LATTICE_STAGES_FIRSTCANDIDATES_H
#define ZARNGI_LATTICE_STAGES_FIRSTCANDIDATES_H

#include <cstdint>

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/scratch.h"
#include "lattice/stages/points.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/**
 * Tries, for up to Lanes::width voxels, the origin, what was best for a voxel nearby, from there
 * minima of the linearised dose field, and where many voxels fail, what was best for another one.
 */
class FirstCandidates
{
public:
    /** `bestPoints` are those of the last voxels searched, by their indices along x. */
    FirstCandidates(const SearchPass& pass, const LatticePoint* bestPoints)
        : pass_(pass), bestPoints_(bestPoints)
    {
    }

    [[nodiscard]] bool isFull() const { return count_ == Lanes::width; }

    void add(VoxelStart& start)
    {
        const std::int32_t x = start.index[0];
        const LatticePoint& nearby = bestPoints_[x];
        const LatticePoint& beside = bestPoints_[larger(x - 1, 0)];
        start_[count_] = &start;
        for (int a = 0; a < 3; ++a) {
            origin_[a][count_] = start.sample[a]->position;
            first_[a][count_] = static_cast<float>(start.candidates[a].first);
            last_[a][count_] = static_cast<float>(start.candidates[a].last);
            nearby_[a][count_] = nearby.index[a];
            beside_[a][count_] = beside.index[a];
        }
        referenceDose_[count_] = start.referenceDose;
        delta_[count_] = start.delta;
        scale_[count_] = start.scale;
        cap_[count_] = start.cap;
        bestSoFar_[count_] = start.best.gammasq;
        ++count_;
    }

    /** Tries the voxels added since the last time. */
    void tryAll()
    {
        if (count_ == 0) {
            return;
        }
        const int voxels = count_;
        while (!isFull()) {
            add(*start_[0]); // lanes that repeat the first voxel
        }
        best_ = Lanes::load(bestSoFar_);
        for (F& index : bestPoint_) {
            index = Lanes::all(0);
        }
        bestDistanceSquared_ = Lanes::all(0);
        const F zero = Lanes::all(0);
        tryFrom({zero, zero, zero}, 1);
        tryFrom({Lanes::load(nearby_[0]), Lanes::load(nearby_[1]), Lanes::load(nearby_[2])}, 3);
        if (manyFail()) {
            tryFrom({Lanes::load(beside_[0]), Lanes::load(beside_[1]), Lanes::load(beside_[2])}, 1);
        }
        if (pass_.reader == Reader::bilinear) {
            tryPlanesBeside();
        }
        alignas(64) float distanceSquared[Lanes::width];
        Lanes::store(bestSoFar_, best_);
        Lanes::store(distanceSquared, bestDistanceSquared_);
        for (int a = 0; a < 3; ++a) {
            Lanes::store(nearby_[a], bestPoint_[a]);
        }
        for (int lane = 0; lane < voxels; ++lane) {
            start_[lane]->best = {bestSoFar_[lane],
                                  distanceSquared[lane],
                                  {nearby_[0][lane], nearby_[1][lane], nearby_[2][lane]}};
            start_[lane]->originConsidered = true;
        }
        count_ = 0;
    }

private:
    using F = Lanes::F;

    /** u = atOrigin + the sum of rise[a] times the lattice index on axis a. */
    struct LinearField {
        F atOrigin;
        F rise[3];
    };

    /** The lattice index nearest to x that may be tried on an axis. */
    [[nodiscard]] F within(int axis, F x) const
    {
        return Lanes::min(Lanes::max(x, Lanes::load(first_[axis])), Lanes::load(last_[axis]));
    }

    [[nodiscard]] LinearDose<Lanes> dosesAt(const F (&p)[3]) const
    {
        const F origin[3] = {Lanes::load(origin_[0]), Lanes::load(origin_[1]),
                             Lanes::load(origin_[2])};
        return linearDoses(pass_, origin, p);
    }

    /**
     * Whether many voxels have no gamma of 1 or less yet. A second start costs little, compared
     * with the balls that are left to search then. Among several workers, the voxel in the row
     * before at the same place is often another's; the one beside that is this worker's own, and
     * newer than its last one at the same place.
     */
    [[nodiscard]] bool manyFail() const
    {
        constexpr int many = Lanes::width / 4;
        const unsigned passing = Lanes::notGreater(best_, Lanes::all(1));
        return Lanes::width - __builtin_popcount(passing) >= many;
    }

    void consider(F dose, const F (&p)[3], unsigned lanes);
    void tryFrom(const F (&start)[3], int steps);
    void tryPlanesBeside();
    unsigned move(F (&p)[3], const LinearDose<Lanes>& linear, int step, unsigned lanes);
    void leastNear(F (&p)[3], const LinearField& field, bool nearRim) const;

    const SearchPass& pass_;
    const LatticePoint* bestPoints_;
    int count_ = 0;
    VoxelStart* start_[Lanes::width];
    alignas(64) float origin_[3][Lanes::width];
    alignas(64) float first_[3][Lanes::width]; ///< lattice indices that may be tried
    alignas(64) float last_[3][Lanes::width];
    alignas(64) float referenceDose_[Lanes::width];
    alignas(64) float delta_[Lanes::width];
    alignas(64) float scale_[Lanes::width];
    alignas(64) float cap_[Lanes::width];
    alignas(64) float bestSoFar_[Lanes::width];
    F risesBefore_[3];                          ///< of the field where points were tried last
    alignas(64) float nearby_[3][Lanes::width]; ///< best for a voxel nearby
    alignas(64) float beside_[3][Lanes::width]; ///< and for one beside that
    F best_;
    F bestPoint_[3];
    F bestDistanceSquared_;
};

/** Takes one point of each of the lanes into account. */
void FirstCandidates::consider(F dose, const F (&p)[3], unsigned lanes)
{
    const F r2 = squaredDistances(pass_, p);
    const F Gammasq =
        gammasSquared(pass_, dose - Lanes::load(referenceDose_), Lanes::load(delta_), r2);
    const unsigned better =
        members(pass_, p, lanes & improvements(Gammasq, r2, best_, bestDistanceSquared_));
    best_ = Lanes::select(better, Gammasq, best_);
    for (int a = 0; a < 3; ++a) {
        bestPoint_[a] = Lanes::select(better, p[a], bestPoint_[a]);
    }
    bestDistanceSquared_ = Lanes::select(better, r2, bestDistanceSquared_);
}

/** Tries so many points from the one nearest to `start` on. */
void FirstCandidates::tryFrom(const F (&start)[3], int steps)
{
    F p[3] = {within(0, start[0]), within(1, start[1]), within(2, start[2])};
    unsigned moving = Lanes::everyLane;
    for (int step = 0; step < steps && moving != 0; ++step) {
        const LinearDose<Lanes> linear = dosesAt(p);
        consider(linear.dose, p, moving);
        if (step + 1 < steps) {
            moving = move(p, linear, step, moving);
        }
    }
}

/** Tries points in the planes above and below: in 2D mode the dose jumps halfway to them. */
void FirstCandidates::tryPlanesBeside()
{
    const F half = Lanes::all(0.5F);
    const F one = Lanes::all(1);
    const F perStep = Lanes::all(pass_.cells.voxelsPerStep[2]);
    if (!(pass_.cells.voxelsPerStep[2] > 0)) {
        return;
    }
    const F centred = (Lanes::load(origin_[2]) - Lanes::all(pass_.evaluation.x0[2])) /
                          Lanes::all(pass_.evaluation.h[2]) -
                      half;
    const F plane = Lanes::floor(centred + half);
    const F zero = Lanes::all(0);
    constexpr int steps = 4;
    tryFrom({zero, zero, Lanes::floor((plane + half - centred) / perStep) + one}, steps);
    tryFrom({zero, zero, Lanes::all(-1) - Lanes::floor((centred + half - plane) / perStep)}, steps);
}

/**
 * Moves the points p of some lanes to the minimum of the dose field linearised there. Returns the
 * lanes that moved.
 *
 * From the third step on the rises are averaged with those before: where the gradient changes from
 * cell to cell, the points would go to and fro.
 */
unsigned FirstCandidates::move(F (&p)[3], const LinearDose<Lanes>& linear, int step, unsigned lanes)
{
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F scale = Lanes::load(scale_);
    LinearField field;
    for (int a = 0; a < 3; ++a) {
        field.rise[a] = linear.perVoxel[a] * scale * Lanes::all(pass_.cells.voxelsPerStep[a]);
        if (step > 1) {
            field.rise[a] = (field.rise[a] + risesBefore_[a]) * Lanes::all(0.5F);
        }
        risesBefore_[a] = field.rise[a];
    }
    const F(&g)[3] = field.rise;
    const F u = (linear.dose - Lanes::load(referenceDose_)) * scale;
    field.atOrigin = u - (g[0] * p[0] + g[1] * p[1] + g[2] * p[2]);
    const F steepness = g[0] * g[0] + g[1] * g[1] + g[2] * g[2];
    // Far above what this pass must find: the ranges of the doses will exclude most cells.
    const F hopeless = Lanes::all(4 * pass_.thresholdPerLimit) * Lanes::load(cap_);
    lanes &= Lanes::notGreater(field.atOrigin * field.atOrigin, hopeless * (steepness + one));
    F towards = (zero - field.atOrigin) / (steepness + one);
    const F length = towards * towards * steepness;
    const F outer = Lanes::all(pass_.outerWhole);
    const unsigned beyondRim = ~Lanes::notGreater(length, outer);
    towards = Lanes::select(beyondRim, towards * Lanes::sqrt(outer / length), towards);
    const bool planar = pass_.reader == Reader::bilinear;
    F next[3];
    for (int a = 0; a < 3; ++a) {
        next[a] = planar && a == 2 ? p[2] : towards * g[a];
        lanes &= ~Lanes::notGreater(one, next[a] * zero); // not those that are not finite
    }
    leastNear(next, field, (beyondRim & lanes) != 0);
    unsigned moved = 0;
    for (int a = 0; a < 3; ++a) {
        moved |= lanes & ~Lanes::notGreater(absolute(next[a] - p[a]), zero);
        p[a] = Lanes::select(lanes, next[a], p[a]);
    }
    return moved;
}

/** Replaces the points p by lattice points nearby where f of the field is small. */
void FirstCandidates::leastNear(F (&p)[3], const LinearField& field, bool nearRim) const
{
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F outer = Lanes::all(pass_.outerWhole);
    const bool planar = pass_.reader == Reader::bilinear;
    const F perZ = (zero - field.rise[2]) / (field.rise[2] * field.rise[2] + one);
    F centre[3];
    for (int a = 0; a < 3; ++a) {
        centre[a] = rounded(within(a, p[a]));
        p[a] = centre[a];
    }
    F least = Lanes::all(__builtin_inff());
    for (int di = -1; di <= 1; ++di) {
        const F i = within(0, centre[0] + Lanes::all(static_cast<float>(di)));
        for (int dj = -1; dj <= 1; ++dj) {
            const F j = within(1, centre[1] + Lanes::all(static_cast<float>(dj)));
            const F inPlane = i * i + j * j;
            const F a = field.atOrigin + field.rise[0] * i + field.rise[1] * j;
            F lowest = rounded(a * perZ);
            if (nearRim) {
                const F rim = Lanes::whole(Lanes::sqrt(Lanes::max(outer - inPlane, zero)));
                lowest = Lanes::min(Lanes::max(lowest, zero - rim), rim);
            }
            const F k = planar ? centre[2] : within(2, lowest);
            const F u = a + field.rise[2] * k;
            const F squared = inPlane + k * k;
            const F f = u * u + squared;
            const unsigned better =
                ~Lanes::notGreater(least, f) & Lanes::notGreater(squared, outer);
            least = Lanes::select(better, f, least);
            p[0] = Lanes::select(better, i, p[0]);
            p[1] = Lanes::select(better, j, p[1]);
            p[2] = Lanes::select(better, k, p[2]);
        }
    }
}

} // namespace

} // namespace zarngi::engine

#endif
