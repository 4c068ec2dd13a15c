#include "comparison/sweep/sweep.h"

#include <algorithm>
#include <chrono>

#include "comparison/failure.h"
#include "comparison/structures/structureGamma.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

SweepCount countOf(const unsigned char* first, std::size_t length)
{
    SweepCount count;
    const auto* const end = first + length;
    count.passed = static_cast<std::size_t>(std::count(first, end, ZARNGI_PASSED));
    count.tested = length - static_cast<std::size_t>(std::count(first, end, ZARNGI_NOT_TESTED));
    return count;
}

void setRate(SweepCount& count)
{
    if (count.tested > 0) {
        count.passRate =
            100 * static_cast<double>(count.passed) / static_cast<double>(count.tested);
    }
}

SweepCount countIn(std::span<const unsigned char> passed, const files::Runs& voxels,
                   const Geometry& grid)
{
    SweepCount sum;
    for (const files::Run& run : voxels) {
        const SweepCount row = countOf(passed.data() + firstVoxel(grid, run),
                                       static_cast<std::size_t>(run.end - run.begin));
        sum.tested += row.tested;
        sum.passed += row.passed;
    }
    setRate(sum);
    return sum;
}

} // namespace

Sweep sweep(GammaRun& run, const GammaSettings& settings, const CriterionRange& range,
            const Geometry& grid, const std::vector<NamedPart>& parts, const WatchSweep& watch)
{
    const auto start = std::chrono::steady_clock::now();
    // With a map as in the comparison, if that has one: the rate without one may be that of a voxel
    // less.
    GammaSettings silent = settings;
    silent.verbose = 0;
    Sweep result;
    result.range = range;
    result.parts.emplace_back();
    for (const NamedPart& part : parts) {
        result.parts.push_back({part.name, {}});
    }
    const std::size_t count = range.doseDifferences.size() * range.distances.size();
    for (std::size_t i = 0; i < count; ++i) {
        const double done = static_cast<double>(i) / static_cast<double>(count);
        if (watch && !watch(done)) {
            throw InputError("the sweep was interrupted", FailureKind::interrupted);
        }
        const WatchSearch watchOne =
            watch ? [&](const SearchProgress&) { return watch(done); } : WatchSearch();
        const Criterion criterion{range.doseDifferences[i / range.distances.size()],
                                  range.distances[i % range.distances.size()], range.isLocal};
        const GammaMap map = run.compute(silent, criterion, watchOne);
        SweepCount all = countOf(map.passed.data(), map.passed.size());
        all.passRate = map.passRate;
        result.parts.front().counts.push_back(all);
        for (std::size_t p = 0; p < parts.size(); ++p) {
            result.parts[p + 1].counts.push_back(countIn(map.passed, *parts[p].voxels, grid));
        }
    }
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    result.seconds = duration.count();
    return result;
}

} // namespace zarngi
