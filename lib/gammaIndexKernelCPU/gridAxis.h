/**
 * @file gridAxis.h
 * Positions on one axis of a grid, and the dose at a position given axis by axis.
 *
 * The arithmetic of the dose readers, split so that the search can keep what depends on one axis
 * alone, and written for OneLane or for vectors with a position in each lane (Lanes, of lanes.h).
 * The latter give the bits of the former. Everything here has internal linkage: each vector path
 * compiles its own copy with its own instruction set, and the linker must not merge them.
 */
#ifndef ZARNGI_GRIDAXIS_H
#define ZARNGI_GRIDAXIS_H

namespace zarngi::engine
{

/** How the dose between voxel centres is read. */
enum class Reader {
    trilinear, ///< interpolation between eight voxel centres
    bilinear,  ///< interpolation within the nearest plane of constant z
    nearest    ///< dose of the containing voxel
};

/** Where a position lies on an axis of a grid. */
enum class Zone {
    outside, ///< not in the grid, or not a number: dose 0
    border,  ///< in the grid but not between two voxel centres: dose of the containing voxel
    centre   ///< between two voxel centres
};

/** A position on one axis of a grid. */
struct AxisPoint {
    Zone zone;
    int voxel;      ///< the containing voxel
    int lower;      ///< zone centre: the neighbouring voxel centre below
    int upper;      ///< zone centre: the neighbouring voxel centre above
    float fraction; ///< zone centre: distance from `lower`, in voxels, 0 to 1
};

/** One float, by the operations of a vector. */
struct OneLane {
    using F = float;

