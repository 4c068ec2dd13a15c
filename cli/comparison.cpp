#include "comparison.h"

#include <algorithm>

namespace cli
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

} // namespace cli
