/**
 * @file goalJson.h
 * Goals as part of JSON documents; docs/json.md describes the members.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_GOALJSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_GOALJSON_H

#include <vector>

#include "comparison/documents/json.h"
#include "comparison/goals/goalResult.h"

namespace zarngi
{

/** A list of them, one for each structure that a goal is for. */
Json goalsJson(const std::vector<Goal>& goals, const std::vector<GoalResult>& results);

} // namespace zarngi

#endif
