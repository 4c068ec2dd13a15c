/**
 * @file pointList.h
 * Points that may matter: the last of them are evaluated exactly.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_POINTLIST_H
#define ZARNGI_LATTICE_STAGES_POINTLIST_H

#include "lanes/lanes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/points.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/**
 * Points of which f is known approximately.
 *
 * They wait until the thresholds of their voxels have come down: most of them need not be evaluated
 * then.
 */
class PointList
{
public:
    PointList(const SearchPass& pass, VoxelTable& voxels) : pass_(pass), voxels_(voxels) {}

    /** Adds the points p of some lanes. */
    void add(unsigned lanes, Lanes::I voxels, const Lanes::F (&p)[3], Lanes::F f, Lanes::F error)
    {
        if (count_ > maxPoints - Lanes::width) {
            considerAll();
        }
        Lanes::storeChosen(voxel_ + count_, lanes, voxels);
        for (int a = 0; a < 3; ++a) {
            Lanes::storeChosen(point_[a] + count_, lanes, p[a]);
        }
        Lanes::storeChosen(f_ + count_, lanes, f);
        Lanes::storeChosen(error_ + count_, lanes, error);
        count_ += __builtin_popcount(lanes);
    }

    /** Evaluates the points that can still matter, and empties the list. */
    void considerAll()
    {
        const int count = count_;
        count_ = 0;
        // The last vector is looked up whole.
        Lanes::storeIndices(voxel_ + count, Lanes::allIndices(0));
        int chosen = 0; // not yet evaluated, at the front of the list
        for (int at = 0; at < count; at += Lanes::width) {
            chosen += choose(at, smaller(count - at, Lanes::width), chosen);
            if (chosen >= Lanes::width) {
                chosen -= Lanes::width;
                consider(Lanes::width);
                moveToFront(chosen);
            }
        }
        if (chosen > 0) {
            consider(chosen);
        }
    }

private:
    using F = Lanes::F;
    static constexpr int maxPoints = 256;

    /** Chooses those of the points at a place that can matter; returns how many. */
    int choose(int at, int points, int chosen)
    {
        const Lanes::I voxels = Lanes::loadIndices(voxel_ + at);
        const F p[3] = {Lanes::load(point_[0] + at), Lanes::load(point_[1] + at),
                        Lanes::load(point_[2] + at)};
        const F allowed = voxels_.allowed(voxels, Lanes::load(error_ + at), p[2]);
        const unsigned open = Lanes::notGreater(Lanes::load(f_ + at), allowed) &
                              (Lanes::everyLane >> (Lanes::width - points));
        if (open == 0) {
            return 0;
        }
        Lanes::storeChosen(chosenVoxel_ + chosen, open, voxels);
        for (int a = 0; a < 3; ++a) {
            Lanes::storeChosen(chosen_[a] + chosen, open, p[a]);
        }
        return __builtin_popcount(open);
    }

    /** Moves the chosen points behind the first vector to the front. */
    void moveToFront(int count)
    {
        if (count == 0) {
            return;
        }
        Lanes::storeIndices(chosenVoxel_, Lanes::loadIndices(chosenVoxel_ + Lanes::width));
        for (float(&index)[2 * Lanes::width] : chosen_) {
            Lanes::store(index, Lanes::load(index + Lanes::width));
        }
    }

    void consider(int count);

    const SearchPass& pass_;
    VoxelTable& voxels_;
    int count_ = 0;
    alignas(64) int voxel_[maxPoints + Lanes::width];
    alignas(64) float point_[3][maxPoints + Lanes::width]; ///< lattice indices
    alignas(64) float f_[maxPoints + Lanes::width];
    alignas(64) float error_[maxPoints + Lanes::width]; ///< of u
    alignas(64) int chosenVoxel_[2 * Lanes::width];
    alignas(64) float chosen_[3][2 * Lanes::width];
};

/** Evaluates the first chosen points. */
void PointList::consider(int count)
{
    for (int lane = count; lane < Lanes::width; ++lane) { // repeat the first point
        chosenVoxel_[lane] = chosenVoxel_[0];
        for (float(&index)[2 * Lanes::width] : chosen_) {
            index[lane] = index[0];
        }
    }
    const Lanes::I voxels = Lanes::loadIndices(chosenVoxel_);
    F p[3];
    F origin[3];
    for (int a = 0; a < 3; ++a) {
        p[a] = Lanes::load(chosen_[a]);
        origin[a] = Lanes::spread(voxels_.origin[a], voxels);
    }
    const F DDterm =
        linearDoses(pass_, origin, p).dose - Lanes::spread(voxels_.referenceDose, voxels);
    const F r2 = squaredDistances(pass_, p);
    const F Gammasq = gammasSquared(pass_, DDterm, Lanes::spread(voxels_.delta, voxels), r2);
    unsigned better = improvements(Gammasq, r2, Lanes::spread(voxels_.best, voxels),
                                   Lanes::spread(voxels_.bestDistanceSquared, voxels)) &
                      (Lanes::everyLane >> (Lanes::width - count));
    if (better == 0) {
        return;
    }
    alignas(64) float gammas[Lanes::width];
    alignas(64) float distances[Lanes::width];
    Lanes::store(gammas, Gammasq);
    Lanes::store(distances, r2);
    for (better = members(pass_, p, better); better != 0; better &= better - 1) {
        const int lane = __builtin_ctz(better);
        const int voxel = chosenVoxel_[lane];
        voxels_.take(voxel, {gammas[lane],
                             distances[lane],
                             {chosen_[0][lane], chosen_[1][lane], chosen_[2][lane]}});
    }
}

} // namespace

} // namespace zarngi::engine

#endif
