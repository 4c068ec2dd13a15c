/**
 * @file cellPlane.h
 * The box of lattice points in a cell that can matter, by the plane through the doses of the cell.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_CELLPLANE_H
#define ZARNGI_LATTICE_STAGES_CELLPLANE_H

#include "lanes/lanes.h"
#include "lattice/pass.h"
#include "lattice/stages/cellDoses.h"
#include "lattice/stages/cellList.h"
#include "lattice/stages/voxelTable.h"

namespace zarngi::engine
{

namespace
{

/** A box of lattice points in each lane. */
struct PointBox {
    Lanes::F first[3];
    Lanes::F last[3];
    Lanes::F centre[3]; ///< where the plane is lowest, in the box or not
};

/** Cuts boxes of points in cells to what can matter. */
class CellPlane
{
public:
    /** The slopes are those of the list. */
    CellPlane(const SearchPass& pass, const VoxelTable& voxels, const CellList& cells)
        : pass_(pass), voxels_(voxels), cells_(cells)
    {
    }

    static void cutToBall(PointBox& box, Lanes::F squaredRadius);
    [[nodiscard]] unsigned shrink(PointBox& box, const CellDoses& doses,
                                  const Lanes::F (&offset)[3], Lanes::I voxels) const;

private:
    using F = Lanes::F;

    /** u = atOrigin + the sum of perStep[a] times the lattice index on axis a, give or take error.
     */
    struct Plane {
        F atOrigin;
        F perStep[3];
        F error;
    };

    /** What points must not exceed to matter. */
    struct Limits {
        F threshold;
        F root;           ///< of the threshold
        F squaredRise[3]; ///< of the plane, per step
        F steepness;      ///< their sum
        F weightSquared;  ///< of the plane against the distance, 0 to 1
        F slack;          ///< steps: centres and widths are off by some roundings of their sizes
    };

    [[nodiscard]] Plane planeIn(const CellDoses& doses, const F (&offset)[3],
                                const PointBox& box) const;
    [[nodiscard]] Limits limitsOf(const Plane& plane, Lanes::I voxels) const;
    [[nodiscard]] unsigned cutToParaboloid(PointBox& box, const Plane& plane,
                                           const Limits& limits) const;
    static void cutToPlane(PointBox& box, const Plane& plane, const Limits& limits);

    /** Raises the threshold of the plane's paraboloid by the rounding of both: 256 roundings. */
    static constexpr float planeMargin = 1 + 0x1p-16F;

    const SearchPass& pass_;
    const VoxelTable& voxels_;
    const CellList& cells_;
};

/** Cuts a box to the part within a squared distance of the origin. */
void CellPlane::cutToBall(PointBox& box, F squaredRadius)
{
    const F zero = Lanes::all(0);
    F nearest[3];
    for (int a = 0; a < 3; ++a) {
        const F distance = Lanes::max(Lanes::max(box.first[a], zero - box.last[a]), zero);
        nearest[a] = distance * distance;
    }
    for (int a = 0; a < 3; ++a) {
        const F rest = squaredRadius - nearest[(a + 1) % 3] - nearest[(a + 2) % 3];
        // One hundredth, and the roundings of large squares.
        const F reach =
            rootFromAbove(Lanes::max(rest, zero) + squaredRadius * Lanes::all(0x1p-20F)) +
            Lanes::all(0.01F);
        // max and min give their second operand if the first one is not a number.
        box.first[a] = Lanes::max(zero - reach, box.first[a]);
        box.last[a] = Lanes::min(reach, box.last[a]);
    }
}

/**
 * The plane through the doses in the middle of a box.
 *
 * With the fractions s from the middle, of at most h on each axis, u = plane + XY sx sy + XZ sx sz
 * + YZ sy sz + XYZ sx sy sz, where the plane is that of the dose and the rises in the middle. So u
 * differs from it by at most twist = |XY| hx hy + |XZ| hx hz + |YZ| hy hz + |XYZ| hx hy hz.
 */
