/**
 * @file bestPoint.h
 * The best point of a voxel.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_BESTPOINT_H
#define ZARNGI_LATTICE_STAGES_BESTPOINT_H

#include "lattice/scratch.h"

namespace zarngi::engine
{

namespace
{

/** A point that has been looked at, and what it is worth: the best one of a voxel so far. */
struct BestPoint {
    /** Whether this point takes the place of another one: less gamma^2, or as much but nearer. */
    [[nodiscard]] bool isBetterThan(const BestPoint& other) const
    {
        // Of points with equal gamma^2 the nearest one counts, as when they are visited in order.
        return gammasq < other.gammasq ||
               (gammasq == other.gammasq && distanceSquared < other.distanceSquared);
    }

    float gammasq;
    float distanceSquared; ///< mm^2; 0 if no point has been better yet in this pass
    LatticePoint point;    ///< the origin where there is none
};

} // namespace

} // namespace zarngi::engine

#endif
