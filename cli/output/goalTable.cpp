#include "cli/output/goalTable.h"

#include <algorithm>

#include "cli/output/columns.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::size_t numberWidth = 11;

/** Two decimals; more where they would hide what is small or on which side of the limit it is. */
std::string shown(double value)
{
    constexpr double hundredth = 0.005;
    const bool isHidden = value != 0 && value > -hundredth && value < hundredth;
    return isHidden ? number(value, 2) : fixed(value, value > -1 && value < 1 ? 3 : 2);
}

std::string numberCell(const std::optional<double>& value)
{
    return cell(value ? shown(*value) : "-", numberWidth);
}

/** The smallest of the margins that decide. */
std::optional<double> marginOf(const GoalResult& result)
{
    std::optional<double> margin;
    for (const GoalPart* const part : {&result.reference, &result.evaluation, &result.difference}) {
        if (part->margin && (!margin || *part->margin < *margin)) {
            margin = part->margin;
        }
    }
    return margin;
}

/** Left-aligned columns as wide as what stands in them, up to a limit. */
class Names
{
public:
    Names(const std::vector<Goal>& goals, const std::vector<GoalResult>& results)
    {
        for (const GoalResult& result : results) {
            structure_ = std::max(structure_, widthOf(oneLine(result.structure)));
            goal_ = std::max(goal_, widthOf(goals[result.goal].label()));
        }
        constexpr std::size_t widest = 22;
        structure_ = std::min(structure_, widest);
    }

    std::string cells(const std::string& structure, const std::string& goal) const
    {
        return leftCell(oneLine(structure), structure_) + "  " + leftCell(goal, goal_);
    }

private:
    std::size_t structure_ = 9; ///< as "structure"
    std::size_t goal_ = 4;
};

std::string describeGoal(const GoalResult& result, const std::string& names, bool hasPair)
{
    std::string text = names + numberCell(result.reference.value);
    if (hasPair) {
        text += numberCell(result.evaluation.value) + numberCell(result.difference.value);
    }
    return text + numberCell(marginOf(result)) + "  " +
           (result.verdict == GoalVerdict::none ? "not determined" : verdictName(result.verdict)) +
           "\n";
}

} // namespace

std::string describeGoals(const std::vector<Goal>& goals, const std::vector<GoalResult>& results,
                          bool hasPair)
{
    const Names names(goals, results);
    const auto met = std::count_if(results.begin(), results.end(), [](const GoalResult& result) {
        return result.verdict == GoalVerdict::pass;
    });
    std::string text = "\n";
    text += line("goals", std::to_string(met) + " of " + std::to_string(results.size()) + " met");
    text += names.cells("structure", "goal");
    for (const char* const head : {"reference", "evaluation", "difference"}) {
        text += hasPair ? cell(head, numberWidth) : "";
    }
    text += (hasPair ? "" : cell("dose", numberWidth)) + cell("margin", numberWidth) + "\n";
    std::string notes;
    for (const GoalResult& result : results) {
        const std::string label = goals[result.goal].label();
        text += describeGoal(result, names.cells(result.structure, label), hasPair);
        if (!result.note.empty()) {
            notes +=
                line("note", oneLine(result.structure + ": " + result.note) + " (" + label + ")");
        }
    }
    return text + notes;
}

} // namespace zarngi
