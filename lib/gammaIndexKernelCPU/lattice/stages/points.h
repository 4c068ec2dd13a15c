/**
 * @file points.h
 * Exact values at lattice points between voxel centres, one point of one voxel in each lane.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_POINTS_H
#define ZARNGI_LATTICE_STAGES_POINTS_H

#include <cstdint>

#include "doseGrid.h"
#include "gammaTerm.h"
#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/pass.h"
#include "lattice/radiusGaps.h"

namespace zarngi::engine
{

namespace
{

/** The doses of the voxels `at` and of their neighbours along x, where there are any. */
inline void gatherRow(const int* n, const float* map, Lanes::I at, Lanes::F& low, Lanes::F& high)
{
    if (n[0] > 1) {
        Lanes::gatherPairs(map, at, low, high);
    } else {
        low = Lanes::gather(map, at);
        high = low;
    }
}

/**
 * The doses at positions (mm) between voxel centres, in the order of operations of the readers;
 * not that of the containing voxel.
 */
inline LinearDose<Lanes> linearDoses(const DoseGrid& grid, Reader reader,
                                     const Lanes::F (&position)[3])
{
    using F = Lanes::F;
    const int* const n = grid.n;
    F lower[3];
    F fraction[3];
    for (int a = 0; a < 3; ++a) {
        const BetweenCentres<Lanes> between = betweenCentres<Lanes>(
            (position[a] - Lanes::all(grid.x0[a])) / Lanes::all(grid.h[a]), n[a]);
        lower[a] = between.lower;
        fraction[a] = between.fraction;
    }
    const bool isPlanar = reader == Reader::bilinear;
    if (isPlanar && n[2] > 1) {
        lower[2] = lower[2] + Lanes::whole(fraction[2] + Lanes::all(0.5F)); // as nearestPlane
    }
    const int back = n[1] > 1 ? n[0] : 0;
    const Lanes::I at =
        Lanes::sum(Lanes::truncated(lower[0]),
                   Lanes::times(Lanes::sum(Lanes::truncated(lower[1]),
                                           Lanes::times(Lanes::truncated(lower[2]), n[1])),
                                n[0]));
    const auto inPlane = [&](const float* from) {
        F lowerLow;
        F lowerHigh;
        F upperLow;
        F upperHigh;
        gatherRow(n, from, at, lowerLow, lowerHigh);
        gatherRow(n, from + back, at, upperLow, upperHigh);
        return linearInPlane<Lanes>(lowerLow, lowerHigh, upperLow, upperHigh, fraction[0],
                                    fraction[1]);
    };
    const LinearDose<Lanes> below = inPlane(grid.map);
    if (isPlanar) {
        return below;
    }
    return linearBetween(below, inPlane(grid.map + (n[2] > 1 ? n[0] * n[1] : 0)), fraction[2]);
}

/** The doses at lattice points around sample points (mm) that lie between voxel centres. */
inline LinearDose<Lanes> linearDoses(const SearchPass& pass, const Lanes::F (&origin)[3],
                                     const Lanes::F (&p)[3])
{
    Lanes::F position[3];
    for (int a = 0; a < 3; ++a) {
        position[a] = origin[a] + p[a] * Lanes::all(pass.stepSize);
    }
    return linearDoses(pass.evaluation, pass.reader, position);
}

/** The largest lattice index along z in the columns with i^2 + j^2 = squared: no point lies beyond.
 */
inline Lanes::F latticeRim(const SearchPass& pass, Lanes::F squared)
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    const F hundredth = Lanes::all(0.01F);
    const F within = Lanes::max(Lanes::all(pass.outerRim) - squared, zero);
    const F rim = rounded(Lanes::sqrt(within + hundredth) - Lanes::all(0.499F));
    if (!pass.isRagged) {
        return rim;
    }
    // sqrt(M^2 - squared) + 0.5, rounded down, with a margin for the rounding of the squares.
    const F whole = Lanes::all(static_cast<float>(pass.wholeSquared) * (1 + 0x1p-21F));
    const F rest = Lanes::max(whole - squared, zero);
    return Lanes::min(rim, rounded(Lanes::sqrt(rest + hundredth) + Lanes::all(0.001F)));
}

/**
 * The lanes whose point lies within the loop bounds of a ragged shell's enumeration: |i| <= M,
 * |j| <= sqrt(M^2 - i^2) + 0.5, |k| <= sqrt(M^2 - i^2 - j^2) + 0.5, rounded down, with M whole
 * steps in the radius. `side` is -1: those for certain, or 1: all that may. Between them are the
 * points within a hundredth of these bounds, or within the rounding of the squares.
 */
