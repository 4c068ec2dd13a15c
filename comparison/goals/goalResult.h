/**
 * @file goalResult.h
 * Whether the doses of structures are what goals ask for, and by how much.
 */
#ifndef ZARNGI_COMPARISON_GOALS_GOALRESULT_H
#define ZARNGI_COMPARISON_GOALS_GOALRESULT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "comparison/goals/goal.h"
#include "comparison/structures/structureComparison.h"

namespace zarngi
{

enum class GoalVerdict {
    pass,
    fail,
    none ///< not determined: there is no figure
};

/** "pass", "fail", "none". */
const char* verdictName(GoalVerdict verdict);

/** A figure of one dose, or the difference of both. */
struct GoalPart {
    std::optional<double> value{};
    std::optional<double> margin{}; ///< to the limit: above 0 within it; none where none is set
    GoalVerdict verdict = GoalVerdict::none;
};

/** A goal in one of the structures that it is for. */
struct GoalResult {
    std::size_t goal = 0; ///< its place among those that are asked for
    std::string structure;
    std::string unit;      ///< of the figures
    std::string limitUnit; ///< of the limit, of margins, and of the difference
    GoalPart reference;
    GoalPart evaluation;
    GoalPart difference;
    std::string note; ///< why a figure is not determined; may be empty
    /** Fail, where one of the parts that are judged fails; else none, where one is not determined.
     */
    GoalVerdict verdict = GoalVerdict::none;
};

/** What goals are judged by. */
struct GoalDoses {
    const StructureComparison& structures;
    DoseView reference;
    DoseView evaluation;
    const char* doseUnit; ///< as documents name it
};

/**
 * The goals in their order, each for the structures that its pattern means in theirs. Structures
 * that cannot be taken are among them, not determined.
 * @param hasPair whether there are two doses that differ
 * @throws UsageError where a pattern means none
 */
std::vector<GoalResult> judgeGoals(const std::vector<Goal>& goals, const GoalDoses& doses,
                                   bool hasPair);

/** Whether one of them is not met, or not determined. */
bool hasMissed(const std::vector<GoalResult>& results);

} // namespace zarngi

#endif