inline CellPlane::Plane CellPlane::planeIn(const CellDoses& doses, const F (&offset)[3],
                                           const PointBox& box) const
{
    const F(&t)[8] = doses.term;
    const F half = Lanes::all(0.5F);
    F middle[3];
    F s[3]; // fractions of the middle
    F h[3];
    for (int a = 0; a < 3; ++a) {
        const F slope = Lanes::all(cells_.slope[a]);
        middle[a] = (box.first[a] + box.last[a]) * half;
        s[a] = Lanes::mulAdd(slope, middle[a], offset[a]);
        h[a] = (box.last[a] - box.first[a]) * half * slope;
    }
    const F xy = Lanes::mulAdd(t[7], s[2], t[3]);
    const F xz = Lanes::mulAdd(t[7], s[1], t[5]);
    const F yz = Lanes::mulAdd(t[7], s[0], t[6]);
    const F y = Lanes::mulAdd(t[6], s[2], t[2]);
    const F rise[3] = {Lanes::mulAdd(xy, s[1], Lanes::mulAdd(t[5], s[2], t[1])),
                       Lanes::mulAdd(xy, s[0], y),
                       Lanes::mulAdd(yz, s[1], Lanes::mulAdd(t[5], s[0], t[4]))};
    const F hxy = h[0] * h[1];
    const F perHz = Lanes::mulAdd(absolute(xz), h[0], absolute(yz) * h[1]);
    const F twist =
        Lanes::mulAdd(Lanes::mulAdd(absolute(t[7]), hxy, perHz), h[2], absolute(xy) * hxy);
    Plane plane;
    plane.error = doses.planeError + twist;
    plane.atOrigin =
        Lanes::mulAdd(rise[0], s[0], Lanes::mulAdd(y, s[1], Lanes::mulAdd(t[4], s[2], t[0])));
    for (int a = 0; a < 3; ++a) {
        plane.perStep[a] = rise[a] * Lanes::all(cells_.slope[a]);
        plane.atOrigin = Lanes::mulSub(plane.perStep[a], middle[a], plane.atOrigin);
    }
    return plane;
}

/** What points of some voxels must not exceed to matter, where u is near a plane. */
inline CellPlane::Limits CellPlane::limitsOf(const Plane& plane, Lanes::I voxels) const
{
    Limits limits;
    limits.threshold = Lanes::spread(voxels_.threshold, voxels);
    limits.root = Lanes::spread(voxels_.root, voxels);
    for (int a = 0; a < 3; ++a) {
        limits.squaredRise[a] = plane.perStep[a] * plane.perStep[a];
    }
    limits.steepness = limits.squaredRise[0] + limits.squaredRise[1] + limits.squaredRise[2];
    const F beyond = Lanes::max((limits.threshold - Lanes::all(pass_.outerRim)) * limits.steepness,
                                Lanes::all(1e-30F));
    limits.weightSquared =
        Lanes::min(Lanes::all(pass_.outerRoot) * Lanes::roughInverseRoot(beyond), Lanes::all(1));
    limits.slack = Lanes::mulAdd(plane.error + limits.root, Lanes::all(0x1p-18F),
                                 Lanes::all(0.01F + 0x1p-18F * pass_.outerRoot));
    return limits;
}

/**
 * Cuts boxes to where the plane can come low enough; returns the lanes in which something is left.
 *
 * Let T be the threshold, e the error of the plane in all, and |P| its value. Points that matter
 * have |P| <= sqrt(T - r^2) + e and, as all points of the shells, r^2 <= outer. So for any weight
 * from 0 to 1
 *
 *     weight^2 P^2 + r^2 <= weight^2 (T + e (2 sqrt(T) + e)) + (1 - weight^2) outer
 *
 * The left side is a paraboloid over (i, j, k): its part below a value is an ellipsoid. It also
 * lies in a ball around the ellipsoid's centre c = -towards * slopes, where e counts less:
 *
 *     |p - c|^2 <= weight^2 T + (1 - weight^2) outer + 2 |towards| e - atOrigin * towards
 *
 * What the ball leaves on an axis shrinks with the distances of the box from c on the others.
 */
