#include "comparison/gammaStatistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "comparison/gammaOrder.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr double upperPercent = 95;
constexpr double highestPercent = 99;

/** What is counted of a map. */
class TestedGammas
{
public:
    explicit TestedGammas(double maxGamma)
        : limit_(static_cast<float>(maxGamma)), histogram_(binsUpTo(maxGamma))
    {
    }

    void add(float gamma)
    {
        ++histogram_[binOf(gamma)];
        if (gamma > unreachedGamma) {
            ++unreached_;
            return;
        }
        beyondLimit_ += gamma > limit_ ? 1U : 0U;
        minimum_ = std::min(minimum_, gamma);
        maximum_ = std::max(maximum_, gamma);
        sum_ += static_cast<double>(gamma);
        order_.count(gamma);
    }

    void tell(GammaStatistics& statistics) const
    {
        statistics.histogram = Histogram{histogram_};
        statistics.unreached = unreached_;
        statistics.beyondLimit = beyondLimit_;
    }

    /** Of the reached ones, of which there is one. @param visitAll calls a function for each gamma
     */
    template <class VisitAll> GammaSpread spread(const VisitAll& visitAll)
    {
        order_.want(upperPercent);
        order_.want(highestPercent);
        visitAll([this](float gamma) {
            if (gamma <= unreachedGamma) {
                order_.gather(gamma);
            }
        });
        return {static_cast<double>(minimum_), sum_ / static_cast<double>(order_.size()),
                order_.percentile(upperPercent), order_.percentile(highestPercent),
                static_cast<double>(maximum_)};
    }
    bool areReached() const { return order_.size() > 0; }

private:
    std::size_t binOf(float gamma) const
    {
        // A product with a whole number below 2^29 is exact: gamma 1 ends its bin.
        const double scaled = std::min(static_cast<double>(gamma) * Histogram::binsPerUnit,
                                       static_cast<double>(histogram_.size()));
        const auto bin = static_cast<std::int64_t>(scaled);
        const bool endsIt = bin > 0 && static_cast<double>(bin) == scaled;
        return static_cast<std::size_t>(endsIt ? bin - 1 : bin);
    }

    static std::vector<std::size_t> binsUpTo(double maxGamma)
    {
        constexpr double shortest = 2; // leaves bins for failed voxels
        constexpr double longest = 10; // gamma beyond which single bins tell nothing more
        const double end = std::clamp(std::ceil(maxGamma), shortest, longest);
        return std::vector<std::size_t>(static_cast<std::size_t>(end) * Histogram::binsPerUnit);
    }

    float limit_;
    std::vector<std::size_t> histogram_;
    std::size_t unreached_ = 0;
    std::size_t beyondLimit_ = 0;
    float minimum_ = std::numeric_limits<float>::infinity();
    float maximum_ = 0;
    double sum_ = 0;
    GammaOrder order_;
};

/**
 * Calls visit(gamma, verdict) for each voxel that is tested, and some that are not: whole pieces of
 * these, as most are, are passed over.
 */
template <class Visit>
void visitTested(std::span<const float> gammas, std::span<const unsigned char> passed,
                 const Visit& visit)
{
    std::array<unsigned char, 64> untested{};
    untested.fill(ZARNGI_NOT_TESTED);
    for (std::size_t start = 0; start < gammas.size(); start += untested.size()) {
        const std::size_t count = std::min(untested.size(), gammas.size() - start);
        if (std::memcmp(passed.data() + start, untested.data(), count) == 0) {
            continue;
        }
        for (std::size_t i = start; i < start + count; ++i) {
            visit(gammas[i], passed[i]);
        }
    }
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
    GammaStatistics statistics;
    // The library decides on gamma squared, before the root is rounded.
    std::size_t failedAtOne = 0;
    TestedGammas tested(settings.maxGamma);
    visitTested(gammas, passed, [&](float gamma, unsigned char verdict) {
        statistics.passed += verdict == ZARNGI_PASSED ? 1U : 0U;
        failedAtOne += verdict == ZARNGI_FAILED && gamma <= 1 ? 1U : 0U;
        if (gamma >= 0) {
            ++statistics.tested;
            tested.add(gamma);
        }
    });
    statistics.failed = statistics.tested - statistics.passed;
    if (statistics.tested > 0) {
        statistics.passRate =
            100 * static_cast<double>(statistics.passed) / static_cast<double>(statistics.tested);
    }
    if (settings.passRateOnly) {
        return statistics;
    }
    tested.tell(statistics);
    moveAcrossOne(*statistics.histogram, failedAtOne);
    if (tested.areReached()) {
        statistics.spread = tested.spread([&](const auto& use) {
            visitTested(gammas, passed, [&](float gamma, unsigned char) {
                if (gamma >= 0) {
                    use(gamma);
                }
            });
        });
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
