/**
 * @file nearbyDoses.h
 * The doses near voxels: where they are all too far from the reference dose, nothing is searched.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_NEARBYDOSES_H
#define ZARNGI_LATTICE_STAGES_NEARBYDOSES_H

#include <cstdint>

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/axes.h"
#include "lattice/intervals.h"
#include "lattice/pass.h"
#include "lattice/stages/voxelStart.h"
#include "lattice/voxelGroup.h"

namespace zarngi::engine
{

namespace
{

/**
 * Finds the voxels to which no point of the shell can matter, by the range of all doses that the
 * shell may read around them.
 *
 * A pass that is not the last one finds only small gamma^2: in regions that fail, nothing. The
 * voxels of a row share most of what has to be read.
 */
class NearbyDoses
{
public:
    explicit NearbyDoses(const SearchPass& pass) : pass_(pass) {}

    /** Whether a pass leaves out what is too large. */
    [[nodiscard]] static bool canExclude(const SearchPass& pass)
    {
        return pass.passRateMode || !pass.isLast;
    }

    /** Excludes voxels from the search; returns how many. */
    int exclude(VoxelStart* starts, int count)
    {
        int excluded = 0;
        int first = 0;
        for (int v = 1; v <= count; ++v) {
            if (v == count || !areInOneRow(starts[v], starts[first])) {
                excluded += excludeInRow(starts + first, v - first);
                first = v;
            }
        }
        return excluded;
    }

private:
    using F = Lanes::F;

    /** The evaluation voxels on an axis that points of the shell may read. */
    struct Span {
        std::int32_t first;
        std::int32_t last;
        bool leavesGrid; ///< some points on the faces of the box may count as outside: dose 0
    };

    /** A range of doses, Gy. */
    struct Range {
        float least;
        float most;
    };

    static bool areInOneRow(const VoxelStart& a, const VoxelStart& b)
    {
        return a.index[1] == b.index[1] && a.index[2] == b.index[2];
    }

    [[nodiscard]] Span spanOf(const VoxelStart& start, int axis) const;
    [[nodiscard]] bool isExcluded(const VoxelStart& start, Range range) const;
    int excludeInRow(VoxelStart* starts, int count);
    [[nodiscard]] Range rangeIn(const Span& span, std::int32_t from, std::int32_t width) const;
    void findRanges(const VoxelStart& start, const Span& x);
    void widenRanges(std::int32_t length, std::int32_t width);

    static constexpr std::int32_t longest = 16 * maxVoxels; ///< voxels along x

    const SearchPass& pass_;
    bool leavesGrid_ = false; ///< along y or z
    // Of the doses at so many voxels along x from one on, in all rows that may be read.
    alignas(64) float least_[longest + 2 * Lanes::width];
    alignas(64) float most_[longest + 2 * Lanes::width];
};

NearbyDoses::Span NearbyDoses::spanOf(const VoxelStart& start, int axis) const
{
    const AxisSample& sample = *start.sample[axis];
    const LatticeInterval range = common(sample.inside, {-pass_.outerIndex, pass_.outerIndex});
    const int n = pass_.evaluation.n[axis];
    // In the order of operations of the readers, which never decreases along the axis.
    const auto fractional = [&](std::int32_t i) {
        const float position = sample.position + static_cast<float>(i) * pass_.stepSize;
        return (position - pass_.evaluation.x0[axis]) / pass_.evaluation.h[axis];
    };
    const float low = fractional(range.first);
    const float high = fractional(range.last);
    if (!isFinite(low) || !isFinite(high)) {
        return {0, n - 1, true};
    }
    const auto voxelBelow = [&](float f) {
        return static_cast<std::int32_t>(clamped(f - 0.5F, 0.0F, static_cast<float>(n - 1)));
    };
    return {voxelBelow(low), smaller(voxelBelow(high) + 1, n - 1),
            !(low > 0 && high < static_cast<float>(n))};
}

