/**
 * @file goalTable.h
 * Goals and whether they are met, as text for a person at a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_GOALTABLE_H
#define ZARNGI_CLI_OUTPUT_GOALTABLE_H

#include <string>
#include <vector>

#include "comparison/goals/goalResult.h"

namespace zarngi
{

/** How many are met, and a line for each. @param hasPair whether there are two doses */
std::string describeGoals(const std::vector<Goal>& goals, const std::vector<GoalResult>& results,
                          bool hasPair);

} // namespace zarngi

#endif
