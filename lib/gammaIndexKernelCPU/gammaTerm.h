/**
 * @file gammaTerm.h
 * gamma^2 of one evaluation point, in the order of operations that decides its last bit.
 *
 * F is a float, or a vector with a point in each lane. Internal linkage, as in gridAxis.h: each
 * vector path compiles its own copy.
 */
#ifndef ZARNGI_GAMMATERM_H
#define ZARNGI_GAMMATERM_H

namespace zarngi::engine
{

/** Gy, the dose criterion of a voxel: DD percent of its reference dose (local), or the global one.
 */
static inline float doseCriterion(bool local, float referenceDose, float dd, float global)
{
    return local ? (referenceDose * dd) / 100 : global;
}

/** The squared distance of a point from the origin: mm^2, or squared steps. */
template <class F> static inline F squaredDistance(F x, F y, F z)
{
    return (x * x + y * y) + z * z;
}

/** gamma^2 of the distance alone: r2 (mm^2) over the squared DTA, by two divisions. */
template <class F> static inline F distanceTerm(F r2, F dta)
{
    return (r2 / dta) / dta;
}

/** gamma^2 of a dose difference (Gy) and a distance term, by two divisions by the criterion. */
template <class F> static inline F gammaSquared(F DDterm, F criterion, F distance)
{
    return ((DDterm * DDterm) / criterion) / criterion + distance;
}

} // namespace zarngi::engine

#endif
