#include "comparison.h"

#include <algorithm>

namespace cli
{

double Comparison::normalisation() const
{
    const std::vector<float>& doses = reference.image.values;
    return settings.normalisation
               ? *settings.normalisation
               : static_cast<double>(*std::max_element(doses.begin(), doses.end()));
}

bool Comparison::isBelowLimit() const
{
    return failBelow && std::any_of(results.begin(), results.end(), [this](const auto& result) {
               return result.statistics.passRate < *failBelow;
           });
}

} // namespace cli
