#include "comparison/documents/sweepJson.h"

#include "comparison/documents/json.h"

namespace zarngi
{

namespace
{

/** Rows by dose difference, columns by distance. */
template <class Value> Json rowsOf(const SweepPart& part, std::size_t columns, const Value& value)
{
    Json rows = Json::array();
    for (std::size_t i = 0; i < part.counts.size(); ++i) {
        if (i % columns == 0) {
            rows.push_back(Json::array());
        }
        rows.back().push_back(value(part.counts[i]));
    }
    return rows;
}

Json partJson(const SweepPart& part, std::size_t columns)
{
    const std::size_t tested = part.counts.front().tested;
    return {{"structure", part.name.empty() ? Json(nullptr) : Json(part.name)},
            {"tested", tested},
            {"passed", rowsOf(part, columns, [](const SweepCount& c) { return Json(c.passed); })},
            {"passRates", rowsOf(part, columns, [](const SweepCount& c) {
                 return c.tested > 0 ? Json(c.passRate) : Json(nullptr);
             })}};
}

} // namespace

Json sweepJson(const Sweep& sweep)
{
    Json parts = Json::array();
    for (const SweepPart& part : sweep.parts) {
        parts.push_back(partJson(part, sweep.range.distances.size()));
    }
    return {{"doseDifferences", sweep.range.doseDifferences},
            {"distances", sweep.range.distances},
            {"local", sweep.range.isLocal},
            {"seconds", sweep.seconds},
            {"parts", parts}};
}

} // namespace zarngi