    static F all(float a) { return a; }
    static F min(F a, F b) { return a < b ? a : b; }
    static F whole(F a) { return static_cast<float>(static_cast<int>(a)); } ///< towards zero
};

/** Where positions lie between voxel centres. */
template <class Ops> struct BetweenCentres {
    typename Ops::F lower;    ///< the neighbouring voxel centre below, a whole number
    typename Ops::F fraction; ///< distance from it, in voxels, 0 to 1
};

/**
 * The neighbours of fractional coordinates that lie in the zone centre of an axis of n voxels. A
 * single voxel is both neighbours; the fraction then has no effect.
 */
template <class Ops> static inline BetweenCentres<Ops> betweenCentres(typename Ops::F f, int n)
{
    if (n == 1) {
        return {Ops::all(0), Ops::all(0)};
    }
    const typename Ops::F centred = f - Ops::all(0.5F);
    const typename Ops::F lower =
        Ops::min(Ops::whole(centred), Ops::all(static_cast<float>(n - 2)));
    return {lower, centred - lower};
}

/** Sets the neighbours of the fractional coordinate f, which lies in the zone centre. */
static inline void setNeighbours(AxisPoint& p, float f, int n)
{
    const BetweenCentres<OneLane> between = betweenCentres<OneLane>(f, n);
    p.lower = static_cast<int>(between.lower);
    p.upper = n == 1 ? p.lower : p.lower + 1;
    p.fraction = between.fraction;
}

/**
 * Locates the fractional coordinate f (in voxels from the lower corner of the grid) on an axis of n
 * voxels, for the interpolating readers.
 */
static inline AxisPoint locateBetweenCentres(float f, int n)
{
    AxisPoint p{Zone::outside, 0, 0, 0, 0.0F};
    if (!(f > 0.0F && f < static_cast<float>(n))) {
        return p;
    }
    p.voxel = static_cast<int>(f);
    p.zone = Zone::border;
    if (f >= 0.5F && f <= static_cast<float>(n) - 0.5F) {
        p.zone = Zone::centre;
        setNeighbours(p, f, n);
    }
    return p;
}

/** Locates f for the reader of the containing voxel: truncation towards zero, so -1 < f < n. */
static inline AxisPoint locateVoxel(float f, int n)
{
    AxisPoint p{Zone::outside, 0, 0, 0, 0.0F};
    if (f > -1.0F && f < static_cast<float>(n)) {
        p.zone = Zone::border;
        p.voxel = static_cast<int>(f);
    }
    return p;
}

static inline AxisPoint locate(float position, float x0, float h, int n, Reader reader)
{
    const float f = (position - x0) / h;
    return reader == Reader::nearest ? locateVoxel(f, n) : locateBetweenCentres(f, n);
}

/** The plane of voxel centres nearest to a point of the zone centre; midway: the upper one. */
static inline int nearestPlane(const AxisPoint& p)
{
    return static_cast<int>(p.fraction + 0.5F) != 0 ? p.upper : p.lower;
}

/** Linear interpolation: F is a float or a vector. */
template <class F> static inline F mix(F lower, F upper, F fraction)
{
    return lower * (1.0F - fraction) + upper * fraction;
}

/** Doses between voxel centres and how they change along the axes. */
template <class Ops> struct LinearDose {
    typename Ops::F dose;
    typename Ops::F perVoxel[3]; ///< Gy per voxel
};

/**
 * Within a plane of constant z, between the doses at the four neighbours in x and y. (Inlined: most
 * callers want the dose alone.)
 */
template <class Ops>
__attribute__((always_inline)) static inline LinearDose<Ops>
linearInPlane(typename Ops::F lowerLow, typename Ops::F lowerHigh, typename Ops::F upperLow,
              typename Ops::F upperHigh, typename Ops::F x, typename Ops::F y)
{
    const typename Ops::F lower = mix(lowerLow, lowerHigh, x);
    const typename Ops::F upper = mix(upperLow, upperHigh, x);
    return {mix(lower, upper, y),
            {mix(lowerHigh - lowerLow, upperHigh - upperLow, y), upper - lower, Ops::all(0)}};
}

/** Between two such planes. */
template <class Ops>
static inline LinearDose<Ops> linearBetween(const LinearDose<Ops>& below,
                                            const LinearDose<Ops>& above, typename Ops::F z)
{
    return {mix(below.dose, above.dose, z),
            {mix(below.perVoxel[0], above.perVoxel[0], z),
             mix(below.perVoxel[1], above.perVoxel[1], z), above.dose - below.dose}};
}

static inline int voxelIndex(const int* n, int ix, int iy, int iz)
{
    return ix + n[0] * iy + n[0] * n[1] * iz;
}

/** The indices of a voxel on the three axes. */
struct VoxelPlace {
    int index[3];
};

/** Where the voxel with that index is. */
static inline VoxelPlace placeOf(const int* n, int voxel)
{
    return {{voxel % n[0], voxel / n[0] % n[1], voxel / n[0] / n[1]}};
}

/** The doses around a point within the plane iz. */
__attribute__((always_inline)) static inline LinearDose<OneLane>
linearInPlane(const float* map, const int* n, const AxisPoint& x, const AxisPoint& y, int iz)
{
    const float* const lower = map + voxelIndex(n, 0, y.lower, iz);
    const float* const upper = map + voxelIndex(n, 0, y.upper, iz);
    return linearInPlane<OneLane>(lower[x.lower], lower[x.upper], upper[x.lower], upper[x.upper],
                                  x.fraction, y.fraction);
}

/** Dose interpolated along x and y within the plane iz. */
static inline float mixInPlane(const float* map, const int* n, const AxisPoint& x,
                               const AxisPoint& y, int iz)
{
    return linearInPlane(map, n, x, y, iz).dose;
}

/** The dose at the point located on the three axes. */
static inline float doseAtPoint(const float* map, const int* n, const AxisPoint& x,
                                const AxisPoint& y, const AxisPoint& z, Reader reader)
{
    if (x.zone == Zone::outside || y.zone == Zone::outside || z.zone == Zone::outside) {
        return 0.0F;
    }
    if (x.zone == Zone::border || y.zone == Zone::border || z.zone == Zone::border) {
        return map[voxelIndex(n, x.voxel, y.voxel, z.voxel)];
    }
    if (reader == Reader::bilinear) {
        return mixInPlane(map, n, x, y, nearestPlane(z));
    }
    return mix(mixInPlane(map, n, x, y, z.lower), mixInPlane(map, n, x, y, z.upper), z.fraction);
}

/** The trilinear dose at a point of the zone centre on all axes, with its gradient. */
static inline LinearDose<OneLane> linearDose(const float* map, const int* n, const AxisPoint& x,
                                             const AxisPoint& y, const AxisPoint& z)
{
    return linearBetween(linearInPlane(map, n, x, y, z.lower), linearInPlane(map, n, x, y, z.upper),
                         z.fraction);
}

} // namespace zarngi::engine

#endif
