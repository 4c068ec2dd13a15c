/**
 * @file farPoint.h
 * Whether a point so far out has been searched that a voxel is final.
 */
#ifndef ZARNGI_LATTICE_FARPOINT_H
#define ZARNGI_LATTICE_FARPOINT_H

#include <cstdint>

#include "searchCriteria.h"
#include "shellLattice.h"

namespace zarngi::engine
{

struct SearchPass;

/**
 * Points with larger squared indices have larger distance terms up to this radius in steps: squares
 * of indices differ by 2^-20 at least, and distance terms are off by seven roundings of 2^-24 each.
 */
constexpr std::int64_t largestOrderedRadius = 1024;

/** A point of a shell that is nearly or quite the farthest one. */
struct FarPoint {
    std::int32_t index[3]; ///< lattice indices
    float distanceTerm;    ///< gamma^2; -1: no such point is known
};

/** The far point of a shell that leaves out no point up to a squared radius in steps. */
FarPoint findFarPoint(const SearchCriteria& criteria, const ShellLattice& shell,
                      std::int64_t wholeSquared);

/**
 * Whether the shells so far hold a point inside the evaluation box whose distance term alone
 * reaches a voxel's gammasq: no point farther out can lower it then.
 *
 * Visiting the points in order of distance ends the voxel's search at the first such point. Whether
 * there is one does not depend on the order: the distance term never decreases along the list, and
 * gammasq is final once all points of the shell have been taken into account. Earlier shells matter
 * to voxels that their passes have left to this one.
 *
 * `index` is that of the voxel on each axis of the reference grid.
 */
bool isFinal(const SearchPass& pass, const std::int32_t (&index)[3], float gammasq);

} // namespace zarngi::engine

#endif
