#include "comparison/doseUncertainty.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "comparison/text.h"

namespace zarngi
{

UncertaintySummary uncertaintyOf(const DoseImage& dose)
{
    const files::Values& doses = dose.image.values;
    const double half = static_cast<double>(*std::max_element(doses.begin(), doses.end())) / 2;
    UncertaintySummary summary;
    std::vector<double> percents;
    for (std::size_t i = 0; i < dose.uncertainty.size(); ++i) {
        const auto uncertainty = static_cast<double>(dose.uncertainty[i]);
        if (std::isnan(uncertainty)) {
            continue;
        }
        ++summary.known;
        if (const auto value = static_cast<double>(doses[i]); value > half) {
            percents.push_back(uncertainty / value * 100);
        }
    }
    summary.highDoses = percents.size();
    if (!percents.empty()) {
        const auto middle =
            percents.begin() + static_cast<std::ptrdiff_t>((percents.size() - 1) / 2);
        std::nth_element(percents.begin(), middle, percents.end());
        summary.median = *middle;
        summary.largest = *std::max_element(middle, percents.end());
    }
    return summary;
}

std::string describeUncertainty(const UncertaintySummary& summary)
{
    const std::string known = "told of " + grouped(summary.known) + " doses";
    return summary.highDoses == 0
               ? known
               : known + "; above half the maximum median " + number(summary.median, 3) +
                     " %, largest " + number(summary.largest, 3) + " %";
}

} // namespace zarngi
