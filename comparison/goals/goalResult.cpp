#include "comparison/goals/goalResult.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "comparison/goals/goalFigures.h"
#include "comparison/structures/namePattern.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

bool isMet(const Goal& goal, double value)
{
    switch (goal.relation) {
    case GoalRelation::below:
        return value < goal.limit;
    case GoalRelation::atMost:
        return value <= goal.limit;
    case GoalRelation::above:
        return value > goal.limit;
    case GoalRelation::atLeast:
        return value >= goal.limit;
    case GoalRelation::within:
        break;
    }
    return std::fabs(value) <= goal.limit;
}

void judge(const Goal& goal, GoalPart& part)
{
    if (!part.value) {
        return;
    }
    const bool isLowest =
        goal.relation == GoalRelation::above || goal.relation == GoalRelation::atLeast;
    const double value = goal.isOfDifference() ? std::fabs(*part.value) : *part.value;
    part.margin = isLowest ? value - goal.limit : goal.limit - value;
    part.verdict = isMet(goal, *part.value) ? GoalVerdict::pass : GoalVerdict::fail;
}

GoalVerdict together(GoalVerdict a, GoalVerdict b)
{
    if (a == GoalVerdict::fail || b == GoalVerdict::fail) {
        return GoalVerdict::fail;
    }
    return a == GoalVerdict::none ? a : b;
}

/** In the unit of the limit. */
std::optional<double> differenceOf(const Goal& goal, const GoalResult& result)
{
    const std::optional<double>& reference = result.reference.value;
    const std::optional<double>& evaluation = result.evaluation.value;
    if (!reference || !evaluation) {
        return {};
    }
    const double difference = *evaluation - *reference;
    if (!goal.isRelative()) {
        return difference;
    }
    constexpr double percent = 100;
    return *reference > 0 ? std::optional(percent * difference / *reference) : std::nullopt;
}

/** Why there is no figure; continues "NAME: ". */
std::string reasonOf(const Goal& goal, const GoalResult& result, const StructureRow& row,
                     bool hasPair)
{
    if (!row.reference) {
        return "has no dose";
    }
    if (hasPair && !row.evaluation) {
        return "has no dose of the evaluation";
    }
    const DoseMetric& metric = goal.figure.metric;
    const bool hasFigures = result.reference.value && (!hasPair || result.evaluation.value);
    const bool isToVolume = !hasFigures && goal.figure.kind == GoalFigure::Kind::metric &&
                            metric.kind == DoseMetric::Kind::doseToVolume;
    return isToVolume ? "is smaller than " + number(metric.value) + " cc"
                      : "has no dose to divide by";
}

/** Both doses, or the one that there is. */
class Judge
{
public:
    Judge(const GoalDoses& doses, bool hasPair)
        : hasPair_(hasPair),
          reference_(doses.structures, &StructureRow::reference, doses.reference),
          evaluation_(doses.structures, &StructureRow::evaluation, doses.evaluation)
    {
    }

    GoalResult result(const Goal& goal, const StructureRow& row)
    {
        GoalResult result;
        result.reference.value = reference_.of(goal, row);
        if (hasPair_) {
            result.evaluation.value = evaluation_.of(goal, row);
            result.difference.value = differenceOf(goal, result);
        }
        if (goal.isOfDifference()) {
            judge(goal, result.difference);
            result.verdict = result.difference.verdict;
        } else {
            judge(goal, result.reference);
            judge(goal, result.evaluation);
            result.verdict = hasPair_
                                 ? together(result.reference.verdict, result.evaluation.verdict)
                                 : result.reference.verdict;
        }
        const bool isWhole = result.reference.value && (!hasPair_ || result.evaluation.value) &&
                             (!goal.isOfDifference() || result.difference.value);
        result.note = isWhole ? "" : reasonOf(goal, result, row, hasPair_);
        return result;
    }

private:
    bool hasPair_;
    GoalFigures reference_;
    GoalFigures evaluation_;
};

/** What figures are in; doses that are not in Gy have a unit of their own. */
std::string unitOf(const Goal& goal, const GoalDoses& doses)
{
    const GoalUnit unit = goal.figureUnit();
    return unit == GoalUnit::gray && !goal.needsGray() ? doses.doseUnit : unitName(unit);
}

/** The rows, and behind them what cannot be taken. */
std::vector<StructureName> namesOf(const StructureComparison& structures)
{
    std::vector<StructureName> names = structures.names();
    for (const RefusedStructure& refused : structures.refused) {
        names.push_back({refused.name, refused.name});
    }
    return names;
}

} // namespace

const char* verdictName(GoalVerdict verdict)
{
    switch (verdict) {
    case GoalVerdict::pass:
        return "pass";
    case GoalVerdict::fail:
        return "fail";
    case GoalVerdict::none:
        break;
    }
    return "none";
}

std::vector<GoalResult> judgeGoals(const std::vector<Goal>& goals, const GoalDoses& doses,
                                   bool hasPair)
{
    const StructureComparison& structures = doses.structures;
    const std::vector<StructureName> names = namesOf(structures);
    Judge judge(doses, hasPair);
    std::vector<GoalResult> results;
    for (std::size_t i = 0; i < goals.size(); ++i) {
        const Goal& goal = goals[i];
        for (const std::size_t place : matchesOf({Member::goals, i}, names, goal.pattern)) {
            GoalResult result;
            if (place < structures.rows.size()) {
                result = judge.result(goal, structures.rows[place]);
            } else {
                result.note = structures.refused[place - structures.rows.size()].reason;
            }
            result.goal = i;
            result.structure = names[place].unique;
            result.unit = unitOf(goal, doses);
            result.limitUnit = unitName(goal.unit);
            results.push_back(std::move(result));
        }
    }
    return results;
}

bool hasMissed(const std::vector<GoalResult>& results)
{
    return std::any_of(results.begin(), results.end(), [](const GoalResult& result) {
        return result.verdict != GoalVerdict::pass;
    });
}

} // namespace zarngi
