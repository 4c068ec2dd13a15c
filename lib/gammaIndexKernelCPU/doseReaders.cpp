#include "doseReaders.h"

#include <algorithm>
#include <iostream>

#include "engineState.h"

namespace
{

/** A position in a grid: fractional coordinates in voxel units from the grid's lower corner. */
struct GridPoint {
    float f[3];

    GridPoint(const float* position, const float* x0, const float* h)
        : f{(position[0] - x0[0]) / h[0], (position[1] - x0[1]) / h[1],
            (position[2] - x0[2]) / h[2]}
    {
    }

    /** Strictly between the lower and the upper face on every axis; false for not-a-number. */
    [[nodiscard]] bool insideGrid(const int* n) const
    {
        const auto inside = [&](int a) { return f[a] > 0 && f[a] < static_cast<float>(n[a]); };
        return inside(0) && inside(1) && inside(2);
    }

    /** Between the first and the last voxel centre on every axis. */
    [[nodiscard]] bool insideCentreBox(const int* n) const
    {
        const auto inside = [&](int a) {
            return f[a] >= 0.5F && f[a] <= static_cast<float>(n[a]) - 0.5F;
        };
        return inside(0) && inside(1) && inside(2);
    }
};

/** Two neighbouring voxels along one axis and the position between their centres. */
struct Neighbours {
    int lower;
    int upper;
    float fraction;

    Neighbours(float f, int n)
    {
        lower = static_cast<int>(f - 0.5F);
        if (lower >= n - 1) {
            lower = n - 2;
        }
        fraction = (f - 0.5F) - static_cast<float>(lower);
        upper = lower + 1;
        // A single voxel along the axis is both neighbours; its fraction then has no effect.
        if (n == 1) {
            lower = 0;
            upper = 0;
            fraction = 0;
        }
    }
};

int voxelIndex(const int* n, int ix, int iy, int iz)
{
    return ix + n[0] * iy + n[0] * n[1] * iz;
}

float containingVoxel(const float* map, const GridPoint& p, const int* n)
{
    return map[voxelIndex(n, static_cast<int>(p.f[0]), static_cast<int>(p.f[1]),
                          static_cast<int>(p.f[2]))];
}

float mix(float lower, float upper, float fraction)
{
    return lower * (1 - fraction) + upper * fraction;
}

template <class T> void trace(const char* label, T a, T b, T c)
{
    std::cout << label << a << ' ' << b << ' ' << c << std::endl;
}

void traceResult(const float* fractions, float value)
{
    std::cout << "xd  " << fractions[0] << ' ' << fractions[1] << ' ' << fractions[2] << " => "
              << value << std::endl
              << std::endl;
}

void traceGeometry(const float* position, const float* x0, const float* h, const int* n,
                   const GridPoint& p, const int* lower)
{
    trace("x0  ", x0[0], x0[1], x0[2]);
    trace("h   ", h[0], h[1], h[2]);
    trace("n   ", n[0], n[1], n[2]);
    trace("pos ", position[0], position[1], position[2]);
    trace("fx  ", p.f[0] - 0.5F, p.f[1] - 0.5F, p.f[2] - 0.5F);
    trace("idx ", lower[0], lower[1], lower[2]);
}

} // namespace

float TrilinearInterp(const float* map, const float* position, const float* x0, const float* h,
                      const int* n)
{
    const bool debug = trilinDebug.load(std::memory_order_relaxed);
    const GridPoint p(position, x0, h);
    if (!p.insideGrid(n)) {
        return 0;
    }
    if (debug) {
        trace("fx  ", p.f[0], p.f[1], p.f[2]);
    }
    if (!p.insideCentreBox(n)) {
        return containingVoxel(map, p, n);
    }
    const Neighbours x(p.f[0], n[0]);
    const Neighbours y(p.f[1], n[1]);
    const Neighbours z(p.f[2], n[2]);
    const auto alongX = [&](int iy, int iz) {
        return mix(map[voxelIndex(n, x.lower, iy, iz)], map[voxelIndex(n, x.upper, iy, iz)],
                   x.fraction);
    };
    const float c00 = alongX(y.lower, z.lower);
    const float c10 = alongX(y.upper, z.lower);
    const float c01 = alongX(y.lower, z.upper);
    const float c11 = alongX(y.upper, z.upper);
    const float c0 = mix(c00, c10, y.fraction);
    const float c1 = mix(c01, c11, y.fraction);
    const float val = mix(c0, c1, z.fraction);
    if (debug) {
        const int lower[3] = {x.lower, y.lower, z.lower};
        const float fractions[3] = {x.fraction, y.fraction, z.fraction};
        std::cout << "trilininterp " << std::endl;
        traceGeometry(position, x0, h, n, p, lower);
        traceResult(fractions, val);
    }
    return val;
}

float BilinearInterp(const float* map, const float* position, const float* x0, const float* h,
                     const int* n, int idir)
{
    const bool debug = bilinDebug.load(std::memory_order_relaxed);
    const GridPoint p(position, x0, h);
    if (!p.insideGrid(n)) {
        return 0;
    }
    if (!p.insideCentreBox(n)) {
        return containingVoxel(map, p, n);
    }
    Neighbours axes[3] = {{p.f[0], n[0]}, {p.f[1], n[1]}, {p.f[2], n[2]}};
    if (debug) {
        std::cout << "bfr" << std::endl;
        trace("fx  ", p.f[0] - 0.5F, p.f[1] - 0.5F, p.f[2] - 0.5F);
        trace("idx ", axes[0].lower, axes[1].lower, axes[2].lower);
        trace("xd  ", axes[0].fraction, axes[1].fraction, axes[2].fraction);
    }
    Neighbours& across = axes[idir];
    if (static_cast<int>(across.fraction + 0.5F) != 0) {
        across.lower = std::min(across.lower + 1, n[idir] - 1);
    }
    across.fraction = 0;
    // The two axes of the plane, the faster one first.
    const int a = idir == 0 ? 1 : 0;
    const int b = idir == 2 ? 1 : 2;
    const auto value = [&](int ia, int ib) {
        int i[3] = {axes[0].lower, axes[1].lower, axes[2].lower};
        i[a] = ia;
        i[b] = ib;
        return map[voxelIndex(n, i[0], i[1], i[2])];
    };
    const auto alongA = [&](int ib) {
        return mix(value(axes[a].lower, ib), value(axes[a].upper, ib), axes[a].fraction);
    };
    const float c0 = alongA(axes[b].lower);
    const float c1 = alongA(axes[b].upper);
    const float val = mix(c0, c1, axes[b].fraction);
    if (debug) {
        const int lower[3] = {axes[0].lower, axes[1].lower, axes[2].lower};
        const float fractions[3] = {axes[0].fraction, axes[1].fraction, axes[2].fraction};
        std::cout << "bilininterp along direction " << idir << std::endl;
        traceGeometry(position, x0, h, n, p, lower);
        traceResult(fractions, val);
    }
    return val;
}

float VoxelValue(const float* map, const float* position, const float* x0, const float* h,
                 const int* n)
{
    const GridPoint p(position, x0, h);
    // Truncation towards zero: an index is in range exactly when -1 < f < n.
    for (int a = 0; a < 3; ++a) {
        if (!(p.f[a] > -1 && p.f[a] < static_cast<float>(n[a]))) {
            return 0;
        }
    }
    return containingVoxel(map, p, n);
}