inline unsigned CellPlane::cutToParaboloid(PointBox& box, const Plane& plane,
                                           const Limits& limits) const
{
    const F zero = Lanes::all(0);
    const F one = Lanes::all(1);
    const F outer = Lanes::all(pass_.outerRim);
    const F weightSquared = limits.weightSquared;
    const F e = plane.error;
    const F perSteepness = inverse(Lanes::mulAdd(limits.steepness, weightSquared, one));
    const F towards = plane.atOrigin * weightSquared * perSteepness;
    const F raised = Lanes::mulAdd(limits.threshold, weightSquared,
                                   (Lanes::all(1 + 0x1p-20F) - weightSquared) * outer);
    const F raisedError = e * Lanes::all(planeMargin);
    const F excess = Lanes::mulSub(plane.atOrigin, towards, raised * Lanes::all(planeMargin));
    const F inBall = Lanes::mulAdd(absolute(towards), raisedError + raisedError, excess);
    const F inEllipsoid =
        Lanes::mulAdd(weightSquared * raisedError, limits.root + limits.root + e, excess);
    F(&centre)[3] = box.centre;
    F nearest[3];
    F rest = inBall;
    for (int a = 0; a < 3; ++a) {
        centre[a] = zero - towards * plane.perStep[a];
        const F outside =
            Lanes::max(Lanes::max(box.first[a] - centre[a], centre[a] - box.last[a]), zero);
        nearest[a] = outside * outside;
        rest = rest - nearest[a];
    }
    const F perExcess = Lanes::max(inEllipsoid, zero) * perSteepness;
    for (int a = 0; a < 3; ++a) {
        const F(&squaredRise)[3] = limits.squaredRise;
        const F across =
            Lanes::mulAdd(squaredRise[(a + 1) % 3] + squaredRise[(a + 2) % 3], weightSquared, one);
        const F squared = Lanes::min(perExcess * across, Lanes::max(rest, zero) + nearest[a]);
        const F width = rootFromAbove(squared) + limits.slack;
        // max and min give their second operand if the first one is not a number.
        box.first[a] = Lanes::max(centre[a] - width, box.first[a]);
        box.last[a] = Lanes::min(centre[a] + width, box.last[a]);
    }
    return Lanes::notGreater(zero, rest) & Lanes::notGreater(zero, inEllipsoid);
}

/**
 * Cuts boxes to where the plane comes as low as sqrt(T - r^2) + e, r being that of the point of the
 * box nearest to the origin.
 *
 * With the plane's value and half widths h at the middle, |value + the sum of rise[a] d[a]| may
 * be at most that; as |d| <= h, on axis a only |d[a] + value / rise[a]| <= (that + the sum of
 * |rise| h) / |rise[a]| - h[a] is left.
 */
inline void CellPlane::cutToPlane(PointBox& box, const Plane& plane, const Limits& limits)
{
    const F zero = Lanes::all(0);
    F value = plane.atOrigin;
    F sum = plane.error;
    F rest = limits.threshold * Lanes::all(1 + 0x1p-20F);
    F half[3];
    F middle[3];
    for (int a = 0; a < 3; ++a) {
        half[a] = (box.last[a] - box.first[a]) * Lanes::all(0.5F);
        middle[a] = box.first[a] + half[a];
        value = Lanes::mulAdd(plane.perStep[a], middle[a], value);
        sum = Lanes::mulAdd(absolute(plane.perStep[a]), half[a], sum);
        const F nearest = Lanes::max(Lanes::max(box.first[a], zero - box.last[a]), zero);
        rest = Lanes::mulSub(nearest, nearest, rest);
    }
    const F reach = (sum + Lanes::sqrt(Lanes::max(rest, zero))) * Lanes::all(1 + 0x1p-18F);
    for (int a = 0; a < 3; ++a) {
        const F perRise = inverse(plane.perStep[a]);
        const F centre = Lanes::mulSub(value, perRise, middle[a]);
        const F width = Lanes::mulAdd(reach, absolute(perRise), limits.slack - half[a]);
        // max and min give their second operand if the first one is not a number.
        box.first[a] = Lanes::max(centre - width, box.first[a]);
        box.last[a] = Lanes::min(centre + width, box.last[a]);
    }
}

/** Shrinks boxes to what can matter; returns the lanes in which something is left. */
__attribute__((always_inline)) inline unsigned CellPlane::shrink(PointBox& box,
                                                                 const CellDoses& doses,
                                                                 const F (&offset)[3],
                                                                 Lanes::I voxels) const
{
    const F zero = Lanes::all(0);
    const Plane plane = planeIn(doses, offset, box);
    const Limits limits = limitsOf(plane, voxels);
    unsigned open = cutToParaboloid(box, plane, limits);
    // Where the rim of the shell ends the search, the plane may exclude much of the ball.
    const unsigned atRim = Lanes::notGreater(limits.weightSquared, Lanes::all(0.99F));
    if ((open & atRim) != 0) {
        cutToPlane(box, plane, limits);
    }
    for (int a = 0; a < 3; ++a) {
        box.first[a] = zero - Lanes::floor(zero - box.first[a]);
        box.last[a] = Lanes::floor(box.last[a]);
        open &= Lanes::notGreater(box.first[a], box.last[a]);
    }
    return open;
}

} // namespace

} // namespace zarngi::engine

#endif
