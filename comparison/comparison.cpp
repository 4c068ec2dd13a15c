#include "comparison/comparison.h"

#include <algorithm>

namespace zarngi
{

namespace
{

bool isBelow(const GammaStatistics& statistics, double limit)
{
    return statistics.tested == 0 || statistics.passRate < limit;
}

/** @param general the limit of structures without one of their own; may be none */
bool hasStructureBelow(const CriterionResult& result, const std::vector<StructureRow>& rows,
                       const std::optional<double>& general)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::optional<double> limit = rows[i].failBelow ? rows[i].failBelow : general;
        if (limit && result.structures[i] && isBelow(result.structures[i]->statistics, *limit)) {
            return true;
        }
    }
    return false;
}

} // namespace

CriterionResult::CriterionResult() = default;
CriterionResult::CriterionResult(const CriterionResult& other) = default;
CriterionResult::CriterionResult(CriterionResult&& other) noexcept = default;
CriterionResult& CriterionResult::operator=(const CriterionResult& other) = default;
CriterionResult& CriterionResult::operator=(CriterionResult&& other) noexcept = default;
CriterionResult::~CriterionResult() = default;

std::string CriterionResult::label() const
{
    return CriterionRequest{criterion, patterns}.label();
}

const GammaStatistics& CriterionResult::judged() const
{
    return judgedRow ? structures[*judgedRow]->statistics : statistics;
}

const CriterionResult& mostUnreached(const std::vector<CriterionResult>& results)
{
    return *std::max_element(results.begin(), results.end(), [](const auto& a, const auto& b) {
        return a.statistics.unreached < b.statistics.unreached;
    });
}

std::vector<const DoseImage*> GivenDoses::all() const
{
    std::vector<const DoseImage*> all{&reference, &evaluation};
    for (const auto* const added : {&referenceAdded, &evaluationAdded}) {
        for (const DoseImage& dose : *added) {
            all.push_back(&dose);
        }
    }
    return all;
}

bool Comparison::isBelowLimit() const
{
    const std::optional<double> failBelow = request.limits.failBelow.general();
    if (hasMissed(goals)) {
        return true;
    }
    return std::any_of(results.begin(), results.end(), [&](const CriterionResult& result) {
        const bool isForAll = result.patterns.empty();
        if (isForAll && failBelow && isBelow(result.statistics, *failBelow)) {
            return true;
        }
        return structures && hasStructureBelow(result, structures->rows,
                                               isForAll ? std::optional<double>() : failBelow);
    });
}

} // namespace zarngi
