#include "comparison/record.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <ctime>

#include "comparison/doseJson.h"
#include "comparison/explanation/explanationJson.h"
#include "comparison/measurements/measurementJson.h"
#include "comparison/statisticsJson.h"
#include "comparison/structures/structureJson.h"
#include "comparison/sweep/sweepJson.h"

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

Json criterionJson(const CriterionResult& result, const Comparison& comparison)
{
    const GammaSettings& settings = comparison.settings;
    const GammaStatistics& statistics = result.statistics;
    Json json = {{"label", result.criterion.label()},
                 {"doseDifference", result.criterion.doseDifference},
                 {"distance", result.criterion.distance},
                 {"local", result.criterion.isLocal},
                 {"cutoffPercent", settings.cutOff},
                 {"cutoffDose", comparison.cutOffDose()},
                 {"normalisationDose", comparison.normalisation},
                 {"stepSize", static_cast<float>(result.step)},
                 {"gammaSearchMax", settings.maxGamma},
                 {"mode", settings.passRateOnly ? "pass-rate" : "gamma-map"},
                 {"interpolation", !settings.nearest},
                 {"slices", settings.slices},
                 {"rotation", settings.rotate}};
    json.update(statisticsJson(statistics));
    json["seconds"] = result.seconds;
    json["verdict"] = verdictName(result.verdict);
    json["limits"] = {{"tolerance", comparison.limits().tolerance},
                      {"action", comparison.limits().action}};
    json["histogram"] = histogramJson(statistics);
    if (comparison.structures) {
        addStructures(json, result, comparison.structures->rows);
    }
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
    const std::optional<double> failBelow = comparison.request.limits.failBelow.general();
    Json document = {
        {"format", "zarngi-report"},
        {"formatVersion", 1},
        {"program", {{"name", "zarngi"}, {"version", projectVersion()}}},
        {"created", nowInUtc()},
        {"command", comparison.request.commandLine},
        {"files",
         {{"reference", fileJson(comparison.reference, comparison.digests)},
          {"evaluation", fileJson(comparison.evaluation, comparison.digests)}}},
        {"grids",
         {{"reference", gridJson(comparison.reference, comparison.referenceExtremes)},
          {"evaluation", gridJson(comparison.evaluation, comparison.evaluationExtremes)}}},
        {"orientation", isInPlane(comparison.placed.space) ? Json(nullptr) : Json("LPS")},
        {"doseUnit", comparison.doseUnit()},
        {"threads", comparison.settings.threads},
        {"failBelow", failBelow ? Json(*failBelow) : Json(nullptr)},
        {"criteria", Json::array()},
        {"timings",
         {{"readSeconds", comparison.readSeconds}, {"searchSeconds", searchSeconds(comparison)}}},
        {"warnings", Json::array()}};
    for (const Sentence& warning : comparison.warnings) {
        document["warnings"].push_back(warning.text());
    }
    for (const CriterionResult& result : comparison.results) {
        document["criteria"].push_back(criterionJson(result, comparison));
    }
    addMeasurements(document, comparison);
    if (comparison.structures) {
        document["structures"] = structuresJson(*comparison.structures, comparison.digests);
        document["within"] =
            comparison.within ? Json(comparison.within->structures) : Json(nullptr);
        document["timings"]["structureSeconds"] = comparison.structures->seconds;
    }
    if (comparison.explanation) {
        document["explanation"] = explanationJson(*comparison.explanation);
    }
    for (const Sweep& sweep : comparison.sweeps) {
        document["sweeps"].push_back(sweepJson(sweep));
    }
    return document;
}

} // namespace zarngi
