#include "generatePointsInShell.h"

#include <algorithm>

#include "shellLattice.h"

using namespace zarngi::engine;

namespace
{

std::vector<point4d> firstOctant(const ShellLattice& shell)
{
    std::vector<point4d> octant;
    if (shell.holdsOrigin()) {
        octant.push_back({0.0F, 0.0F, 0.0F, 0.0F});
    }
    for (std::int64_t i = 0; i <= shell.maxIndex(); ++i) {
        const std::int64_t jmax = shell.maxRow(i);
        for (std::int64_t j = 0; j <= jmax; ++j) {
            const LatticeRange row = shell.row(i, j);
            for (std::int64_t k = row.first; k <= row.last; ++k) {
                octant.push_back({static_cast<float>(i), static_cast<float>(j),
                                  static_cast<float>(k),
                                  static_cast<float>(i * i + j * j + k * k)});
            }
        }
    }
    return octant;
}

/** Appends the sign variants over the non-zero coordinates, the sign of z varying fastest. */
void appendSignVariants(std::vector<vec3dRT>& pts, const vec3dRT& p)
{
    for (const float sx : {1.0F, -1.0F}) {
        for (const float sy : {1.0F, -1.0F}) {
            for (const float sz : {1.0F, -1.0F}) {
                const bool repeats =
                    (p.x == 0 && sx < 0) || (p.y == 0 && sy < 0) || (p.z == 0 && sz < 0);
                if (!repeats) {
                    pts.emplace_back(sx * p.x, sy * p.y, sz * p.z);
                }
            }
        }
    }
}

} // namespace

bool myfunction(const point4d& a, const point4d& b)
{
    return a.rsq < b.rsq;
}

void generatePointsInShell(std::vector<vec3dRT>& pts, float rmin, float rmax, float stepSize)
{
    std::vector<point4d> octant = firstOctant(ShellLattice(rmin, rmax, stepSize));
    const auto scaled = [stepSize](const point4d& p) {
        return vec3dRT(p.x * stepSize, p.y * stepSize, p.z * stepSize);
    };
    const auto lengthSquared = [&](const point4d& p) {
        const vec3dRT v = scaled(p);
        return dot(v, v);
    };
    // Points of equal rsq may differ in the last bit of their scaled length. Ordering them by it
    // makes the length the workers compute never decrease along the list, so that their early stop
    // cannot leave out a smaller gamma and the result does not depend on the sorting algorithm.
    std::sort(octant.begin(), octant.end(), [&](const point4d& a, const point4d& b) {
        if (myfunction(a, b) || myfunction(b, a)) {
            return myfunction(a, b);
        }
        return lengthSquared(a) < lengthSquared(b);
    });
    pts.clear();
    for (const point4d& p : octant) {
        appendSignVariants(pts, scaled(p));
    }
}
