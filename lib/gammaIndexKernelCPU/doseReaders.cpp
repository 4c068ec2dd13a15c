#include "doseReaders.h"

#include <iostream>

#include "engineState.h"
#include "gridAxis.h"

using namespace zarngi::engine;

namespace
{

/** A position in a grid: fractional coordinates and what they mean, axis by axis. */
struct GridPoint {
    float f[3];
    AxisPoint axis[3];

    GridPoint(const float* position, const float* x0, const float* h, const int* n)
    {
        for (int a = 0; a < 3; ++a) {
            f[a] = (position[a] - x0[a]) / h[a];
            axis[a] = locateBetweenCentres(f[a], n[a]);
        }
    }

    [[nodiscard]] bool outside() const { return anyAxis(Zone::outside); }
    [[nodiscard]] bool onBorder() const { return anyAxis(Zone::border); }

private:
    [[nodiscard]] bool anyAxis(Zone zone) const
    {
        return axis[0].zone == zone || axis[1].zone == zone || axis[2].zone == zone;
    }
};

float containingVoxel(const float* map, const GridPoint& p, const int* n)
{
    return map[voxelIndex(n, p.axis[0].voxel, p.axis[1].voxel, p.axis[2].voxel)];
}

template <class T> void trace(const char* label, T a, T b, T c)
{
    std::cout << label << a << ' ' << b << ' ' << c << std::endl;
}

/** The lines both interpolations trace, from the geometry to the result. */
void traceInterpolation(const float* position, const float* x0, const float* h, const int* n,
                        const GridPoint& p, float value)
{
    trace("x0  ", x0[0], x0[1], x0[2]);
    trace("h   ", h[0], h[1], h[2]);
    trace("n   ", n[0], n[1], n[2]);
    trace("pos ", position[0], position[1], position[2]);
    trace("fx  ", p.f[0] - 0.5F, p.f[1] - 0.5F, p.f[2] - 0.5F);
    trace("idx ", p.axis[0].lower, p.axis[1].lower, p.axis[2].lower);
    std::cout << "xd  " << p.axis[0].fraction << ' ' << p.axis[1].fraction << ' '
              << p.axis[2].fraction << " => " << value << std::endl
              << std::endl;
}

} // namespace

float TrilinearInterp(const float* map, const float* position, const float* x0, const float* h,
                      const int* n)
{
    const bool debug = trilinDebug.load(std::memory_order_relaxed);
    const GridPoint p(position, x0, h, n);
    if (p.outside()) {
        return 0;
    }
    if (debug) {
        trace("fx  ", p.f[0], p.f[1], p.f[2]);
    }
    if (p.onBorder()) {
        return containingVoxel(map, p, n);
    }
    const float val = doseAtPoint(map, n, p.axis[0], p.axis[1], p.axis[2], Reader::trilinear);
    if (debug) {
        std::cout << "trilininterp " << std::endl;
        traceInterpolation(position, x0, h, n, p, val);
    }
    return val;
}

float BilinearInterp(const float* map, const float* position, const float* x0, const float* h,
                     const int* n, int idir)
{
    const bool debug = bilinDebug.load(std::memory_order_relaxed);
    GridPoint p(position, x0, h, n);
    if (p.outside()) {
        return 0;
    }
    if (p.onBorder()) {
        return containingVoxel(map, p, n);
    }
    if (debug) {
        std::cout << "bfr" << std::endl;
        trace("fx  ", p.f[0] - 0.5F, p.f[1] - 0.5F, p.f[2] - 0.5F);
        trace("idx ", p.axis[0].lower, p.axis[1].lower, p.axis[2].lower);
        trace("xd  ", p.axis[0].fraction, p.axis[1].fraction, p.axis[2].fraction);
    }
    // Across the plane both neighbours become the chosen plane.
    AxisPoint& across = p.axis[idir];
    across.lower = across.upper = nearestPlane(across);
    across.fraction = 0;
    const float val = idir == 2
                          ? mixInPlane(map, n, p.axis[0], p.axis[1], across.lower)
                          : doseAtPoint(map, n, p.axis[0], p.axis[1], p.axis[2], Reader::trilinear);
    if (debug) {
        std::cout << "bilininterp along direction " << idir << std::endl;
        traceInterpolation(position, x0, h, n, p, val);
    }
    return val;
}

float VoxelValue(const float* map, const float* position, const float* x0, const float* h,
                 const int* n)
{
    AxisPoint p[3];
    for (int a = 0; a < 3; ++a) {
        p[a] = locate(position[a], x0[a], h[a], n[a], Reader::nearest);
    }
    return doseAtPoint(map, n, p[0], p[1], p[2], Reader::nearest);
}
