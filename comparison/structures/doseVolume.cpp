#include "comparison/structures/doseVolume.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "comparison/structures/doseOrder.h"
#include "comparison/structures/doseSamples.h"

namespace zarngi
{

namespace
{

/** A metric in terms of percentiles and doses; none of both where the volume is too small. */
struct Question {
    std::optional<double> percentile;
    std::optional<double> dose;
};

Question questionOf(const DoseMetric& metric, double volume, double fullDose)
{
    switch (metric.kind) {
    case DoseMetric::Kind::doseToShare:
        return {100 - metric.value, {}};
    case DoseMetric::Kind::doseToVolume:
        return metric.value > volume ? Question() : Question{100 - 100 * metric.value / volume, {}};
    case DoseMetric::Kind::volumeAtDose:
        return {{}, metric.value};
    default:
        return {{}, metric.value / 100 * fullDose};
    }
}

std::vector<std::optional<double>> answers(DoseOrder& order, const std::vector<Question>& questions,
                                           std::size_t count)
{
    for (const Question& question : questions) {
        if (question.percentile) {
            order.wantPercentile(*question.percentile);
        } else if (question.dose) {
            order.wantDose(*question.dose);
        }
    }
    order.gather();
    std::vector<std::optional<double>> values;
    for (const Question& question : questions) {
        std::optional<double> value;
        if (question.percentile) {
            value = order.percentile(*question.percentile);
        } else if (question.dose) {
            value = 100 * static_cast<double>(order.atOrAbove(*question.dose)) /
                    static_cast<double>(count);
        }
        values.push_back(value);
    }
    return values;
}

/** mantissa * 10^exponent, rounded once. */
double decimal(double mantissa, int exponent)
{
    const double power = std::pow(10.0, std::abs(exponent)); // exact up to 10^22
    return exponent < 0 ? mantissa / power : mantissa * power;
}

} // namespace

std::optional<DoseVolume> doseVolume(const DoseView& dose, const SubPoints& points,
                                     const DoseVolumeSettings& settings)
{
    const DoseSamples samples = doseSamples(dose, points);
    if (samples.doses.empty()) {
        return std::nullopt;
    }
    const auto count = static_cast<double>(samples.doses.size());
    const auto [minimum, maximum] = std::minmax_element(samples.doses.begin(), samples.doses.end());
    DoseVolume result;
    result.minimum = *minimum;
    result.maximum = *maximum;
    result.mean = std::accumulate(samples.doses.begin(), samples.doses.end(), 0.0) / count;
    result.withoutDose = samples.withoutDose;
    result.volume = count / static_cast<double>(points.count()) * points.volume();
    std::vector<Question> questions;
    for (const DoseMetric& metric : settings.metrics) {
        questions.push_back(questionOf(metric, result.volume, settings.fullDose));
    }
    DoseOrder order(samples.doses, settings.binWidth, result.maximum);
    result.metrics = answers(order, questions, samples.doses.size());
    for (const std::size_t above : order.cumulative()) {
        result.curve.push_back(static_cast<double>(above) / count);
    }
    return result;
}

double curveBinWidth(double largestDose)
{
    constexpr double mostBins = 1000;
    constexpr int smallestExponent = -20;
    if (!(largestDose > 0)) {
        return 1;
    }
    for (int exponent = smallestExponent;; ++exponent) {
        for (const double mantissa : {1.0, 2.0, 5.0}) {
            const double width = decimal(mantissa, exponent);
            if (largestDose <= mostBins * width) {
                return width;
            }
        }
    }
}

} // namespace zarngi
