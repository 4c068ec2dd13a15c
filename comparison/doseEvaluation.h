/**
 * @file doseEvaluation.h
 * One dose in structures: dose-volume figures, and goals.
 */
#ifndef ZARNGI_COMPARISON_DOSEEVALUATION_H
#define ZARNGI_COMPARISON_DOSEEVALUATION_H

#include <vector>

#include "comparison/comparison.h"
#include "comparison/doseExtremes.h"
#include "comparison/doseImage.h"
#include "comparison/doseSource.h"
#include "comparison/fileDigest.h"
#include "comparison/goals/goalResult.h"
#include "comparison/request/request.h"
#include "comparison/sentence.h"
#include "comparison/structures/structureComparison.h"

namespace zarngi
{

struct DoseEvaluation {
    Request request; ///< of which it has the reference, the structures and the goals
    Request asked;   ///< with all that was asked, as a protocol has it
    DoseImage dose;
    DoseExtremes extremes{};
    FileDigests digests;
    StructureComparison structures; ///< without doses of an evaluation
    std::vector<GoalResult> goals;
    std::vector<ComparedPlan> plans;
    std::vector<Sentence> warnings;
    std::vector<GateWarning> gate; ///< beside the others
    bool isDiscreet = false;       ///< no sentence quotes what stands in a file
};

/**
 * What the reference of a request is in its structures, as the same figures are in a comparison.
 * @throws UsageError for a request that makes no sense, InputError for what cannot be read
 */
DoseEvaluation evaluate(Request asked, DoseSource& source);

} // namespace zarngi

#endif
