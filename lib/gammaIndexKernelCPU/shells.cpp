#include "shells.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

#include "bookkeeping.h"
#include "engineState.h"
#include "generatePointsInShell.h"
#include "gridAxis.h"
#include "lattice/axes.h"
#include "lattice/cellGeometry.h"
#include "lattice/pass.h"
#include "lattice/radiusGaps.h"
#include "lattice/scratch.h"
#include "progress.h"
#include "report.h"
#include "rotation.h"
#include "search.h"
#include "searchCriteria.h"
#include "shellLattice.h"
#include "vector3d.h"
#include "watch.h"
#include "workers.h"

namespace zarngi::engine
{

namespace
{

/** The largest number of shells, for an unset search maximum or one beyond the range of int. */
constexpr int unlimitedShells = 100000000;

int maxShells(const SearchCriteria& criteria)
{
    constexpr double beyondInt = 2147483648.0;
    const double limit = static_cast<double>(criteria.gammaSearchMax) + 0.5;
    const bool bounded = limit >= 0.5 && limit < beyondInt;
    return bounded ? static_cast<int>(limit) : unlimitedShells;
}

/** The largest lattice index and number of voxels along an axis that the search counts up to. */
constexpr std::int64_t largestIndex = 1 << 24; // whole numbers up to it are exact in float

/** Whether a length is finite and large enough for its square to be more than a rounding error. */
bool isUsableLength(float length)
{
    return std::isfinite(length) && length > 0 &&
           length * length >= std::numeric_limits<float>::min();
}

/**
 * Throws unless the search lattice is one the search can walk in bounded time and with indices in
 * range: finite DTA and step size whose squares do not underflow, no more than maxStepsPerDTA steps
 * per DTA, and no more voxels along an axis than the search counts up to.
 */
void requireSearchableLattice(const SearchCriteria& criteria)
{
    constexpr float maxStepsPerDTA = 10000;
    const bool searchable = isUsableLength(criteria.dta) && isUsableLength(criteria.stepSize) &&
                            criteria.stepsPerDTA <= maxStepsPerDTA;
    const bool countable = std::all_of(criteria.evaluation.n, criteria.evaluation.n + 3,
                                       [](int n) { return n <= largestIndex; });
    if (!searchable || !countable) {
        throw std::domain_error("search lattice out of range");
    }
}

/** Throws when a shell has lattice indices that single precision cannot tell apart. */
void requireExactIndices(const ShellLattice& shell)
{
    if (shell.maxIndex() > largestIndex) {
        throw std::domain_error("lattice index out of range");
    }
}

/** Throws when the list of the points of a shell would be larger than the search can bear. */
void requireListable(const SearchCriteria& criteria, int ishell)
{
    constexpr double maxPoints = 1 << 28;
    const double outer = static_cast<double>(ishell) * static_cast<double>(criteria.stepsPerDTA);
    const double inner = outer * (ishell - 1) / ishell;
    constexpr double ballVolume = 4.19; // of radius 1
    if (ballVolume * (outer * outer * outer - inner * inner * inner) > maxPoints) {
        throw std::length_error("too many points in a shell");
    }
}

/** Hands a pass to the workers, and withdraws it also when it ends by an exception. */
class PassGuard
{
public:
    /** `points`, if any, are those of evalPoints. */
    PassGuard(ShellPass& pass, const std::vector<vec3dRT>* points)
    {
        shellPass = &pass;
        evalPoints = points;
    }
    PassGuard(const PassGuard&) = delete;
    PassGuard& operator=(const PassGuard&) = delete;
    ~PassGuard()
    {
        shellPass = nullptr;
        evalPoints = nullptr;
    }
};

/** Searches the shell by a list of its points, which can be rotated. */
void searchListedShell(const SearchCriteria& criteria, const LatticeAxes& axes, int ishell)
{
    requireListable(criteria, ishell);
    std::vector<vec3dRT> points;
    generatePointsInShell(points, criteria.outerRadius(ishell - 1), criteria.outerRadius(ishell),
                          criteria.stepSize);
    ListedPass pass(criteria, points);
    if (criteria.randomRotation && criteria.reader == Reader::trilinear) {
        pass.group(axes);
    }
    const PassGuard guard(pass, &points);
    evaluation();
}

/** Searches the shells, one after another, by whichever of the two ways the computation allows. */
class ShellSearch
{
public:
    ShellSearch(const SearchCriteria& criteria, const LatticeAxes& axes, int lastShell)
        : criteria_(criteria), axes_(axes), cells_(criteria, axes), lastShell_(lastShell)
    {
        // A trace shows every dose that is read, so it needs every point visited.
        const bool traced = criteria.reader == Reader::bilinear && bilinDebug.load();
        listed_ = criteria.randomRotation || traced;
    }

