#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "comparison/gammaStatistics.h"
#include "comparison/verdict.h"

using zarngi::GammaMap;
using zarngi::gammaStatistics;

namespace
{

constexpr unsigned char no = 0;     // failed
constexpr unsigned char yes = 1;    // passed
constexpr unsigned char none = 255; // not tested

GammaMap mapOf(files::LargeVector<float> values, files::LargeVector<unsigned char> passed)
{
    GammaMap map;
    map.values = std::move(values);
    map.passed = std::move(passed);
    return map;
}

TEST(Statistics, UntestedVoxelsDoNotCount)
{
    const auto result = gammaStatistics(
        mapOf({-1, 0.25F, -1, 0.5F, 1, 1.5F, 2, -1}, {none, yes, none, yes, yes, no, no, none}),
        {});
    EXPECT_EQ(result.tested, 5U);
    EXPECT_EQ(result.passed, 3U);
    EXPECT_EQ(result.failed, 2U);
    ASSERT_TRUE(result.spread);
    EXPECT_DOUBLE_EQ(result.spread->minimum, 0.25);
    EXPECT_DOUBLE_EQ(result.spread->mean, 1.05);
    EXPECT_DOUBLE_EQ(result.spread->maximum, 2);
    EXPECT_DOUBLE_EQ(result.spread->percentile95, 1.9);
    EXPECT_DOUBLE_EQ(result.spread->percentile99, 1.98);
}

TEST(Statistics, VoxelsWithoutADoseToCompareWithFailButHaveNoGamma)
{
    const auto some = gammaStatistics(mapOf({0.5F, 1e10F, 1e10F}, {yes, no, no}), {});
    EXPECT_EQ(some.failed, 2U);
    EXPECT_EQ(some.unreached, 2U);
    ASSERT_TRUE(some.spread);
    EXPECT_DOUBLE_EQ(some.spread->maximum, 0.5);
    EXPECT_DOUBLE_EQ(some.spread->percentile99, 0.5);
    EXPECT_FALSE(gammaStatistics(mapOf({1e10F}, {no}), {}).spread);
}

TEST(Statistics, GammaBeyondTheLimitOfTheSearchIsCounted)
{
    zarngi::GammaSettings settings;
    settings.maxGamma =
        1.3; // no float: gamma at the limit, which the search knows as one, is within
    auto result = gammaStatistics(
        mapOf({0.5F, 1.3F, 1.31F, 9, 1e10F, -1}, {yes, no, no, no, no, none}), settings);
    EXPECT_EQ(result.beyondLimit, 2U);
    EXPECT_EQ(result.unreached, 1U);
    result.sides = {1, 1};
    EXPECT_EQ(result.onNeitherSide(), 1U); // of four that failed
    settings.passRateOnly = true;
    EXPECT_EQ(gammaStatistics(mapOf({2}, {no}), settings).beyondLimit, 0U);
}

TEST(Statistics, FailureByTheLastBitIsAFailure)
{
    // The square root of the gamma squared next above 1 is 1 in single precision.
    const auto result = gammaStatistics(mapOf({0.5F, 1, 1, 1.2F}, {yes, no, yes, no}), {});
    EXPECT_EQ(result.passed, 2U);
    EXPECT_EQ(result.failed, 2U);
    ASSERT_TRUE(result.histogram);
    EXPECT_EQ(result.histogram->counts[19], 1U);
    EXPECT_EQ(result.histogram->counts[20], 1U);
}

/** Between order statistics of all of them, sorted. */
double percentileOf(std::vector<float> gammas, double percent)
{
    std::sort(gammas.begin(), gammas.end());
    const double rank = percent / 100 * static_cast<double>(gammas.size() - 1);
    const auto below = static_cast<std::size_t>(rank);
    const auto lower = static_cast<double>(gammas[below]);
    const auto upper = static_cast<double>(gammas[std::min(below + 1, gammas.size() - 1)]);
    return lower + (rank - static_cast<double>(below)) * (upper - lower);
}

TEST(Statistics, AreThoseOfTheSortedGammas)
{
    std::mt19937 random(5);
    for (const std::size_t count : {1U, 2U, 20U, 21U, 100U, 101U, 5000U}) {
        for (const float spread : {0.001F, 0.3F, 5.0F}) {
            std::lognormal_distribution<float> gamma(-1, spread);
            GammaMap map;
            std::vector<float> reached;
            for (std::size_t i = 0; i < count; ++i) {
                // Zeros, equal ones, unreached and untested ones among them.
                const float value = i % 7 == 3 ? 0 : i % 5 == 4 ? 0.25F : gamma(random);
                reached.push_back(value);
                for (const float one : {value, i % 3 == 1 ? 1e10F : -1.0F}) {
                    map.values.push_back(one);
                    map.passed.push_back(one < 0 ? none : one <= 1 ? yes : no);
                }
            }
            const auto statistics = gammaStatistics(map, {});
            ASSERT_TRUE(statistics.spread);
            EXPECT_EQ(statistics.spread->percentile95, percentileOf(reached, 95)) << count;
            EXPECT_EQ(statistics.spread->percentile99, percentileOf(reached, 99)) << count;
            EXPECT_EQ(statistics.spread->mean,
                      std::accumulate(reached.begin(), reached.end(), 0.0) /
                          static_cast<double>(count));
            EXPECT_EQ(statistics.spread->maximum,
                      static_cast<double>(*std::max_element(reached.begin(), reached.end())));
        }
    }
}

TEST(Statistics, PassRateModeHasNoGamma)
{
    zarngi::GammaSettings settings;
    settings.passRateOnly = true;
    const auto result = gammaStatistics(mapOf({-1, 0, 1, 1}, {none, no, yes, yes}), settings);
    EXPECT_EQ(result.tested, 3U);
    EXPECT_EQ(result.passed, 2U);
    EXPECT_FALSE(result.spread);
    EXPECT_FALSE(result.histogram);
}

TEST(Statistics, HistogramBinsEndAtTheirUpperEdge)
{
    zarngi::GammaSettings settings;
    settings.maxGamma = 1;
    const float above = std::nextafter(1.0F, 2.0F);
    const auto result = gammaStatistics(mapOf({0, 0.05F, 0.0501F, 0.5F, 1, above, 1.96F, 7, 1e10F},
                                              {yes, yes, yes, yes, yes, no, no, no, no}),
                                        settings);
    ASSERT_TRUE(result.histogram);
    const std::vector<std::size_t>& counts = result.histogram->counts;
    ASSERT_EQ(counts.size(), 40U);
    EXPECT_EQ(counts[9], 1U);
    EXPECT_EQ(counts[19], 1U);
    EXPECT_EQ(counts[20], 1U);
    EXPECT_EQ(counts[39], 3U);
    EXPECT_EQ(std::accumulate(counts.begin(), counts.begin() + 20, std::size_t{0}), result.passed);
    EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), std::size_t{0}), result.tested);
}

TEST(Verdict, LimitsBelongToTheBetterSide)
{
    const zarngi::Limits limits{95, 90};
    EXPECT_EQ(verdictOf(95, limits), zarngi::Verdict::pass);
    EXPECT_EQ(verdictOf(94.999, limits), zarngi::Verdict::investigate);
    EXPECT_EQ(verdictOf(90, limits), zarngi::Verdict::investigate);
    EXPECT_EQ(verdictOf(89.999, limits), zarngi::Verdict::fail);
}

} // namespace
