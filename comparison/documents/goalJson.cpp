#include "comparison/documents/goalJson.h"

#include "comparison/documents/json.h"

namespace zarngi
{

namespace
{

Json orNull(const std::optional<double>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json partJson(const GoalPart& part)
{
    return {{"value", orNull(part.value)},
            {"margin", orNull(part.margin)},
            {"verdict", verdictName(part.verdict)}};
}

Json goalJson(const Goal& goal, const GoalResult& result)
{
    return {{"text", goal.text},
            {"structure", result.structure},
            {"figure", goal.figure.label()},
            {"relation", relationName(goal.relation)},
            {"limit", goal.limit},
            {"unit", result.unit},
            {"limitUnit", result.limitUnit},
            {"reference", partJson(result.reference)},
            {"evaluation", partJson(result.evaluation)},
            {"difference", partJson(result.difference)},
            {"verdict", verdictName(result.verdict)},
            {"note", result.note.empty() ? Json(nullptr) : Json(result.note)}};
}

} // namespace

Json goalsJson(const std::vector<Goal>& goals, const std::vector<GoalResult>& results)
{
    Json list = Json::array();
    for (const GoalResult& result : results) {
        list.push_back(goalJson(goals[result.goal], result));
    }
    return list;
}

} // namespace zarngi
