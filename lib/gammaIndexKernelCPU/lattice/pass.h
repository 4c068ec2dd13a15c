/**
 * @file pass.h
 * What one pass over a shell of the unrotated lattice reads.
 */
#ifndef ZARNGI_LATTICE_PASS_H
#define ZARNGI_LATTICE_PASS_H

#include <cstdint>
#include <vector>

#include "lattice/axes.h"
#include "lattice/cellGeometry.h"
#include "lattice/farPoint.h"
#include "lattice/radiusGaps.h"
#include "searchCriteria.h"
#include "shellLattice.h"

namespace zarngi::engine
{

/** What one pass over a shell of the unrotated lattice reads. */
struct SearchPass : SearchCriteria {
    /**
     * The pass of shell `ishell` (the first is 1), `last` if no pass follows it; `earlierGaps` are
     * those of the shells before, `searched` the numbers of those that had a pass.
     */
    SearchPass(const SearchCriteria& criteria, const LatticeAxes& latticeAxes,
               const CellGeometry& geometry, int ishell, bool last, const RadiusGaps& earlierGaps,
               const std::vector<int>& searched);

    /** Whether this shell or an earlier one enumerates the lattice point. */
    [[nodiscard]] bool isEnumerated(std::int64_t i, std::int64_t j, std::int64_t k) const;
    /** Whether they do for every point of a squared radius in steps, as far as is known here. */
    [[nodiscard]] bool isCertain(std::int64_t squared) const;

    const LatticeAxes* axes;
    int shellNumber;
    const std::vector<int>* earlierShells; ///< that had a pass, in increasing order
    bool isLast;
    bool leavesVoxels; ///< to the next pass, once one stays open: that finds what this one would
    ShellLattice shell;
    float stepsPerMmSquared;   ///< 1 / mm^2
    std::int32_t outerIndex;   ///< largest lattice index of the shell
    float outerSquared;        ///< outer squared radius in steps
    float outerWhole;          ///< a whole number: no point has a larger squared radius
    float outerRim;            ///< raised by the rounding of sums of squares beyond 4096 steps
    float outerRoot;           ///< its square root
    float largestDistanceTerm; ///< gamma^2: no distance term of the shell exceeds it
    FarPoint farPoint;         ///< of the shell
    float thresholdPerLimit;   ///< squared steps per gamma^2, raised by the error of the search
    CellGeometry cells;
    RadiusGaps gaps;           ///< of the earlier shells
    std::int64_t wholeSquared; ///< up to this squared radius no point but those in gaps is left out
    bool isRagged; ///< beyond that, this shell leaves out some: outerIndex^2 is wholeSquared then
};

} // namespace zarngi::engine

#endif
