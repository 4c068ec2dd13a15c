#include "statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engineState.h"

namespace zarngi::engine
{

float passRateOf(int passed)
{
    return static_cast<float>(passed * 100.0 / static_cast<double>(activeVoxels.size()));
}

GammaStatistics gammaStatistics()
{
    const auto gammaOf = [](const ActiveVoxel& v) {
        return static_cast<double>(std::sqrt(v.gammasq));
    };
    const ActiveVoxel& front = activeVoxels.front();
    double s0 = 1;
    double s1 = gammaOf(front);
    double s2 = static_cast<double>(front.gammasq);
    double gmin = s1;
    double gmax = s1;
    for (auto voxel = activeVoxels.begin() + 1; voxel != activeVoxels.end(); ++voxel) {
        const double g = gammaOf(*voxel);
        s0 += 1;
        s1 += g;
        s2 += g * g;
        gmin = std::min(gmin, g);
        gmax = std::max(gmax, g);
    }
    // Zero by zero: what is not a number has another sign on other processors, which is printed.
    const double deviation = s0 == 1 ? -std::numeric_limits<double>::quiet_NaN()
                                     : std::sqrt((s2 - s1 * s1 / s0) / (s0 - 1));
    return {gmin, gmax, s1 / s0, deviation};
}

} // namespace zarngi::engine
