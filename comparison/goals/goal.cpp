#include "comparison/goals/goal.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "comparison/failure.h"
#include "comparison/request/typedNumber.h"
#include "comparison/structures/structureLimits.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

using Kind = GoalFigure::Kind;

struct NamedFigure {
    std::string_view name;
    Kind kind;
};

constexpr std::array<NamedFigure, 8> namedFigures{{{"dmin", Kind::minimum},
                                                   {"min", Kind::minimum},
                                                   {"dmean", Kind::mean},
                                                   {"mean", Kind::mean},
                                                   {"dmax", Kind::maximum},
                                                   {"max", Kind::maximum},
                                                   {"hi", Kind::homogeneity},
                                                   {"ci", Kind::conformity}}};

struct NamedRelation {
    std::string_view name;
    GoalRelation relation;
};

/** A name stands before those that it begins with. */
constexpr std::array<NamedRelation, 7> namedRelations{{{"<=", GoalRelation::atMost},
                                                       {"\u2264", GoalRelation::atMost},
                                                       {"<", GoalRelation::below},
                                                       {">=", GoalRelation::atLeast},
                                                       {"\u2265", GoalRelation::atLeast},
                                                       {">", GoalRelation::above},
                                                       {"within", GoalRelation::within}}};

struct NamedUnit {
    std::string_view name;
    GoalUnit unit;
};

/** A name stands before those that it ends with. */
constexpr std::array<NamedUnit, 4> namedUnits{{{"cgy", GoalUnit::centigray},
                                               {"gy", GoalUnit::gray},
                                               {"%", GoalUnit::percent},
                                               {"cc", GoalUnit::cubicCentimetres}}};

/** The parts of "D95%[Gy] >= 57" and "D95% >= 57 Gy", in small letters, with their units. */
struct Parts {
    std::string figure;
    GoalRelation relation;
    std::string number;
};

/** Takes a unit off the end of a text. */
std::optional<GoalUnit> takeUnit(std::string& text)
{
    for (const NamedUnit& named : namedUnits) {
        if (text.ends_with(named.name)) {
            text = trimmed(std::string_view(text).substr(0, text.size() - named.name.size()));
            return named.unit;
        }
    }
    return {};
}

/** Takes "[Gy]" off the end of a figure. @throws UsageError */
std::optional<GoalUnit> takeBracket(std::string& figure, const MemberPlace& place)
{
    const std::size_t bracket = figure.find('[');
    if (bracket == std::string::npos || !figure.ends_with(']')) {
        return {};
    }
    std::string name =
        trimmed(std::string_view(figure).substr(bracket + 1, figure.size() - bracket - 2));
    const std::string told = name;
    const std::optional<GoalUnit> unit = takeUnit(name);
    if (!unit || !name.empty()) {
        throw refusalOf(place, Sentence("\"") + oneLine(told) + "\" is not Gy, cGy, % or cc");
    }
    figure = trimmed(std::string_view(figure).substr(0, bracket));
    return unit;
}

std::optional<Parts> partsOf(const std::string& text)
{
    const std::string small = files::lowerCase(text);
    for (const NamedRelation& named : namedRelations) {
        const std::size_t position = small.find(named.name);
        if (position != std::string::npos) {
            return Parts{trimmed(std::string_view(small).substr(0, position)), named.relation,
                         trimmed(std::string_view(small).substr(position + named.name.size()))};
        }
    }
    return {};
}

std::optional<GoalFigure> figureOf(const std::string& name)
{
    for (const NamedFigure& named : namedFigures) {
        if (name == named.name) {
            return GoalFigure{named.kind, {}};
        }
    }
    const std::optional<DoseMetric> metric = doseMetricOf(name);
    return metric ? std::optional(GoalFigure{Kind::metric, *metric}) : std::nullopt;
}

/** What the limit of a figure may be in. */
bool isUnitOf(const GoalFigure& figure, GoalRelation relation, GoalUnit unit)
{
    switch (unit) {
    case GoalUnit::none:
        return figure.isIndex();
    case GoalUnit::percent:
        return !figure.isIndex() || relation == GoalRelation::within;
    case GoalUnit::cubicCentimetres:
        return figure.isVolume();
    default:
        return figure.isDose();
    }
}

const char* unitsOf(const GoalFigure& figure, GoalRelation relation)
{
    if (figure.isIndex()) {
        return relation == GoalRelation::within ? " has no unit, or % of the reference's"
                                                : " has no unit";
    }
    return figure.isVolume() ? " needs a unit: % or cc" : " needs a unit: Gy, cGy or %";
}

