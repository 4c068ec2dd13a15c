#include "comparison/noise/noiseEstimate.h"

#include <algorithm>
#include <cmath>

namespace zarngi
{

namespace
{

/** Beyond which the extrapolation loses its way: the noise is nine tenths of the dose difference.
 */
constexpr double mostNoiseSquare = 0.8;

using Rates = std::array<double, addedVariances.size() + 1>;

/** Of each rate in a coefficient. */
using Weights = std::array<double, addedVariances.size() + 1>;

// Least squares of a quadratic in t = v / (1 + v / 5), v = 1 and 1 + added variances.
constexpr Weights ofSquare{1.2675002816754595, -0.523186350466138, -1.2155280212025703,
                           -0.6818472086726786, 1.153061298665928};
constexpr Weights ofSlope{-4.436611022253274, 1.3238168904167518, 3.6734474302472835,
                          2.3967100801325896, -2.957363378543353};
constexpr Weights ofConstant{3.692475786626301, -0.4790472900239741, -2.2758942012064427,
                             -1.693867596421101, 1.7563333010252187};
constexpr double latestTurn = 2 / 1.4; ///< t of twice the doses' own variance

double weighted(const Weights& weights, const Rates& rates)
{
    double sum = 0;
    for (std::size_t i = 0; i < rates.size(); ++i) {
        sum += weights.at(i) * rates.at(i);
    }
    return sum;
}

double percentOf(double part, std::size_t whole)
{
    return 100 * part / static_cast<double>(whole);
}

/**
 * %, standard deviation of the extrapolated rate. A voxel that passes with probability p does once
 * but not the other time with 2 p (1 - p), so half the disagreements are the variance of a count.
 */
double deviationOf(const NoiseCounts& counts)
{
    constexpr double unseen = 0.5; // of a voxel that might have disagreed
    constexpr double ofGiven =
        8; // by simulations: variance by that of a rate with little more noise
    const auto varianceOf = [&](std::size_t step) {
        return (static_cast<double>(counts.disagreements.at(step)) + unseen) / 2;
    };
    double variance = ofGiven * (varianceOf(0) + varianceOf(1)) / 2;
    for (std::size_t i = 0; i < addedVariances.size(); ++i) {
        const double weight = ofConstant.at(i + 1);
        variance += weight * weight * varianceOf(i) / noiseRepetitions;
    }
    return percentOf(std::sqrt(variance), counts.tested);
}

Rates ratesOf(const NoiseCounts& counts)
{
    Rates rates{percentOf(static_cast<double>(counts.passed), counts.tested)};
    for (std::size_t i = 0; i < addedVariances.size(); ++i) {
        double passed = 0;
        for (const std::size_t one : counts.passedWith.at(i)) {
            passed += static_cast<double>(one) / noiseRepetitions;
        }
        rates.at(i + 1) = percentOf(passed, counts.tested);
    }
    return rates;
}

} // namespace

double extrapolatedRate(const std::array<double, addedVariances.size() + 1>& rates)
{
    const double square = weighted(ofSquare, rates);
    const double slope = weighted(ofSlope, rates);
    const double constant = weighted(ofConstant, rates);
    const double turn = square != 0 ? -slope / (2 * square) : 0;
    return turn > 0 && turn < latestTurn ? constant + (slope + square * turn) * turn : constant;
}

NoiseEstimate noiseEstimate(const NoiseCounts& counts)
{
    NoiseEstimate estimate;
    estimate.noise = std::sqrt(counts.noiseSquare);
    if (counts.tested < fewestVoxels) {
        return estimate;
    }
    if (!(counts.noiseSquare <= mostNoiseSquare)) {
        estimate.kind = NoiseEstimate::Kind::tooNoisy;
        return estimate;
    }
    // Both as simulations show them: see docs/noise.md.
    constexpr double ofCorrection = 0.25;
    constexpr double ofDeviation = 2;
    const Rates rates = ratesOf(counts);
    const double rate = extrapolatedRate(rates);
    const double half =
        ofCorrection * std::fabs(rate - rates.front()) + ofDeviation * deviationOf(counts);
    estimate.kind = NoiseEstimate::Kind::told;
    estimate.passRate = std::clamp(rate, 0.0, 100.0);
    estimate.lower = std::max(estimate.passRate - half, 0.0);
    estimate.upper = std::min(estimate.passRate + half, 100.0);
    return estimate;
}

} // namespace zarngi
