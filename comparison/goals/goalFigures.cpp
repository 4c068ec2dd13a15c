#include "comparison/goals/goalFigures.h"

#include <algorithm>

#include "comparison/structures/isodoseVolume.h"

namespace zarngi
{

namespace
{

constexpr double percent = 100;
constexpr double centigrays = 100; // of a gray

} // namespace

/** It is among those of the settings: metricsOf(). */
std::optional<double> GoalFigures::metric(const DoseMetric& metric, const DoseVolume& dose) const
{
    const std::vector<DoseMetric>& metrics = structures_.doseVolume.metrics;
    const auto place = std::find(metrics.begin(), metrics.end(), metric) - metrics.begin();
    return dose.metrics.at(static_cast<std::size_t>(place));
}

std::optional<double> GoalFigures::homogeneity(const DoseVolume& dose) const
{
    const auto at = [&](double share) {
        return metric({DoseMetric::Kind::doseToShare, share}, dose).value_or(0);
    };
    const double middle = at(50);
    return middle > 0 ? std::optional((at(2) - at(98)) / middle) : std::nullopt;
}

/** What lies outside of the dose grid has no dose, but belongs to the target. */
std::optional<double> GoalFigures::conformity(const StructureRow& row, const DoseVolume& dose)
{
    if (!prescribedVolume_) {
        prescribedVolume_ = isodoseVolume(view_, structures_.doseVolume.fullDose);
    }
    const double covered = metric(wholePrescription, dose).value_or(0) / percent * dose.volume;
    const double product = row.volume * *prescribedVolume_;
    return product > 0 ? std::optional(covered * covered / product) : std::nullopt;
}

std::optional<double> GoalFigures::ofHistogram(const Goal& goal, const DoseVolume& dose) const
{
    switch (goal.figure.kind) {
    case GoalFigure::Kind::minimum:
        return dose.minimum;
    case GoalFigure::Kind::mean:
        return dose.mean;
    case GoalFigure::Kind::maximum:
        return dose.maximum;
    case GoalFigure::Kind::homogeneity:
        return homogeneity(dose);
    default:
        return metric(goal.figure.metric, dose);
    }
}

std::optional<double> GoalFigures::of(const Goal& goal, const StructureRow& row)
{
    const std::optional<DoseVolume>& dose = row.*dose_;
    if (!dose) {
        return {};
    }
    if (goal.figure.kind == GoalFigure::Kind::conformity) {
        return conformity(row, *dose);
    }
    const std::optional<double> value = ofHistogram(goal, *dose);
    if (!value) {
        return {};
    }
    switch (goal.figureUnit()) {
    case GoalUnit::cubicCentimetres:
        return *value / percent * dose->volume;
    case GoalUnit::centigray:
        return *value * centigrays;
    case GoalUnit::percent:
        return goal.figure.isDose() ? percent * *value / structures_.doseVolume.fullDose : *value;
    default:
        return value;
    }
}

} // namespace zarngi
