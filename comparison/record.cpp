#include "comparison/record.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <ctime>

#include "comparison/doseJson.h"

namespace zarngi
{

namespace
{

using Json = nlohmann::ordered_json;

std::string nowInUtc()
{
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm utc{};
    gmtime_r(&now, &utc);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text.data();
}

Json orNull(const std::optional<GammaSpread>& spread, double GammaSpread::*member)
{
    return spread ? Json((*spread).*member) : Json(nullptr);
}

Json criterionJson(const CriterionResult& result, const Comparison& comparison)
{
    const GammaSettings& settings = comparison.settings;
    const GammaStatistics& statistics = result.statistics;
    Json json = {
        {"label", result.criterion.label()},
        {"doseDifference", result.criterion.doseDifference},
        {"distance", result.criterion.distance},
        {"local", result.criterion.isLocal},
        {"cutoffPercent", settings.cutOff},
        {"cutoffDose", comparison.cutOffDose()},
        {"normalisationDose", comparison.normalisation()},
        {"stepSize", static_cast<float>(result.step)},
        {"gammaSearchMax", settings.maxGamma},
        {"mode", settings.passRateOnly ? "pass-rate" : "gamma-map"},
        {"interpolation", !settings.nearest},
        {"slices", settings.slices},
        {"rotation", settings.rotate},
        {"tested", statistics.tested},
        {"passed", statistics.passed},
        {"failed", statistics.failed},
        {"hot", statistics.sides.hot},
        {"cold", statistics.sides.cold},
        {"unreached", statistics.unreached},
        {"passRate", statistics.passRate},
        {"min", orNull(statistics.spread, &GammaSpread::minimum)},
        {"mean", orNull(statistics.spread, &GammaSpread::mean)},
        {"p95", orNull(statistics.spread, &GammaSpread::percentile95)},
        {"p99", orNull(statistics.spread, &GammaSpread::percentile99)},
        {"max", orNull(statistics.spread, &GammaSpread::maximum)},
        {"seconds", result.seconds},
        {"verdict", verdictName(result.verdict)},
        {"limits",
         {{"tolerance", comparison.limits.tolerance}, {"action", comparison.limits.action}}}};
    json["histogram"] = statistics.histogram ? Json{{"binWidth", Histogram::binWidth},
                                                    {"counts", statistics.histogram->counts}}
                                             : Json(nullptr);
    return json;
}

double searchSeconds(const Comparison& comparison)
{
    double seconds = 0;
    for (const CriterionResult& result : comparison.results) {
        seconds += result.seconds;
    }
    return seconds;
}

} // namespace

nlohmann::ordered_json comparisonJson(const Comparison& comparison)
{
    Json document = {
        {"format", "zarngi-report"},
        {"formatVersion", 1},
        {"program", {{"name", "zarngi"}, {"version", projectVersion()}}},
        {"created", nowInUtc()},
        {"command", comparison.commandLine},
        {"files",
         {{"reference", fileJson(comparison.reference, comparison.digests)},
          {"evaluation", fileJson(comparison.evaluation, comparison.digests)}}},
        {"grids",
         {{"reference",
           gridJson(comparison.reference.image.geometry, comparison.referenceExtremes)},
          {"evaluation",
           gridJson(comparison.evaluation.image.geometry, comparison.evaluationExtremes)}}},
        {"orientation", "LPS"},
        {"doseUnit", comparison.doseUnit()},
        {"threads", comparison.settings.threads},
        {"failBelow", comparison.failBelow ? Json(*comparison.failBelow) : Json(nullptr)},
        {"criteria", Json::array()},
        {"timings",
         {{"readSeconds", comparison.readSeconds}, {"searchSeconds", searchSeconds(comparison)}}},
        {"warnings", comparison.warnings}};
    for (const CriterionResult& result : comparison.results) {
        document["criteria"].push_back(criterionJson(result, comparison));
    }
    return document;
}

} // namespace zarngi
