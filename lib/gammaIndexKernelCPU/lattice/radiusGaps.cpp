#include "lattice/radiusGaps.h"

#include <algorithm>
#include <cmath>

namespace zarngi::engine
{

std::int64_t wholeSquaredRadius(const ShellLattice& shell)
{
    constexpr std::int64_t largest = largestProvenRadius * largestProvenRadius;
    const bool isProven = shell.maxIndex() <= largestProvenRadius;
    const std::int64_t whole = isProven ? shell.maxIndex() * shell.maxIndex() : largest;
    // Perhaps not a number.
    const float within =
        std::floor(isProven ? shell.outerRadiusSquared() : shell.innerRadiusSquared());
    return within < static_cast<float>(whole) ? static_cast<std::int64_t>(within) : whole;
}

float wholeRim(const ShellLattice& shell)
{
    const float rim = std::floor(shell.outerRadiusSquared());
    const std::int64_t steps = shell.maxIndex();
    return steps <= largestProvenRadius
               ? std::min(rim, static_cast<float>(steps * steps + steps + 1))
               : rim;
}

void RadiusGaps::add(const ShellLattice& shell)
{
    const RadiusGap gap{static_cast<float>(wholeSquaredRadius(shell)),
                        std::floor(shell.outerRadiusSquared())};
    if (gap.after >= gap.upTo) {
        return;
    }
    if (count_ < maxCount) {
        gaps_[count_++] = gap;
    } else {
        gaps_[maxCount - 1].upTo = gap.upTo;
    }
}

} // namespace zarngi::engine
