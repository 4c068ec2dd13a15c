#include "comparison/measurements/pointSearch.h"

#include <algorithm>

#include "comparison/failure.h"
#include "comparison/gammaSearch.h"
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

std::size_t countOf(unsigned char verdict, const GammaMap& map)
{
    return static_cast<std::size_t>(std::count(map.passed.begin(), map.passed.end(), verdict));
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
    const std::size_t passed = countOf(ZARNGI_PASSED, map);
    map.passRate = passRateOf(passed, passed + countOf(ZARNGI_FAILED, map));
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
