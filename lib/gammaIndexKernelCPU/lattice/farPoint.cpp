#include "lattice/farPoint.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "gammaTerm.h"
#include "lattice/pass.h"

namespace zarngi::engine
{

namespace
{

/** Whether the box holds the pass's far point around a voxel, with some signs of its indices. */
bool holdsFarPoint(const SearchPass& pass, const std::int32_t (&index)[3])
{
    bool holds = true;
    for (int a = 0; a < 3; ++a) {
        const AxisSample& sample = pass.axes->axis[a][static_cast<std::size_t>(index[a])];
        holds = holds && !sample.inside.empty() && sample.nearest == 0 &&
                sample.farthest >= pass.farPoint.index[a];
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
        return distanceTerm(dot(p, p), pass_.dta) >= gammasq_;
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

FarPoint findFarPoint(const SearchCriteria& criteria, const ShellLattice& shell,
                      std::int64_t wholeSquared)
{
    const auto inner = static_cast<double>(shell.innerRadiusSquared());
    for (std::int64_t squared = wholeSquared; static_cast<double>(squared) > inner; --squared) {
        // The point with this squared radius and the largest index on the first axis.
        const auto i = static_cast<std::int32_t>(std::sqrt(static_cast<double>(squared)));
        const std::int64_t rest = squared - std::int64_t{i} * i;
        for (std::int32_t j = 0; 2 * std::int64_t{j} * j <= rest; ++j) {
            const auto k = static_cast<std::int32_t>(
                std::lround(std::sqrt(static_cast<double>(rest - std::int64_t{j} * j))));
            if (std::int64_t{j} * j + std::int64_t{k} * k == rest) {
                const vec3dRT p(static_cast<float>(i) * criteria.stepSize,
                                static_cast<float>(j) * criteria.stepSize,
                                static_cast<float>(k) * criteria.stepSize);
                return {{i, j, k}, distanceTerm(dot(p, p), criteria.dta)};
            }
        }
    }
    return {{}, -1.0F};
}

bool isFinal(const SearchPass& pass, const std::int32_t (&index)[3], float gammasq)
{
    if (gammasq > pass.largestDistanceTerm) {
        return false;
    }
    if (gammasq <= pass.farPoint.distanceTerm && holdsFarPoint(pass, index)) {
        return true;
    }
    bool found = FarPointSearch(pass, pass.shell, index, gammasq).found();
    // Shells without a pass held no point that a voxel still open could reach; there may be
    // millions.
    const std::vector<int>& earlier = *pass.earlierShells;
    for (auto ishell = earlier.rbegin(); !found && ishell != earlier.rend(); ++ishell) {
        const ShellLattice shell = pass.shellLattice(*ishell);
        if (gammasq > pass.largestDistanceTermOf(shell)) {
            return false;
        }
        found = shell.maxIndex() <= largestOrderedRadius &&
                FarPointSearch(pass, shell, index, gammasq).found();
    }
    return found;
}

} // namespace zarngi::engine