/** Whether the range of doses is too far from the reference dose for this pass. */
bool NearbyDoses::isExcluded(const VoxelStart& start, Range range) const
{
    const float dose = start.referenceDose;
    // As in a cell: the roundings of interpolation, and of the difference.
    const float rounding = (larger(range.most, -range.least) + larger(dose, -dose)) * 0x1p-20F;
    const float u = (larger(range.least - dose, dose - range.most) - rounding) * start.scale;
    return u > 0 && u * u > start.cap * pass_.thresholdPerLimit && start.isTame;
}

/** Excludes voxels of one row of the reference grid; returns how many. */
int NearbyDoses::excludeInRow(VoxelStart* starts, int count)
{
    Span spans[maxVoxels];
    Span all{longest, -1, false};
    std::int32_t narrowest = longest;
    const VoxelStart* searched = nullptr;
    for (int v = 0; v < count; ++v) {
        if (starts[v].isSearched) {
            spans[v] = spanOf(starts[v], 0);
            narrowest = smaller(narrowest, spans[v].last - spans[v].first + 1);
            all.first = searched == nullptr ? spans[v].first : smaller(all.first, spans[v].first);
            all.last = larger(all.last, spans[v].last);
            searched = &starts[v];
        }
    }
    if (searched == nullptr || all.last - all.first >= longest) {
        return 0;
    }
    std::int32_t width = 1;
    while (2 * width <= narrowest) {
        width *= 2;
    }
    findRanges(*searched, all);
    widenRanges(all.last - all.first + 1, width);
    int excluded = 0;
    for (int v = 0; v < count; ++v) {
        if (starts[v].isSearched && isExcluded(starts[v], rangeIn(spans[v], all.first, width))) {
            starts[v].isSearched = false;
            ++excluded;
        }
    }
    return excluded;
}

/** The range of the doses in a span, from ranges that begin at `from` and have so many voxels. */
NearbyDoses::Range NearbyDoses::rangeIn(const Span& span, std::int32_t from,
                                        std::int32_t width) const
{
    const std::int32_t last = span.last - from + 1 - width;
    Range range{least_[last], most_[last]};
    for (std::int32_t c = span.first - from; c < last; c += width) {
        range = {smaller(range.least, least_[c]), larger(range.most, most_[c])};
    }
    if (leavesGrid_ || span.leavesGrid) {
        range = {smaller(range.least, 0.0F), larger(range.most, 0.0F)};
    }
    return range;
}

/** Finds the ranges of the doses at voxels along x, over all rows that a voxel's points may read.
 */
void NearbyDoses::findRanges(const VoxelStart& start, const Span& x)
{
    const Span y = spanOf(start, 1);
    const Span z = spanOf(start, 2);
    leavesGrid_ = y.leavesGrid || z.leavesGrid;
    const int* const n = pass_.evaluation.n;
    for (std::int32_t c = 0; c <= x.last - x.first; c += Lanes::width) {
        F least = Lanes::all(__builtin_inff());
        F most = Lanes::all(-__builtin_inff());
        for (std::int32_t iz = z.first; iz <= z.last; ++iz) {
            const float* row = pass_.evaluation.map + voxelIndex(n, x.first, y.first, iz) + c;
            for (std::int32_t iy = y.first; iy <= y.last; ++iy, row += n[0]) {
                // A dose that is not a number changes nothing: the second operand is taken.
                least = Lanes::min(Lanes::load(row), least);
                most = Lanes::max(Lanes::load(row), most);
            }
        }
        Lanes::store(least_ + c, least);
        Lanes::store(most_ + c, most);
    }
}

/** Widens the ranges to those of so many voxels from each one on: a power of two. */
void NearbyDoses::widenRanges(std::int32_t length, std::int32_t width)
{
    for (std::int32_t ahead = 1; ahead < width; ahead *= 2) {
        for (std::int32_t c = 0; c + ahead < length; c += Lanes::width) {
            Lanes::store(least_ + c,
                         Lanes::min(Lanes::load(least_ + c), Lanes::load(least_ + c + ahead)));
            Lanes::store(most_ + c,
                         Lanes::max(Lanes::load(most_ + c), Lanes::load(most_ + c + ahead)));
        }
    }
}

} // namespace

} // namespace zarngi::engine

#endif
