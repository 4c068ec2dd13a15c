/**
 * @file reach.h
 * How far out lattice points can matter to a voxel.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_REACH_H
#define ZARNGI_LATTICE_STAGES_REACH_H

#include <cstdint>

#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/** The lattice indices around a voxel that can matter with the best point of its record. */
class Reach
{
public:
    Reach(const SearchPass& pass, const VoxelStart& start)
        : start_(start), threshold_(start.threshold(pass)), root_(__builtin_sqrtf(threshold_)),
          outerSquared_(pass.outerSquared),
          last_(root_ < static_cast<float>(pass.outerIndex) ? static_cast<std::int32_t>(root_)
                                                            : pass.outerIndex)
    {
    }

    /** f above it cannot matter, but for the error of u. */
    [[nodiscard]] float threshold() const { return threshold_; }
    [[nodiscard]] float root() const { return root_; } ///< of the threshold

    /** Lattice indices that can matter on any axis. */
    [[nodiscard]] LatticeInterval onAny() const { return {-last_, last_}; }

    /** Lattice indices on an axis that can matter, given how near the box comes on the others. */
    [[nodiscard]] LatticeInterval on(int axis) const
    {
        if (start_.nearestSquared == 0) {
            return onAny();
        }
        float rest = smaller(threshold_, outerSquared_);
        for (int a = 0; a < 3; ++a) {
            rest -= a == axis ? 0.0F : squareOf(start_.sample[a]->nearest);
        }
        if (!(rest >= 0)) {
            return {0, -1};
        }
        // One more step covers the rounding of the squares of large indices.
        const float reach = __builtin_sqrtf(rest) + 1;
        const std::int32_t last =
            reach < static_cast<float>(last_) ? static_cast<std::int32_t>(reach) : last_;
        return {-last, last};
    }

private:
    const VoxelStart& start_;
    float threshold_;
    float root_;
    float outerSquared_; ///< in steps, of the shell
    std::int32_t last_;
};

} // namespace

} // namespace zarngi::engine

#endif
