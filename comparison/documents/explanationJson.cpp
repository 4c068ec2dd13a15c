#include "comparison/documents/explanationJson.h"

#include <cmath>

#include "comparison/documents/json.h"
#include "comparison/explanation/conclusion.h"

namespace zarngi
{

namespace
{

Json changeJson(const ChangeResult& result, ShiftAxes axes)
{
    return {{"shift", result.change.shift},
            {"shiftLength", lengthOf(result.change.shift)},
            {"direction", directionText(result.change.shift, axes)},
            {"factor", result.change.factor},
            {"passRate", result.passRate},
            {"failed", result.failed}};
}

const char* axisName(AxisSearch axis)
{
    switch (axis) {
    case AxisSearch::searched:
        return "searched";
    case AxisSearch::notDetermined:
    case AxisSearch::ambiguous:
        return "not determined";
    case AxisSearch::oneVoxel:
        return "one voxel";
    case AxisSearch::noRoom:
        break;
    }
    return "no room";
}

/** As precise as they are found. */
double rounded(double value, double decimals)
{
    return std::round(value * decimals) / decimals + 0.0;
}

std::optional<double> numberOrNone(const Json& value)
{
    return value.is_null() ? std::nullopt : std::optional<double>(value.get<double>());
}

Json rangesJson(const Explanation& explanation)
{
    Json shift = Json::array();
    for (const std::optional<Interval>& interval : explanation.shiftWithin) {
        shift.push_back(interval
                            ? Json{rounded(interval->lower, 100), rounded(interval->upper, 100)}
                            : Json(nullptr));
    }
    const Interval& factor = explanation.factorWithin;
    return {{"shift", shift}, {"factor", {rounded(factor.lower, 1e4), rounded(factor.upper, 1e4)}}};
}

Json remainderJson(const Explanation& explanation)
{
    const Remainder& rest = explanation.remainder;
    if (explanation.both.failed == 0) {
        return nullptr;
    }
    Json parts = Json::array();
    for (const auto& [name, failed] : rest.parts) {
        parts.push_back({{"structure", name}, {"failed", failed}});
    }
    return {{"hot", rest.sides.hot},
            {"cold", rest.sides.cold},
            {"unreached", rest.unreached},
            {"centre", rest.centre},
            {"structures", parts}};
}

} // namespace

Json explanationJson(const Explanation& explanation)
{
    Json axes = Json::array();
    for (const AxisSearch axis : explanation.axes) {
        axes.push_back(axisName(axis));
    }
    const bool isPart = !explanation.within.empty();
    return {{"criterion", explanation.criterion.label()},
            {"structure", isPart ? Json(explanation.within) : Json(nullptr)},
            {"conclusion", conclusionName(explanation.conclusion)},
            {"sentence", conclusionText(explanation)},
            {"notes", explanationNotes(explanation)},
            {"tested", explanation.tested},
            {"before",
             {{"passRate", explanation.before.passRate}, {"failed", explanation.before.failed}}},
            {"best", changeJson(explanation.both, explanation.shiftAxes)},
            {"shiftAlone", changeJson(explanation.shiftAlone, explanation.shiftAxes)},
            {"factorAlone", changeJson(explanation.factorAlone, explanation.shiftAxes)},
            {"within", rangesJson(explanation)},
            {"remainder", remainderJson(explanation)},
            {"range", explanation.range},
            {"searched", explanation.bounds},
            {"axes", axes},
            {"computations", explanation.computations},
            {"cost", explanation.cost},
            {"seconds", explanation.seconds}};
}

std::optional<ExplanationOptions> explanationOptionsOf(const std::string& document)
{
    try {
        const Json json = Json::parse(document);
        ExplanationOptions options;
        options.request.criterion = {json.at("doseDifference").get<double>(),
                                     json.at("distance").get<double>(),
                                     json.at("local").get<bool>()};
        options.request.step = numberOrNone(json.at("step"));
        options.request.maxGamma = json.at("maxGamma").get<double>();
        options.request.range = numberOrNone(json.at("range"));
        options.request.axes = json.value("inPlane", false) ? ShiftAxes::plane : ShiftAxes::patient;
        options.within = json.value("within", std::string());
        options.shown = json.value("shown", std::vector<std::string>());
        options.excluded = json.value("excluded", std::vector<std::string>());
        return options;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

} // namespace zarngi
