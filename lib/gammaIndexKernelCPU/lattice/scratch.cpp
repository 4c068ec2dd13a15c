#include "lattice/scratch.h"

#include <algorithm>

namespace zarngi::engine
{

namespace
{

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

} // namespace

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

} // namespace zarngi::engine
