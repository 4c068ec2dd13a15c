/**
 * @file gammaTerm.h
 * gamma^2 of one evaluation point, in the order of operations that decides its last bit.
 *
 * Internal linkage, as in gridAxis.h: each vector path compiles its own copy.
 */
#ifndef ZARNGI_GAMMATERM_H
#define ZARNGI_GAMMATERM_H

/** Gy, the dose criterion of a voxel: DD percent of its reference dose (local), or the global one.
 */
static inline float doseCriterion(bool local, float referenceDose, float dd, float global)
{
    return local ? (referenceDose * dd) / 100 : global;
}

/** gamma^2 of the distance alone: r2 (mm^2) over the squared DTA, by two divisions. */
static inline float distanceTerm(float r2, float dta)
{
    return (r2 / dta) / dta;
}

/** gamma^2 of a dose difference (Gy) and a distance term, by two divisions by the criterion. */
static inline float gammaSquared(float DDterm, float criterion, float distance)
{
    return ((DDterm * DDterm) / criterion) / criterion + distance;
}

#endif
