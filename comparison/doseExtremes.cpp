#include "comparison/doseExtremes.h"

#include <algorithm>

namespace zarngi
{

DoseExtremes doseExtremes(const Image& image)
{
    const Geometry& geometry = image.geometry;
    float smallest = image.values.front();
    float largest = smallest;
    std::size_t firstLargest = 0;
    for (std::size_t i = 1; i < image.values.size(); ++i) {
        const float dose = image.values[i];
        smallest = std::min(smallest, dose);
        if (dose > largest) {
            largest = dose;
            firstLargest = i;
        }
    }
    DoseExtremes extremes{};
    extremes.minimum = static_cast<double>(smallest);
    extremes.maximum = static_cast<double>(largest);
    auto rest = static_cast<int>(firstLargest);
    for (std::size_t i = 0; i < 3; ++i) {
        const int index = rest % geometry.size[i];
        rest /= geometry.size[i];
        extremes.maximumIndex[i] = index;
        extremes.maximumPosition[i] = geometry.centre(i, index);
    }
    return extremes;
}

DoseExtremes extremesOf(const DoseImage& dose)
{
    DoseExtremes extremes = doseExtremes(dose.image);
    if (!dose.measurement) {
        return extremes;
    }
    const files::Measurement& measurement = *dose.measurement;
    if (dose.isPoints()) {
        extremes.maximumPosition =
            measurement.points[static_cast<std::size_t>(extremes.maximumIndex[0])];
    }
    if (!measurement.isMeasured.empty()) {
        extremes.minimum = extremes.maximum;
        for (std::size_t i = 0; i < measurement.isMeasured.size(); ++i) {
            if (measurement.isMeasured[i] != 0) {
                extremes.minimum =
                    std::min(extremes.minimum, static_cast<double>(dose.image.values[i]));
            }
        }
    }
    return extremes;
}

} // namespace zarngi
