/**
 * @file gridAxis.h
 * Positions on one axis of a grid, and the dose at a position given axis by axis.
 *
 * The arithmetic of the dose readers, split so that the search can keep what depends on one axis
 * alone. Everything here has internal linkage: each vector path compiles its own copy with its own
 * instruction set, and the linker must not merge them.
 */
#ifndef ZARNGI_GRIDAXIS_H
#define ZARNGI_GRIDAXIS_H

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

/** Sets the neighbours of the fractional coordinate f, which lies in the zone centre. */
static inline void setNeighbours(AxisPoint& p, float f, int n)
{
    if (n == 1) {
        // The single voxel is both neighbours; its fraction then has no effect.
        p.lower = 0;
        p.upper = 0;
        p.fraction = 0.0F;
        return;
    }
    p.lower = static_cast<int>(f - 0.5F);
    if (p.lower >= n - 1) {
        p.lower = n - 2;
    }
    p.upper = p.lower + 1;
    p.fraction = (f - 0.5F) - static_cast<float>(p.lower);
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

static inline float mix(float lower, float upper, float fraction)
{
    return lower * (1 - fraction) + upper * fraction;
}

static inline int voxelIndex(const int* n, int ix, int iy, int iz)
{
    return ix + n[0] * iy + n[0] * n[1] * iz;
}

/** Dose interpolated along x and y within the plane iz. */
static inline float mixInPlane(const float* map, const int* n, const AxisPoint& x,
                               const AxisPoint& y, int iz)
{
    const float* const lower = map + voxelIndex(n, 0, y.lower, iz);
    const float* const upper = map + voxelIndex(n, 0, y.upper, iz);
    return mix(mix(lower[x.lower], lower[x.upper], x.fraction),
               mix(upper[x.lower], upper[x.upper], x.fraction), y.fraction);
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

/** A dose between voxel centres and how it changes along the axes. */
struct LinearDose {
    float dose;
    float perVoxel[3]; ///< Gy per voxel
};

/** The trilinear dose at a point of the zone centre on all axes, with its gradient. */
static inline LinearDose linearDose(const float* map, const int* n, const AxisPoint& x,
                                    const AxisPoint& y, const AxisPoint& z)
{
    const float* const r00 = map + voxelIndex(n, 0, y.lower, z.lower);
    const float* const r10 = map + voxelIndex(n, 0, y.upper, z.lower);
    const float* const r01 = map + voxelIndex(n, 0, y.lower, z.upper);
    const float* const r11 = map + voxelIndex(n, 0, y.upper, z.upper);
    const float c00 = mix(r00[x.lower], r00[x.upper], x.fraction);
    const float c10 = mix(r10[x.lower], r10[x.upper], x.fraction);
    const float c01 = mix(r01[x.lower], r01[x.upper], x.fraction);
    const float c11 = mix(r11[x.lower], r11[x.upper], x.fraction);
    const float c0 = mix(c00, c10, y.fraction);
    const float c1 = mix(c01, c11, y.fraction);
    const float d0 = mix(r00[x.upper] - r00[x.lower], r10[x.upper] - r10[x.lower], y.fraction);
    const float d1 = mix(r01[x.upper] - r01[x.lower], r11[x.upper] - r11[x.lower], y.fraction);
    return {mix(c0, c1, z.fraction),
            {mix(d0, d1, z.fraction), mix(c10 - c00, c11 - c01, z.fraction), c1 - c0}};
}

#endif
