#include "comparison/gammaStatistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>

#include "libZarnGI.h"

namespace zarngi
{

namespace
{

/**
 * Sorts as much of the values as it needs.
 * @param sorted before it, all values are smaller or equal; moved to the percentile
 */
double percentile(std::vector<float>& values, std::size_t& sorted, double percent)
{
    const double rank = percent / 100 * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(rank);
    const auto position = values.begin() + static_cast<std::ptrdiff_t>(below);
    std::nth_element(values.begin() + static_cast<std::ptrdiff_t>(sorted), position, values.end());
    sorted = below;
    const auto lower = static_cast<double>(*position);
    if (position + 1 == values.end()) {
        return lower;
    }
    const auto upper = static_cast<double>(*std::min_element(position + 1, values.end()));
    return lower + (rank - static_cast<double>(below)) * (upper - lower);
}

GammaSpread spreadOf(std::vector<float>& values)
{
    const auto [minimum, maximum] = std::minmax_element(values.begin(), values.end());
    GammaSpread spread{};
    spread.minimum = static_cast<double>(*minimum);
    spread.maximum = static_cast<double>(*maximum);
    spread.mean =
        std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    std::size_t sorted = 0;
    spread.percentile95 = percentile(values, sorted, 95);
    spread.percentile99 = percentile(values, sorted, 99);
    return spread;
}

Histogram histogramOf(const std::vector<float>& gammas, double maxGamma)
{
    constexpr double shortest = 2; // leaves bins for failed voxels
    constexpr double longest = 10; // gamma beyond which single bins tell nothing more
    const double end = std::clamp(std::ceil(maxGamma), shortest, longest);
    Histogram histogram;
    histogram.counts.resize(static_cast<std::size_t>(end) * Histogram::binsPerUnit);
    const auto last = static_cast<double>(histogram.counts.size() - 1);
    for (const float gamma : gammas) {
        // A product with a whole number below 2^29 is exact: gamma 1 ends its bin.
        const double bin = std::ceil(static_cast<double>(gamma) * Histogram::binsPerUnit) - 1;
        ++histogram.counts[static_cast<std::size_t>(std::clamp(bin, 0.0, last))];
    }
    return histogram;
}

/** What there is to count. */
struct TestedGammas {
    std::vector<float> gammas;
    std::size_t passed = 0;
    /** Failed voxels with a gamma of exactly 1: the library decides on gamma squared, before the
     * root is rounded. */
    std::size_t failedAtOne = 0;

    void add(float gamma, unsigned char verdict)
    {
        if (gamma >= 0) {
            gammas.push_back(gamma);
        }
        passed += verdict == ZARNGI_PASSED ? 1U : 0U;
        failedAtOne += verdict == ZARNGI_FAILED && gamma <= 1 ? 1U : 0U;
    }
};

/** Whole pieces that are not tested, as most are, are passed over. */
TestedGammas testedOf(std::span<const float> gammas, std::span<const unsigned char> passed)
{
    std::array<unsigned char, 64> untested{};
    untested.fill(ZARNGI_NOT_TESTED);
    TestedGammas tested;
    for (std::size_t start = 0; start < gammas.size(); start += untested.size()) {
        const std::size_t count = std::min(untested.size(), gammas.size() - start);
        if (std::memcmp(passed.data() + start, untested.data(), count) == 0) {
            continue;
        }
        for (std::size_t i = start; i < start + count; ++i) {
            tested.add(gammas[i], passed[i]);
        }
    }
    return tested;
}

/** Moves failed voxels whose gamma was rounded to 1 to the first bin of failed ones. */
void moveAcrossOne(Histogram& histogram, std::size_t count)
{
    histogram.counts[Histogram::binsPerUnit - 1] -= count;
    histogram.counts[Histogram::binsPerUnit] += count;
}

} // namespace

GammaStatistics gammaStatistics(std::span<const float> gammas,
                                std::span<const unsigned char> passed,
                                const GammaSettings& settings)
{
    auto [tested, passes, failedAtOne] = testedOf(gammas, passed);
    GammaStatistics statistics;
    statistics.tested = tested.size();
    statistics.passed = passes;
    statistics.failed = statistics.tested - statistics.passed;
    if (statistics.tested > 0) {
        statistics.passRate =
            100 * static_cast<double>(statistics.passed) / static_cast<double>(statistics.tested);
    }
    if (settings.passRateOnly) {
        return statistics;
    }
    statistics.histogram = histogramOf(tested, settings.maxGamma);
    moveAcrossOne(*statistics.histogram, failedAtOne);
    statistics.unreached =
        std::erase_if(tested, [](float gamma) { return gamma > unreachedGamma; });
    const auto limit = static_cast<float>(settings.maxGamma);
    statistics.beyondLimit = static_cast<std::size_t>(
        std::count_if(tested.begin(), tested.end(), [=](float gamma) { return gamma > limit; }));
    if (!tested.empty()) {
        statistics.spread = spreadOf(tested);
    }
    return statistics;
}

GammaStatistics gammaStatistics(const GammaMap& map, const GammaSettings& settings)
{
    GammaStatistics statistics = gammaStatistics(map.values, map.passed, settings);
    statistics.passRate = map.passRate;
    return statistics;
}

} // namespace zarngi
