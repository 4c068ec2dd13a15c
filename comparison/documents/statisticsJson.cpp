#include "comparison/documents/statisticsJson.h"

#include "comparison/documents/json.h"

namespace zarngi
{

namespace
{

Json orNull(const std::optional<GammaSpread>& spread, double GammaSpread::*member)
{
    return spread ? Json((*spread).*member) : Json(nullptr);
}

} // namespace

Json statisticsJson(const GammaStatistics& statistics)
{
    return {{"tested", statistics.tested},
            {"passed", statistics.passed},
            {"failed", statistics.failed},
            {"hot", statistics.sides.hot},
            {"cold", statistics.sides.cold},
            {"unreached", statistics.unreached},
            {"beyondLimit", statistics.beyondLimit},
            {"passRate", statistics.tested > 0 ? Json(statistics.passRate) : Json(nullptr)},
            {"min", orNull(statistics.spread, &GammaSpread::minimum)},
            {"mean", orNull(statistics.spread, &GammaSpread::mean)},
            {"p95", orNull(statistics.spread, &GammaSpread::percentile95)},
            {"p99", orNull(statistics.spread, &GammaSpread::percentile99)},
            {"max", orNull(statistics.spread, &GammaSpread::maximum)}};
}

Json histogramJson(const GammaStatistics& statistics)
{
    if (!statistics.histogram) {
        return nullptr;
    }
    return {{"binWidth", Histogram::binWidth}, {"counts", statistics.histogram->counts}};
}

} // namespace zarngi