UsageError notOfTheForm(const MemberPlace& place, const std::string& text)
{
    return refusalOf(place, Sentence("\"") + oneLine(text) +
                                "\" is not of the form PTV*: D95% >= 57 Gy, Cord: D0.03cc < 45 Gy, "
                                "Lung: V20Gy < 35 %, PTV: HI <= 0.1 or PTV: Dmean within 2 %");
}

Goal parseOne(const std::string& text, const MemberPlace& place)
{
    const ForStructures split = splitAtLastColon(text);
    std::optional<Parts> parts = partsOf(split.text);
    if (!parts) {
        throw notOfTheForm(place, text);
    }
    const std::optional<GoalUnit> bracket = takeBracket(parts->figure, place);
    const std::optional<GoalUnit> behind = takeUnit(parts->number);
    const std::optional<GoalFigure> figure = figureOf(parts->figure);
    const double limit = parseTyped(parts->number);
    constexpr double largest = 1e9;
    if (!figure || !(limit >= 0 && limit <= largest)) {
        throw notOfTheForm(place, text);
    }
    if (trimmed(split.pattern).empty()) {
        throw refusalOf(place, Sentence("\"") + oneLine(text) + "\" names no structure");
    }
    const bool isShare = parts->relation == GoalRelation::within && behind == GoalUnit::percent &&
                         !figure->isVolume();
    if (bracket && behind && bracket != behind && !isShare) {
        throw refusalOf(place, Sentence("\"") + oneLine(text) + "\" has two units");
    }
    const GoalUnit unit = behind ? *behind : bracket.value_or(GoalUnit::none);
    if (!isUnitOf(*figure, parts->relation, unit)) {
        throw refusalOf(place, Sentence("\"") + oneLine(text) + "\": " + figure->label() +
                                   unitsOf(*figure, parts->relation));
    }
    return {text, trimmed(split.pattern), *figure, parts->relation, limit, unit};
}

} // namespace

const char* unitName(GoalUnit unit)
{
    switch (unit) {
    case GoalUnit::gray:
        return "Gy";
    case GoalUnit::centigray:
        return "cGy";
    case GoalUnit::percent:
        return "%";
    case GoalUnit::cubicCentimetres:
        return "cc";
    case GoalUnit::none:
        break;
    }
    return "";
}

const char* relationName(GoalRelation relation)
{
    switch (relation) {
    case GoalRelation::below:
        return "<";
    case GoalRelation::atMost:
        return "<=";
    case GoalRelation::above:
        return ">";
    case GoalRelation::atLeast:
        return ">=";
    case GoalRelation::within:
        break;
    }
    return "within";
}

std::string GoalFigure::label() const
{
    switch (kind) {
    case Kind::minimum:
        return "Dmin";
    case Kind::mean:
        return "Dmean";
    case Kind::maximum:
        return "Dmax";
    case Kind::homogeneity:
        return "HI";
    case Kind::conformity:
        return "CI";
    case Kind::metric:
        break;
    }
    return metric.label() + (metric.kind == DoseMetric::Kind::doseToShare ? "%" : "");
}

GoalUnit Goal::figureUnit() const
{
    if (isRelative()) {
        return figure.isIndex() ? GoalUnit::none : GoalUnit::gray;
    }
    return unit;
}

bool Goal::needsPrescription() const
{
    const bool isShareOfIt = figure.isDose() && unit == GoalUnit::percent && !isOfDifference();
    return isShareOfIt || figure.kind == Kind::conformity ||
           (figure.kind == Kind::metric && figure.metric.kind == DoseMetric::Kind::volumeAtPercent);
}

bool Goal::needsGray() const
{
    return unit == GoalUnit::gray || unit == GoalUnit::centigray ||
           (figure.kind == Kind::metric && figure.metric.kind == DoseMetric::Kind::volumeAtDose);
}

std::string Goal::label() const
{
    std::string words = figure.label() + " " + relationName(relation) + " " + number(limit);
    return unit == GoalUnit::none ? words : words + " " + unitName(unit);
}

std::vector<Goal> parseGoals(const std::vector<std::string>& texts)
{
    std::vector<Goal> goals;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        goals.push_back(parseOne(texts[i], {Member::goals, i}));
    }
    return goals;
}

std::vector<std::string> textsOf(const std::vector<Goal>& goals)
{
    std::vector<std::string> texts;
    for (const Goal& goal : goals) {
        texts.push_back(goal.text);
    }
    return texts;
}

std::vector<DoseMetric> metricsOf(const std::vector<Goal>& goals)
{
    std::vector<DoseMetric> metrics;
    for (const Goal& goal : goals) {
        if (goal.figure.kind == Kind::metric) {
            metrics.push_back(goal.figure.metric);
        } else if (goal.figure.kind == Kind::conformity) {
            metrics.push_back(wholePrescription);
        }
    }
    return metrics;
}

} // namespace zarngi