inline unsigned withinLoopBounds(const SearchPass& pass, const Lanes::F (&p)[3], float side)
{
    using F = Lanes::F;
    const F zero = Lanes::all(0);
    const F half = Lanes::all(0.5F + side * 0.01F);
    const float whole = static_cast<float>(pass.wholeSquared) * (1 + side * 0x1p-21F);
    const F inRow = Lanes::all(whole + side * 0.01F) - p[0] * p[0];
    const F inColumn = inRow - p[1] * p[1];
    const F steps = Lanes::all(static_cast<float>(pass.outerIndex));
    return Lanes::notGreater(absolute(p[0]), steps) &
           Lanes::notGreater(absolute(p[1]), Lanes::sqrt(Lanes::max(inRow, zero)) + half) &
           Lanes::notGreater(absolute(p[2]), Lanes::sqrt(Lanes::max(inColumn, zero)) + half);
}

/**
 * The lanes whose point belongs for certain to the shell or an earlier one.
 *
 * Up to wholeSquared no point is left out but in the gaps of earlier shells. Beyond it, within a
 * ragged shell, the loop bounds of the enumeration decide.
 */
inline unsigned certainMembers(const SearchPass& pass, const Lanes::F (&p)[3])
{
    using F = Lanes::F;
    const F squared = squaredDistance(p[0], p[1], p[2]);
    unsigned within = Lanes::notGreater(squared, Lanes::all(static_cast<float>(pass.wholeSquared)));
    for (const RadiusGap& gap : pass.gaps) {
        within &= Lanes::notGreater(squared, Lanes::all(gap.after)) |
                  ~Lanes::notGreater(squared, Lanes::all(gap.upTo));
    }
    if (!pass.isRagged || within == Lanes::everyLane) {
        return within;
    }
    return within | (Lanes::notGreater(squared, Lanes::all(pass.outerWhole)) &
                     ~Lanes::notGreater(squared, Lanes::all(pass.shell.innerRadiusSquared())) &
                     withinLoopBounds(pass, p, -1));
}

/** The lanes whose point may belong to the shell or an earlier one: the others do not. */
inline unsigned possibleMembers(const SearchPass& pass, const Lanes::F (&p)[3])
{
    if (!pass.isRagged) {
        return Lanes::everyLane;
    }
    const Lanes::F squared = squaredDistance(p[0], p[1], p[2]);
    return Lanes::notGreater(squared, Lanes::all(pass.shell.innerRadiusSquared())) |
           withinLoopBounds(pass, p, 1);
}

/** Those of the lanes whose point belongs to the shell or an earlier one. */
inline unsigned members(const SearchPass& pass, const Lanes::F (&p)[3], unsigned lanes)
{
    const unsigned sure = certainMembers(pass, p) & lanes;
    if (sure == lanes) {
        return lanes;
    }
    const unsigned possible = possibleMembers(pass, p) & lanes;
    if (sure == possible) {
        return sure;
    }
    alignas(64) float index[3][Lanes::width];
    for (int a = 0; a < 3; ++a) {
        Lanes::store(index[a], p[a]);
    }
    unsigned found = sure;
    for (unsigned open = possible & ~sure; open != 0; open &= open - 1) {
        const int lane = __builtin_ctz(open);
        const bool isMember = pass.isEnumerated(static_cast<std::int64_t>(index[0][lane]),
                                                static_cast<std::int64_t>(index[1][lane]),
                                                static_cast<std::int64_t>(index[2][lane]));
        found |= isMember ? 1U << lane : 0U;
    }
    return found;
}

/** Squared distances (mm^2) of lattice points, in the specified order of operations. */
inline Lanes::F squaredDistances(const SearchPass& pass, const Lanes::F (&p)[3])
{
    const Lanes::F step = Lanes::all(pass.stepSize);
    return squaredDistance(p[0] * step, p[1] * step, p[2] * step);
}

/** gamma^2 of dose differences (Gy) at squared distances r2. */
inline Lanes::F gammasSquared(const SearchPass& pass, Lanes::F DDterm, Lanes::F criterion,
                              Lanes::F r2)
{
    return gammaSquared(DDterm, criterion, distanceTerm(r2, Lanes::all(pass.dta)));
}

/** The lanes whose point is better than the best one so far: less gamma^2, or as much but nearer.
 */
inline unsigned improvements(Lanes::F Gammasq, Lanes::F r2, Lanes::F best, Lanes::F bestSquared)
{
    const unsigned less = ~Lanes::notGreater(best, Gammasq);
    // Not greater, not less, and not "not a number".
    const unsigned equal = ~less & Lanes::notGreater(Gammasq, best) &
                           ~Lanes::notGreater(Lanes::all(__builtin_inff()), Gammasq);
    return less | (equal & ~Lanes::notGreater(bestSquared, r2));
}

} // namespace

} // namespace zarngi::engine

#endif
