#include "comparison/measurements/pointSearch.h"

#include <algorithm>

#include "comparison/failure.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

DoseView pointOf(const DoseImage& points, std::size_t index)
{
    return {gridAround(points.measurement->points[index]),
            std::span<const float>(points.image.values).subspan(index, 1)};
}

/** Rounded to single precision, as the library's. */
double passRateOf(const GammaMap& map)
{
    const auto count = [&map](unsigned char verdict) {
        return static_cast<double>(std::count(map.passed.begin(), map.passed.end(), verdict));
    };
    const double passed = count(ZARNGI_PASSED);
    const double tested = passed + count(ZARNGI_FAILED);
    return tested > 0 ? static_cast<double>(static_cast<float>(passed * 100.0 / tested)) : 0;
}

} // namespace

Geometry gridAround(const Vec3& point)
{
    constexpr double size = files::planeThickness;
    return {{1, 1, 1}, {size, size, size}, point};
}

GammaMap searchPoints(GammaRun& run, const DoseImage& points, const GammaSettings& settings,
                      const Criterion& criterion, const WatchSearch& watch)
{
    GammaSettings single = settings;
    single.threads = 1;
    const std::size_t count = points.image.values.size();
    GammaMap map;
    for (std::size_t i = 0; i < count; ++i) {
        run.setReference(pointOf(points, i));
        const GammaMap one = run.search(single, criterion);
        map.values.push_back(one.values.front());
        map.passed.push_back(one.passed.front());
        map.seconds += one.seconds;
        const double share = static_cast<double>(i + 1) / static_cast<double>(count);
        if (watch && !watch({1, 1, share})) {
            throw InputError(criterion.label() + ": the computation was interrupted",
                             FailureKind::interrupted);
        }
    }
    map.passRate = passRateOf(map);
    checkTested(map, settings);
    return map;
}

FailedSides failedPointSides(const DoseImage& points, const DoseView& evaluation,
                             std::span<const unsigned char> passed)
{
    FailedSides sides;
    for (std::size_t i = 0; i < passed.size(); ++i) {
        if (passed[i] == ZARNGI_FAILED) {
            CentreDoses(pointOf(points, i), evaluation).count(sides, 0);
        }
    }
    return sides;
}

} // namespace zarngi
