#include "comparison/conditions.h"

#include <array>
#include <cmath>

#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** In the order of ConditionKind. */
constexpr std::array<const char*, static_cast<std::size_t>(ConditionKind::ignoredFrame) + 1> names{
    "reference-sum",
    "evaluation-sum",
    "reference-scale",
    "evaluation-scale",
    "within",
    "cut-off",
    "normalisation",
    "search-limit",
    "step",
    "pass-rate-only",
    "nearest",
    "slices",
    "rotate",
    "plane",
    "unreached",
    "assumed-dose-unit",
    "assumed-position",
    "assumed-orientation",
    "given-dose-unit",
    "given-length-unit",
    "given-pixel-size",
    "error-doses",
    "ignored-frame"};

class Conditions
{
public:
    void add(bool isSo, ConditionKind kind, const std::string& text)
    {
        if (isSo) {
            Condition& added = list_.emplace_back();
            added.kind = kind;
            added.text = text;
        }
    }
    std::vector<Condition> take() { return std::move(list_); }

private:
    std::vector<Condition> list_;
};

void addMaking(Conditions& conditions, const Comparison& comparison)
{
    const Request& request = comparison.request;
    const auto addSum = [&](ConditionKind kind, const char* dose, std::size_t added) {
        conditions.add(added > 0, kind,
                       std::string(dose) + " summed from " + std::to_string(added + 1) + " files");
    };
    addSum(ConditionKind::referenceSum, "reference", comparison.referenceAdded.size());
    addSum(ConditionKind::evaluationSum, "evaluation", comparison.evaluationAdded.size());
    const auto addScale = [&](ConditionKind kind, const char* dose, const DoseFactor& factor) {
        conditions.add(factor.value != 1, kind, std::string(dose) + " times " + factor.text);
    };
    addScale(ConditionKind::referenceScale, "reference", request.reference.factor);
    addScale(ConditionKind::evaluationScale, "evaluation", request.evaluation.factor);
}

std::string normalisationText(const Comparison& comparison)
{
    const NormalisationRequest& request = comparison.request.normalisation;
    const std::string dose =
        "percentages of " + number(comparison.normalisation) + " " + comparison.doseUnit();
    return request.isEvaluation ? dose + " (maximum of the evaluation)"
           : request.at.empty() ? dose + " (given)"
                                : dose + " (reference at " + join(request.at, ", ") + " mm)";
}

void addSettings(Conditions& conditions, const Comparison& comparison)
{
    const GammaSettings& settings = comparison.settings;
    const GammaSettings usual;
    conditions.add(comparison.within.has_value(), ConditionKind::within,
                   comparison.within ? "tested only in " + oneLine(comparison.within->structures)
                                     : std::string());
    conditions.add(settings.cutOff != usual.cutOff, ConditionKind::cutOff,
                   "cut-off " + number(settings.cutOff) + " %");
    conditions.add(comparison.request.normalisation.isGiven(), ConditionKind::normalisation,
                   normalisationText(comparison));
    conditions.add(settings.maxGamma != usual.maxGamma, ConditionKind::searchLimit,
                   std::isfinite(settings.maxGamma)
                       ? "gamma searched up to " + number(settings.maxGamma)
                       : "gamma searched without a limit");
    conditions.add(settings.step.has_value(), ConditionKind::step,
                   "search step " + number(settings.step.value_or(0)) + " mm");
    conditions.add(settings.passRateOnly, ConditionKind::passRateOnly, "pass rate only");
    conditions.add(settings.nearest, ConditionKind::nearest,
                   "doses of the nearest voxel, not interpolated");
    conditions.add(settings.slices, ConditionKind::slices, "interpolated within slices only");
    conditions.add(settings.rotate, ConditionKind::rotate, "search turned at random");
}

void addPlacing(Conditions& conditions, const PlacedDoses& placed)
{
    if (placed.place) {
        conditions.add(true, ConditionKind::plane,
                       "plane " + placed.placeName + " through " + join(placed.place->at, ", ") +
                           " mm");
    }
}

void addUnreached(Conditions& conditions, const Comparison& comparison)
{
    if (comparison.results.empty()) {
        return;
    }
    const GammaStatistics& statistics = mostUnreached(comparison.results).statistics;
    conditions.add(statistics.unreached > 0, ConditionKind::unreached,
                   grouped(statistics.unreached) + " of " + grouped(statistics.tested) +
                       " tested " + placesName(comparison.reference) +
                       " without evaluation dose in reach");
}

/** "reference", "evaluation", "reference and evaluation", or nothing. */
template <class Test> std::string dosesThat(const Comparison& comparison, const Test& test)
{
    const bool isReference = test(comparison.reference);
    const bool isEvaluation = test(comparison.evaluation);
    return isReference && isEvaluation ? "reference and evaluation"
           : isReference               ? "reference"
           : isEvaluation              ? "evaluation"
                                       : "";
}

void addAssumptions(Conditions& conditions, const Comparison& comparison)
{
    const auto add = [&](ConditionKind kind, const char* what, const auto& test) {
        const std::string doses = dosesThat(comparison, test);
        conditions.add(!doses.empty(), kind, what + (" (" + doses) + ")");
    };
    add(ConditionKind::assumedDoseUnit, "doses taken for Gy",
        [](const DoseImage& dose) { return !dose.tellsUnit && dose.unit == DoseUnit::gray; });
    add(ConditionKind::assumedPosition, "position assumed",
        [](const DoseImage& dose) { return !dose.tellsPosition; });
    add(ConditionKind::assumedOrientation, "orientation assumed",
        [](const DoseImage& dose) { return !dose.tellsOrientation; });
    const files::TableUnits& units = comparison.request.units;
    conditions.add(units.gray.has_value(), ConditionKind::givenDoseUnit,
                   std::string("doses without a unit in ") + (units.gray == 1 ? "Gy" : "cGy"));
    conditions.add(units.millimetres.has_value(), ConditionKind::givenLengthUnit,
                   std::string("tables without a unit of length in ") +
                       (units.millimetres == 1 ? "mm" : "cm"));
    conditions.add(units.pixelSize.has_value(), ConditionKind::givenPixelSize,
                   "pixels of " + number(units.pixelSize.value_or(0)) +
                       " mm where no coordinates are told");
    if (comparison.request.allowErrorDoses) {
        add(ConditionKind::errorDoses, "differences taken for doses",
            [](const DoseImage& dose) { return dose.isError(); });
    }
    conditions.add(comparison.request.structures.ignoreFrame, ConditionKind::ignoredFrame,
                   "frame of the structures not regarded");
}

} // namespace

const char* conditionName(ConditionKind kind)
{
    return names[static_cast<std::size_t>(kind)];
}

std::vector<Condition> conditionsOf(const Comparison& comparison)
{
    Conditions conditions;
    addMaking(conditions, comparison);
    addSettings(conditions, comparison);
    addPlacing(conditions, comparison.placed);
    addUnreached(conditions, comparison);
    addAssumptions(conditions, comparison);
    return conditions.take();
}

std::string textOf(const std::vector<Condition>& conditions)
{
    std::string text;
    for (const Condition& condition : conditions) {
        text += (text.empty() ? "" : "; ") + condition.text;
    }
    return text;
}

} // namespace zarngi
