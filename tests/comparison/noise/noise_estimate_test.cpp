#include <gtest/gtest.h>

#include <cmath>

#include "comparison/noise/noiseEstimate.h"

using zarngi::addedVariances;
using zarngi::NoiseCounts;
using zarngi::noiseEstimate;
using Kind = zarngi::NoiseEstimate::Kind;

namespace
{

/** Counts of rates, %, at the doses' own variance and with the added ones; both repetitions alike.
 */
NoiseCounts countsOf(std::size_t tested, const std::array<double, 5>& rates)
{
    NoiseCounts counts;
    counts.tested = tested;
    const auto passed = [&](double rate) {
        return static_cast<std::size_t>(std::lround(rate / 100 * static_cast<double>(tested)));
    };
    counts.passed = passed(rates[0]);
    for (std::size_t i = 0; i < addedVariances.size(); ++i) {
        counts.passedWith.at(i).fill(passed(rates.at(i + 1)));
    }
    counts.noiseSquare = 0.5;
    return counts;
}

TEST(NoiseEstimate, ExtrapolatesItsOwnCurvesExactly)
{
    // Quadratics in t = v / (1 + v / 5), at v = 1 and 1 + added variance, lead back to v = 0, or to
    // where they turn round before.
    const auto ratesOf = [](double constant, double slope, double square) {
        std::array<double, 5> rates{};
        for (std::size_t i = 0; i < rates.size(); ++i) {
            const double variance = i == 0 ? 1 : 1 + addedVariances.at(i - 1);
            const double t = variance / (1 + variance / 5);
            rates.at(i) = constant + slope * t + square * t * t;
        }
        return rates;
    };
    EXPECT_NEAR(zarngi::extrapolatedRate(ratesOf(95, 0, 0)), 95, 1e-10);
    EXPECT_NEAR(zarngi::extrapolatedRate(ratesOf(95, -4, 0)), 95, 1e-10);
    EXPECT_NEAR(zarngi::extrapolatedRate(ratesOf(95, -8, 1)), 95, 1e-10);
    EXPECT_NEAR(zarngi::extrapolatedRate(ratesOf(60, 3, 0.5)), 60, 1e-10);
    EXPECT_NEAR(zarngi::extrapolatedRate(ratesOf(95, 4, -4)), 96, 1e-10);  // at t = 0.5
    EXPECT_NEAR(zarngi::extrapolatedRate(ratesOf(95, 12, -4)), 95, 1e-10); // at 1.5, beyond v = 2
}

TEST(NoiseEstimate, IsTheRateItselfWhereNoiseChangesNothing)
{
    const auto estimate = noiseEstimate(countsOf(1000000, {93, 93, 93, 93, 93}));
    ASSERT_EQ(estimate.kind, Kind::told);
    EXPECT_NEAR(estimate.passRate, 93, 1e-9);
    EXPECT_LT(estimate.lower, 93);
    EXPECT_GT(estimate.lower, 92.99);
    EXPECT_DOUBLE_EQ(estimate.noise, std::sqrt(0.5));
}

TEST(NoiseEstimate, StaysBetweenNoneAndAll)
{
    const auto estimate = noiseEstimate(countsOf(100000, {97, 94, 91, 86, 82}));
    ASSERT_EQ(estimate.kind, Kind::told);
    EXPECT_EQ(estimate.passRate, 100);
    EXPECT_EQ(estimate.upper, 100);
    EXPECT_LT(estimate.lower, 100);
}

TEST(NoiseEstimate, IsAsWideAsDisagreementsAndTheCorrectionMakeIt)
{
    NoiseCounts counts = countsOf(10000, {90, 90, 90, 90, 90});
    counts.disagreements = {800, 1000, 0, 0};
    const auto estimate = noiseEstimate(counts);
    // The variance of a count is half the disagreements; that of the extrapolation is 8 times that
    // of the first two, and half the squares 0.2295 and 5.180 of their weights times each.
    const double variance = 8 * 450.0 + (0.2295 * 400 + 5.180 * 500) / 2;
    EXPECT_NEAR(estimate.upper - estimate.passRate, 2 * std::sqrt(variance) / 100, 1e-2);
    EXPECT_NEAR(estimate.passRate - estimate.lower, estimate.upper - estimate.passRate, 1e-9);
    const auto corrected = noiseEstimate(countsOf(100000000, {80, 78, 76.2, 73.3, 71}));
    const double correction = corrected.passRate - 80;
    EXPECT_NEAR(corrected.upper - corrected.passRate, correction / 4, 1e-3);
}

TEST(NoiseEstimate, IsNoneOfFewVoxelsOrOfNoiseBeyondTheCriterion)
{
    EXPECT_EQ(noiseEstimate(countsOf(49, {90, 88, 86, 83, 80})).kind, Kind::tooFew);
    EXPECT_EQ(noiseEstimate(countsOf(50, {90, 88, 86, 83, 80})).kind, Kind::told);
    NoiseCounts counts = countsOf(5000, {90, 88, 86, 83, 80});
    counts.noiseSquare = 0.8;
    EXPECT_EQ(noiseEstimate(counts).kind, Kind::told);
    for (const double square : {0.8001, HUGE_VAL, std::nan("")}) {
        counts.noiseSquare = square;
        EXPECT_EQ(noiseEstimate(counts).kind, Kind::tooNoisy) << square;
    }
}

} // namespace
