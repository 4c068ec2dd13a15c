/**
 * @file pointGroups.h
 * The search of a shell whose points are rotated: they are no tensor product any more.
 *
 * The points are kept in small groups of neighbours. The dose at a group's centre and the steepest
 * change of dose around it bound the doses of the whole group, which leaves most groups out.
 */
#ifndef ZARNGI_ROTATED_POINTGROUPS_H
#define ZARNGI_ROTATED_POINTGROUPS_H

#include <cstdint>
#include <vector>

#include "lattice/axes.h"
#include "searchCriteria.h"

namespace zarngi::engine
{

/** A shell's rotated points, group by group, nearest group first. */
struct RotatedPoints : SearchCriteria {
    /** Rotates `points` (mm) by Rot. */
    RotatedPoints(const SearchCriteria& criteria, const std::vector<vec3dRT>& points,
                  const LatticeAxes& axes);

    /** Points per group; groups with fewer are filled up with their first point. */
    static constexpr int groupSize = 16;

    const LatticeAxes* axes;
    float rotation[3][3];
    std::int64_t wholeSquared; ///< up to this squared radius in steps no point is left out
    std::int32_t groupCount;
    std::vector<float> point[3];  ///< mm, groupSize per group
    std::vector<float> centre[3]; ///< mm, of a group's box along the axes of the grids, per group;
                                  ///< padded behind the last one
    std::vector<float> corner[3]; ///< mm, its lower corner
    std::vector<float> extent;    ///< its size, as a share of the largest box, per group
    std::vector<float> nearest;   ///< mm^2, per group: no point of it is nearer
    float halfExtent[3];          ///< mm, of the largest box
    float reach;                  ///< mm, no point is farther
    float largestDistanceTerm;    ///< gamma^2, of the farthest point
};

/**
 * Searches the points around a voxel, if all of them lie between voxel centres, and lowers its
 * gammasq. Returns false, and does nothing, if some point does not or if a dose is not a number.
 */
using PointSearch = bool (*)(const RotatedPoints& points, ActiveVoxel& voxel);

} // namespace zarngi::engine

#endif
