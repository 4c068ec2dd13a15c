#include "comparison/documents/record.h"

#include "comparison/conditions.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/explanationJson.h"
#include "comparison/documents/goalJson.h"
#include "comparison/documents/headerJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/measurementJson.h"
#include "comparison/documents/noiseJson.h"
#include "comparison/documents/protocols.h"
#include "comparison/documents/requestJson.h"
#include "comparison/documents/statisticsJson.h"
#include "comparison/documents/structureJson.h"
#include "comparison/documents/sweepJson.h"
#include "comparison/documents/warningsJson.h"

namespace zarngi
{

namespace
{

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
    if (result.withoutNoise) {
        json["withoutNoise"] = noiseEstimateJson(*result.withoutNoise);
    }
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

Json conditionsJson(const Comparison& comparison)
{
    Json list = Json::array();
    for (const Condition& condition : conditionsOf(comparison)) {
        list.push_back({{"name", conditionName(condition.kind)}, {"text", condition.text}});
    }
    return list;
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

Json comparisonJson(const Comparison& comparison, const std::optional<std::string>& alias)
{
    const Disclosure disclosure(comparison, alias);
    const Request request = disclosed(comparison.request, disclosure);
    const Wording wording = disclosure.wording();
    const std::optional<double> failBelow = comparison.request.limits.failBelow.general();
    Json document = {
        {"format", "zarngi-report"},
        {"formatVersion", 1},
        {"program", {{"name", "zarngi"}, {"version", projectVersion()}}},
        {"created", nowInUtc()},
        {"command", request.commandLine},
        {"request", requestJson(request)},
        {"protocol", usedProtocolJson(comparison.askedRequest())},
        {"header",
         headerJson(toldHeader(headerFilesOf(comparison), comparison.request, disclosure))},
        {"files",
         {{"reference", fileJson(comparison.reference, disclosure)},
          {"evaluation", fileJson(comparison.evaluation, disclosure)}}},
        {"grids",
         {{"reference", gridJson(comparison.reference, comparison.referenceExtremes)},
          {"evaluation", gridJson(comparison.evaluation, comparison.evaluationExtremes)}}},
        {"isocentres", disclosure.isIdentified() ? isocentresOf(comparison) : std::vector<Vec3>()},
        {"orientation", isInPlane(comparison.placed.space) ? Json(nullptr) : Json("LPS")},
        {"doseUnit", comparison.doseUnit()},
        {"threads", comparison.settings.threads},
        {"failBelow", failBelow ? Json(*failBelow) : Json(nullptr)},
        {"conditions", conditionsJson(comparison)},
        {"criteria", Json::array()},
        {"timings",
         {{"readSeconds", comparison.readSeconds}, {"searchSeconds", searchSeconds(comparison)}}},
        {"warnings", warningsJson(comparison.warnings, wording)},
        {"gate", gateJson(comparison.gate, wording)}};
    if (!comparison.plans.empty()) {
        document["files"]["plans"] = plansJson(comparison.plans, disclosure);
    }
    if (alias) {
        document["title"] = *alias;
    }
    for (const CriterionResult& result : comparison.results) {
        document["criteria"].push_back(criterionJson(result, comparison));
    }
    addMeasurements(document, comparison, disclosure);
    if (comparison.structures) {
        document["structures"] = structuresJson(*comparison.structures, disclosure);
        document["within"] =
            comparison.within ? Json(comparison.within->structures) : Json(nullptr);
        document["timings"]["structureSeconds"] = comparison.structures->seconds;
    }
    if (!comparison.goals.empty()) {
        document["goals"] = goalsJson(comparison.request.goals, comparison.goals);
    }
    if (comparison.explanation) {
        document["explanation"] = explanationJson(*comparison.explanation);
    }
    if (comparison.noise) {
        document["noise"] = noiseJson(*comparison.noise);
    }
    for (const Sweep& sweep : comparison.sweeps) {
        document["sweeps"].push_back(sweepJson(sweep));
    }
    return document;
}

} // namespace zarngi
