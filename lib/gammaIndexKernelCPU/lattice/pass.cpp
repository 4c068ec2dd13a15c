#include "lattice/pass.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace zarngi::engine
{

namespace
{

/**
 * Whether the pass of a shell leaves no voxel to the next one: where first values are poor, a ball
 * much larger than needed would have to be searched.
 */
bool searchesAll(int ishell)
{
    constexpr int first = 4;
    return ishell >= first && std::has_single_bit(static_cast<unsigned>(ishell));
}

} // namespace

SearchPass::SearchPass(const SearchCriteria& criteria, const LatticeAxes& latticeAxes,
                       const CellGeometry& geometry, int ishell, bool last,
                       const RadiusGaps& earlierGaps, const std::vector<int>& searched)
    : SearchCriteria(criteria), axes(&latticeAxes), shellNumber(ishell), earlierShells(&searched),
      isLast(last), shell(shellLattice(ishell)), stepsPerMmSquared(1 / (stepSize * stepSize)),
      outerIndex(static_cast<std::int32_t>(shell.maxIndex())),
      outerSquared(shell.outerRadiusSquared()), outerWhole(wholeRim(shell)),
      outerRim(outerWhole * (1 + 0x1p-21F)), outerRoot(std::sqrt(outerRim)),
      largestDistanceTerm(largestDistanceTermOf(shell)),
      // Relative error of f and of the exact gamma^2: some 20 roundings each.
      thresholdPerLimit(stepsPerDTA * stepsPerDTA * (1.0F + 0x1p-18F)), cells(geometry),
      gaps(earlierGaps), wholeSquared(wholeSquaredRadius(shell)),
      isRagged(shell.maxIndex() <= largestProvenRadius &&
               static_cast<float>(wholeSquared) < std::floor(outerSquared))
{
    farPoint = findFarPoint(*this, shell, wholeSquared);
    leavesVoxels = !isLast && !searchesAll(ishell) && reader != Reader::nearest &&
                   outerIndex <= largestOrderedRadius &&
                   reachedFromEverywhere(latticeAxes) > outerSquared;
}

bool SearchPass::isCertain(std::int64_t squared) const
{
    const auto radius = static_cast<float>(squared);
    return squared <= wholeSquared &&
           std::none_of(gaps.begin(), gaps.end(), [&](const RadiusGap& gap) {
               return radius > gap.after && radius <= gap.upTo;
           });
}

bool SearchPass::isEnumerated(std::int64_t i, std::int64_t j, std::int64_t k) const
{
    i = std::abs(i);
    j = std::abs(j);
    k = std::abs(k);
    const float squared = static_cast<float>(i * i + j * j + k * k);
    if (squared == 0) {
        return true;
    }
    // The shell whose radii enclose the point, or a neighbour of it where rounding decides.
    const double radius =
        std::sqrt(static_cast<double>(squared)) / static_cast<double>(stepsPerDTA);
    const int guess = static_cast<int>(std::min(radius + 1, static_cast<double>(shellNumber)));
    for (int ishell = std::max(guess - 1, 1); ishell <= std::min(guess + 1, shellNumber);
         ++ishell) {
        const ShellLattice candidate = shellLattice(ishell);
        if (squared > candidate.innerRadiusSquared() && squared <= candidate.outerRadiusSquared() &&
            i <= candidate.maxIndex() && j <= candidate.maxRow(i)) {
            const LatticeRange row = candidate.row(i, j);
            return k >= row.first && k <= row.last;
        }
    }
    return false;
}

} // namespace zarngi::engine
