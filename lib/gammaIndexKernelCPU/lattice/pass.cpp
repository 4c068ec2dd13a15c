#include "lattice/pass.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "gammaTerm.h"

namespace
{

/**
 * How far, in steps along an axis, a lattice point may lie from the cell that arithmetic without
 * rounding finds for it: positions are rounded to float, four times on the way.
 */
float roundingOfPositions(const LatticeAxes& axes, const DoseGrid& evaluation, int axis)
{
    const std::vector<AxisSample>& samples = axes.axis[axis];
    const double extent = std::fabs(static_cast<double>(samples.front().position)) +
                          std::fabs(static_cast<double>(samples.back().position)) +
                          std::fabs(static_cast<double>(evaluation.x0[axis])) +
                          static_cast<double>(evaluation.h[axis]) * evaluation.n[axis];
    return static_cast<float>(0.001 + 0x1p-21 * extent / static_cast<double>(Env->stepSize));
}

/** The longest window on an axis that a pass can ask for. */
std::size_t longestWindow(const std::vector<AxisSample>& samples, std::int64_t outerIndex)
{
    std::int64_t longest = 0;
    for (const AxisSample& sample : samples) {
        const std::int64_t first = std::max<std::int64_t>(sample.inside.first, -outerIndex);
        const std::int64_t last = std::min<std::int64_t>(sample.inside.last, outerIndex);
        longest = std::max(longest, last - first + 1);
    }
    return static_cast<std::size_t>(longest);
}

/** gamma^2 that no distance term of a shell exceeds. */
float largestDistanceTermOf(const ShellLattice& shell)
{
    // Some ten roundings lie between this and the distance terms themselves.
    const float stepsPerDTA = DTA / Env->stepSize;
    return shell.outerRadiusSquared() / stepsPerDTA / stepsPerDTA * (1 + 1e-5F);
}

/**
 * Points with larger squared indices have larger distance terms up to this radius in steps: squares
 * of indices differ by 2^-20 at least, and distance terms are off by seven roundings of 2^-24 each.
 */
constexpr std::int64_t largestOrderedRadius = 1024;

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

float outerRadius(int ishell)
{
    return static_cast<float>(ishell) * DTA;
}

ShellLattice shellLattice(int ishell)
{
    return {outerRadius(ishell - 1), outerRadius(ishell), Env->stepSize};
}

SearchPass::SearchPass(const LatticeAxes& latticeAxes, int ishell, bool last,
                       const RadiusGaps& earlierGaps, const std::vector<int>& searched)
    : axes(&latticeAxes), shellNumber(ishell), earlierShells(&searched), isLast(last),
      shell(shellLattice(ishell)), reader(selectedReader()),
      stepsPerMmSquared(1 / (stepSize * stepSize)), stepsPerDTA(dta / stepSize),
      outerIndex(static_cast<std::int32_t>(shell.maxIndex())),
      outerSquared(shell.outerRadiusSquared()), outerWhole(wholeRim(shell)),
      outerRim(outerWhole * (1 + 0x1p-21F)), outerRoot(std::sqrt(outerRim)),
      largestDistanceTerm(largestDistanceTermOf(shell)),
      // Relative error of f and of the exact gamma^2: some 20 roundings each.
      thresholdPerLimit(stepsPerDTA * stepsPerDTA * (1.0F + 0x1p-18F)), gaps(earlierGaps),
      wholeSquared(wholeSquaredRadius(shell)),
      isRagged(shell.maxIndex() <= largestProvenRadius &&
               static_cast<float>(wholeSquared) < std::floor(outerSquared))
{
    findFarPoint();
    leavesVoxels = !isLast && !searchesAll(ishell) && reader != Reader::nearest &&
                   outerIndex <= largestOrderedRadius &&
                   reachedFromEverywhere(latticeAxes) > outerSquared;
    for (int a = 0; a < 2; ++a) {
        cellWidth[a] = static_cast<float>(static_cast<double>(evaluation.h[a]) /
                                          static_cast<double>(stepSize));
        cellsPerStep[a] = 1 / cellWidth[a];
        cellSlack[a] = roundingOfPositions(latticeAxes, evaluation, a);
    }
    edgesAreKnown = cellSlack[0] < 0.25F && cellSlack[1] < 0.25F;
    for (int a = 0; a < 3; ++a) {
        voxelsPerStep[a] = evaluation.n[a] > 1 ? stepSize / evaluation.h[a] : 0.0F;
    }
}

void SearchPass::findFarPoint()
{
    farDistanceTerm = -1.0F;
    const auto inner = static_cast<double>(shell.innerRadiusSquared());
    for (std::int64_t squared = wholeSquared; static_cast<double>(squared) > inner; --squared) {
        // The point with this squared radius and the largest index on the first axis.
        const auto i = static_cast<std::int32_t>(std::sqrt(static_cast<double>(squared)));
        const std::int64_t rest = squared - std::int64_t{i} * i;
        for (std::int32_t j = 0; 2 * std::int64_t{j} * j <= rest; ++j) {
            const auto k = static_cast<std::int32_t>(
                std::lround(std::sqrt(static_cast<double>(rest - std::int64_t{j} * j))));
            if (std::int64_t{j} * j + std::int64_t{k} * k == rest) {
                const std::int32_t found[3] = {i, j, k};
                std::copy(found, found + 3, farPoint);
                const vec3dRT p(static_cast<float>(i) * stepSize, static_cast<float>(j) * stepSize,
                                static_cast<float>(k) * stepSize);
                farDistanceTerm = distanceTerm(dot(p, p), dta);
                return;
            }
        }
    }
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

SearchScratch::SearchScratch(const SearchPass& pass, const SearchMemory& memory)
    : structures(memory.aligned()),
      bestPoints_(static_cast<std::size_t>(pass.reference.n[0]), LatticePoint{})
{
    bestPoints = bestPoints_.data();
    for (int a = 0; a < 3; ++a) {
        const std::size_t longest = longestWindow(pass.axes->axis[a], pass.outerIndex);
        voxelRuns_[a].resize(longest);
        voxelRuns[a].runs.items = voxelRuns_[a].data();
        if (a == 2) {
            cellRuns_.resize(longest);
            window.runs.items = cellRuns_.data();
        }
    }
}

namespace
{

/** Whether the box holds the pass's far point around a voxel, with some signs of its indices. */
bool holdsFarPoint(const SearchPass& pass, const std::int32_t (&index)[3])
{
    bool holds = true;
    for (int a = 0; a < 3; ++a) {
        const AxisSample& sample = pass.axes->axis[a][static_cast<std::size_t>(index[a])];
        holds = holds && !sample.inside.empty() && sample.nearest == 0 &&
                sample.farthest >= pass.farPoint[a];
    }
    return holds;
}

/** Looks for a point far enough from one voxel, in the shell of the pass or an earlier one. */
class FarPointSearch
{
public:
    FarPointSearch(const SearchPass& pass, const ShellLattice& shell,
                   const std::int32_t (&index)[3], float gammasq)
        : pass_(pass), shell_(shell), gammasq_(gammasq)
    {
        for (int a = 0; a < 3; ++a) {
            const AxisSample& sample = pass.axes->axis[a][static_cast<std::size_t>(index[a])];
            inBox_ = inBox_ && !sample.inside.empty();
            nearest_[a] = sample.nearest;
            farthest_[a] = std::min<std::int64_t>(sample.farthest, shell.maxIndex());
        }
        // The exact distance term differs from this by some ten roundings.
        constexpr double roundings = 1e-5;
        const double steps = static_cast<double>(pass.stepsPerDTA);
        neededSquared_ = static_cast<double>(gammasq_) * steps * steps * (1 - roundings);
    }

    [[nodiscard]] bool found() const
    {
        const double outer = static_cast<double>(shell_.outerRadiusSquared());
        if (!inBox_ ||
            std::min(outer, squared(farthest_[0], farthest_[1], farthest_[2])) < neededSquared_) {
            return false;
        }
        const bool originInBox = nearest_[0] == 0 && nearest_[1] == 0 && nearest_[2] == 0;
        if (shell_.holdsOrigin() && originInBox && reaches(0, 0, 0)) {
            return true;
        }
        const double rest = outer - squared(0, nearest_[1], nearest_[2]);
        if (rest < 0) {
            return false;
        }
        auto i = std::min(farthest_[0], static_cast<std::int64_t>(std::sqrt(rest)));
        for (; i >= nearest_[0] && squared(i, farthest_[1], farthest_[2]) >= neededSquared_; --i) {
            if (foundInPlane(i)) {
                return true;
            }
        }
        return false;
    }

private:
    static double squared(std::int64_t i, std::int64_t j, std::int64_t k)
    {
        return static_cast<double>(i * i) + static_cast<double>(j * j) + static_cast<double>(k * k);
    }

    [[nodiscard]] bool foundInPlane(std::int64_t i) const
    {
        // Rows farther out do not come near enough to the plane of the axis to meet the box.
        const double outer = static_cast<double>(shell_.outerRadiusSquared());
        const double rest = std::max(outer - squared(i, 0, nearest_[2]), 0.0);
        std::int64_t j = std::min(
            {farthest_[1], shell_.maxRow(i), static_cast<std::int64_t>(std::sqrt(rest)) + 1});
        for (; j >= nearest_[1] && squared(i, j, farthest_[2]) >= neededSquared_; --j) {
            const LatticeRange row = shell_.row(i, j);
            const std::int64_t k = std::min(row.last, farthest_[2]);
            if (k >= row.first && k >= nearest_[2] && reaches(i, j, k)) {
                return true;
            }
        }
        return false;
    }

    /** The distance term in the order of operations of the search. */
    [[nodiscard]] bool reaches(std::int64_t i, std::int64_t j, std::int64_t k) const
    {
        const vec3dRT p(static_cast<float>(i) * pass_.stepSize,
                        static_cast<float>(j) * pass_.stepSize,
                        static_cast<float>(k) * pass_.stepSize);
        return distanceTerm(dot(p, p), DTA) >= gammasq_;
    }

    const SearchPass& pass_;
    const ShellLattice& shell_;
    float gammasq_;
    bool inBox_ = true;
    std::int64_t nearest_[3];
    std::int64_t farthest_[3];
    double neededSquared_;
};

} // namespace

bool isFinal(const SearchPass& pass, const std::int32_t (&index)[3], float gammasq)
{
    if (gammasq > pass.largestDistanceTerm) {
        return false;
    }
    if (gammasq <= pass.farDistanceTerm && holdsFarPoint(pass, index)) {
        return true;
    }
    bool found = FarPointSearch(pass, pass.shell, index, gammasq).found();
    // Shells without a pass held no point that a voxel still open could reach; there may be
    // millions.
    const std::vector<int>& earlier = *pass.earlierShells;
    for (auto ishell = earlier.rbegin(); !found && ishell != earlier.rend(); ++ishell) {
        const ShellLattice shell = shellLattice(*ishell);
        if (gammasq > largestDistanceTermOf(shell)) {
            return false;
        }
        found = shell.maxIndex() <= largestOrderedRadius &&
                FarPointSearch(pass, shell, index, gammasq).found();
    }
    return found;
}
