#include "comparison/comparison.h"

#include <algorithm>

namespace zarngi
{

double Comparison::normalisation() const
{
    return settings.normalisation ? *settings.normalisation : referenceExtremes.maximum;
}

bool Comparison::isBelowLimit() const
{
    return failBelow && std::any_of(results.begin(), results.end(), [this](const auto& result) {
               return result.statistics.passRate < *failBelow;
           });
}

} // namespace zarngi