    void search(int ishell)
    {
        if (listed_) {
            searchListedShell(criteria_, axes_, ishell);
        } else {
            searchLatticeShell(ishell);
        }
    }

    /** Goes past a shell without searching it. */
    void skip(int ishell) { gaps_.add(criteria_.shellLattice(ishell)); }

private:
    /** Searches the shell by what is known of the lattice, without a list of its points. */
    void searchLatticeShell(int ishell)
    {
        requireExactIndices(criteria_.shellLattice(ishell));
        const SearchPass shell(criteria_, axes_, cells_, ishell, ishell == lastShell_, gaps_,
                               searched_);
        memories_.resize(workerCount());
        LatticePass pass(shell, memories_);
        const PassGuard guard(pass, nullptr);
        evaluation();
        gaps_.add(shell.shell);
        searched_.push_back(ishell);
    }

    const SearchCriteria& criteria_;
    const LatticeAxes& axes_;
    CellGeometry cells_;
    int lastShell_;
    bool listed_;
    RadiusGaps gaps_;                    ///< of the shells so far
    std::vector<int> searched_;          ///< the numbers of those that had a pass
    std::vector<SearchMemory> memories_; ///< of the workers
};

/** Tells shells in which no voxel has anything to search. */
class IdleShells
{
public:
    IdleShells(const SearchCriteria& criteria, const LatticeAxes& axes, int lastShell)
        : criteria_(criteria), axes_(axes), lastShell_(lastShell)
    {
    }

    /**
     * Whether the shell comes nowhere near the evaluation box of an open voxel, or holds no lattice
     * point. Not the first: after it the voxels are closed that no shell reaches. The last only in
     * the former case: it settles voxels that earlier passes left to a later one.
     */
    [[nodiscard]] bool holds(int ishell)
    {
        if (ishell == 1) {
            return false;
        }
        // The rounding of positions and of rotated points.
        const double reach = static_cast<double>(criteria_.outerRadius(ishell)) * (1 + 1e-5);
        if (!(nearest_ > reach)) {
            nearest_ = nearestOpenVoxel(criteria_, axes_, reach);
        }
        return nearest_ > reach || (ishell < lastShell_ && holdsNoPoint(ishell));
    }

private:
    [[nodiscard]] bool holdsNoPoint(int ishell) const
    {
        const ShellLattice shell = criteria_.shellLattice(ishell);
        return std::floor(shell.innerRadiusSquared()) == std::floor(shell.outerRadiusSquared());
    }

    const SearchCriteria& criteria_;
    const LatticeAxes& axes_;
    int lastShell_;
    double nearest_ = 0; ///< mm, no open voxel is nearer to the evaluation box
};

} // namespace

void searchShells()
{
    const SearchCriteria criteria = readSearchCriteria();
    requireSearchableLattice(criteria);
    const LatticeAxes axes = tabulateLatticeAxes(criteria);
    const int ishellmax = criteria.passRateMode ? 1 : std::max(maxShells(criteria), 1);
    if (criteria.randomRotation) {
        generateRandomRotationMatrix(Rot);
    }
    ShellSearch shells(criteria, axes, ishellmax);
    IdleShells idle(criteria, axes, ishellmax);
    for (int ishell = 1; ishell <= ishellmax; ++ishell) {
        watch::enterShell(ishell, ishellmax);
        report::shell(ishell);
        if (idle.holds(ishell)) {
            reportIdlePass();
            shells.skip(ishell);
            continue;
        }
        shells.search(ishell);
        if (watch::isStopped()) {
            throw watch::Stopped();
        }
        if (ishell < ishellmax) {
            closeVoxelsOutOfReach(criteria, axes, criteria.outerRadius(ishell));
        }
        if (!keepSearching()) {
            break;
        }
    }
    report::searchEnded();
}

} // namespace zarngi::engine
