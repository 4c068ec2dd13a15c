#include "comparison/doseExtremes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

namespace zarngi
{

namespace
{

struct Range {
    float least;
    float most;
};

/** Side by side in lanes, which have nothing to wait for. */
Range rangeOf(std::span<const float> doses)
{
    constexpr std::size_t lanes = 32;
    std::array<float, lanes> least{};
    std::array<float, lanes> most{};
    least.fill(doses.front());
    most.fill(doses.front());
    std::size_t i = 0;
    for (; i + lanes <= doses.size(); i += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const float dose = doses[i + lane];
            least[lane] = dose < least[lane] ? dose : least[lane];
            most[lane] = dose > most[lane] ? dose : most[lane];
        }
    }
    Range range{*std::min_element(least.begin(), least.end()),
                *std::max_element(most.begin(), most.end())};
    for (; i < doses.size(); ++i) {
        range = {std::min(range.least, doses[i]), std::max(range.most, doses[i])};
    }
    return range;
}

/** The first of the smallest and the first of the largest doses, looked up in their pieces. */
std::pair<const float*, const float*> endsOf(std::span<const float> doses)
{
    constexpr std::size_t length = 4096;
    Range all{doses.front(), doses.front()};
    std::span<const float> withLeast = doses;
    std::span<const float> withMost = doses;
    for (std::size_t start = 0; start < doses.size(); start += length) {
        const auto piece = doses.subspan(start, std::min(length, doses.size() - start));
        const Range range = rangeOf(piece);
        if (range.least < all.least) {
            all.least = range.least;
            withLeast = piece;
        }
        if (range.most > all.most) {
            all.most = range.most;
            withMost = piece;
        }
    }
    return {std::find(withLeast.data(), withLeast.data() + withLeast.size(), all.least),
            std::find(withMost.data(), withMost.data() + withMost.size(), all.most)};
}

} // namespace

DoseExtremes doseExtremes(const Image& image)
{
    const Geometry& geometry = image.geometry;
    const auto [smallest, largest] = endsOf({image.values.data(), image.values.size()});
    DoseExtremes extremes{};
    extremes.minimum = static_cast<double>(*smallest);
    extremes.maximum = static_cast<double>(*largest);
    auto rest = static_cast<int>(largest - image.values.begin());
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
