#include "shellLattice.h"

#include <algorithm>
#include <cmath>

namespace zarngi::engine
{

namespace
{

/**
 * Whole steps in a radius, truncated; saturates at 2^30 so that squares and sums fit 64 bits. A
 * ratio that is not a number holds no step.
 */
std::int64_t wholeSteps(float radius, float stepSize)
{
    constexpr float limit = 1073741824.0F;
    const float steps = radius / stepSize;
    if (std::isnan(steps)) {
        return 0;
    }
    return steps < limit ? static_cast<std::int64_t>(steps) : static_cast<std::int64_t>(limit);
}

/** Radius, in steps, of the disc or ring that a sphere of `steps` leaves in the plane i. */
float perpendicularRadius(std::int64_t steps, std::int64_t i)
{
    const std::int64_t squared = std::max<std::int64_t>(steps * steps - i * i, 0);
    return static_cast<float>(std::sqrt(static_cast<double>(squared)));
}

} // namespace

ShellLattice::ShellLattice(float rmin, float rmax, float stepSize)
    : innerSteps_(wholeSteps(rmin, stepSize)), outerSteps_(wholeSteps(rmax, stepSize)),
      rsqmin_((rmin * rmin / stepSize) / stepSize), rsqmax_((rmax * rmax / stepSize) / stepSize),
      holdsOrigin_(rmin == 0.0F)
{
}

std::int64_t ShellLattice::maxRow(std::int64_t i) const
{
    return static_cast<std::int64_t>(static_cast<double>(perpendicularRadius(outerSteps_, i)) +
                                     0.5);
}

LatticeRange ShellLattice::row(std::int64_t i, std::int64_t j) const
{
    const float jSquared = static_cast<float>(j * j);
    const float rperpMin = perpendicularRadius(innerSteps_, i);
    const float rperpMax = perpendicularRadius(outerSteps_, i);
    const float rkMin = rperpMin * rperpMin - jSquared;
    const float rkMax = rperpMax * rperpMax - jSquared;
    LatticeRange k{0, 0};
    if (rkMin > 0) {
        k.first = static_cast<std::int64_t>(std::sqrt(rkMin));
    }
    if (rkMax > 0) {
        k.last = static_cast<std::int64_t>(static_cast<double>(std::sqrt(rkMax)) + 0.5);
    }
    const auto radiusSquared = [&](std::int64_t n) {
        return static_cast<float>(i * i + j * j + n * n);
    };
    while (k.first <= k.last && !(radiusSquared(k.first) > rsqmin_)) {
        ++k.first;
    }
    while (k.last >= k.first && !(radiusSquared(k.last) <= rsqmax_)) {
        --k.last;
    }
    return k;
}

} // namespace zarngi::engine
