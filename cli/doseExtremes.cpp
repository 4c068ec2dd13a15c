#include "doseExtremes.h"

#include <algorithm>

namespace cli
{

DoseExtremes doseExtremes(const Image& image)
{
    const auto& doses = image.values;
    const Geometry& geometry = image.geometry;
    const auto largest = std::max_element(doses.begin(), doses.end());
    DoseExtremes extremes{};
    extremes.minimum = static_cast<double>(*std::min_element(doses.begin(), doses.end()));
    extremes.maximum = static_cast<double>(*largest);
    auto rest = static_cast<int>(largest - doses.begin());
    for (std::size_t i = 0; i < 3; ++i) {
        const int index = rest % geometry.size[i];
        rest /= geometry.size[i];
        extremes.maximumIndex[i] = index;
        extremes.maximumPosition[i] = geometry.origin[i] + index * geometry.spacing[i];
    }
    return extremes;
}

} // namespace cli
