/**
 * @file conditions.h
 * Under what conditions results hold that are not the usual ones: each changes a result, or may.
 */
#ifndef ZARNGI_COMPARISON_CONDITIONS_H
#define ZARNGI_COMPARISON_CONDITIONS_H

#include <string>
#include <vector>

#include "comparison/comparison.h"

namespace zarngi
{

enum class ConditionKind {
    referenceSum,
    evaluationSum,
    referenceScale,
    evaluationScale,
    within,
    cutOff,
    normalisation,
    searchLimit,
    step,
    passRateOnly,
    nearest,
    slices,
    rotate,
    plane,
    unreached,
    assumedDoseUnit,
    assumedPosition,
    assumedOrientation,
    givenDoseUnit,
    givenLengthUnit,
    givenPixelSize,
    errorDoses,
    ignoredFrame
};

/** As documents have it: "evaluation-scale". */
const char* conditionName(ConditionKind kind);

struct Condition {
    ConditionKind kind = ConditionKind::referenceSum;
    std::string text; ///< "evaluation times 1.05": names no file
};

/**
 * All there are, in the order of their kinds.
 * @param comparison with its results, or before they are there: then without tested voxels that no
 *                   dose was found for
 */
std::vector<Condition> conditionsOf(const Comparison& comparison);

/** In one line; empty where there are none. */
std::string textOf(const std::vector<Condition>& conditions);

} // namespace zarngi

#endif
