#include "web/engine/requestJson.h"

#include <nlohmann/json.hpp>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace engine
{

namespace
{

using Json = nlohmann::ordered_json;

std::vector<std::string> textsOf(const Json& json, const char* member)
{
    return json.value(member, std::vector<std::string>());
}

/** A number as a person typed it; none where the field is empty. */
std::optional<double> positive(const Json& json, const char* member, const std::string& option)
{
    constexpr double smallest = 1e-30;
    constexpr double largest = 1e30;
    const std::string text = zarngi::trimmed(json.value(member, std::string()));
    if (text.empty()) {
        return {};
    }
    const double value = zarngi::parseNumber(text);
    if (!(value > smallest && value <= largest)) {
        throw zarngi::UsageError(option + ": \"" + zarngi::oneLine(text) +
                                 "\" is not a positive number");
    }
    return value;
}

zarngi::GammaSettings settingsOf(const Json& json)
{
    zarngi::GammaSettings settings;
    settings.cutOff = positive(json, "cutOff", "--dco").value_or(settings.cutOff);
    settings.maxGamma = positive(json, "maxGamma", "--max-gamma").value_or(settings.maxGamma);
    settings.step = positive(json, "step", "--step");
    settings.nearest = json.value("nearest", false);
    settings.slices = json.value("slices", false);
    return settings;
}

zarngi::MeasurementOptions measurementsOf(const Json& json)
{
    const auto text = [&json](const char* member) { return json.value(member, std::string()); };
    zarngi::MeasurementOptions measurements;
    measurements.norm = zarngi::trimmed(text("normalisation"));
    measurements.normAt = text("normalisationAt");
    measurements.plane = text("plane");
    measurements.at = text("at");
    measurements.referenceScale = text("referenceScale");
    measurements.evaluationScale = text("evaluationScale");
    measurements.referenceAdded = textsOf(json, "referenceAdded");
    measurements.evaluationAdded = textsOf(json, "evaluationAdded");
    return measurements;
}

zarngi::ExplainOptions explanationOf(const Json& json)
{
    zarngi::ExplainOptions explain;
    explain.isWanted = json.value("explain", false);
    explain.range = positive(json, "explainRange", "--explain-range");
    explain.structure = json.value("explainStructure", std::string());
    return explain;
}

zarngi::StructureOptions structuresOf(const Json& json)
{
    zarngi::StructureOptions structures;
    structures.files = textsOf(json, "structures");
    structures.shown = textsOf(json, "shown");
    structures.excluded = textsOf(json, "excluded");
    structures.within = json.value("within", std::string());
    structures.metrics = textsOf(json, "metrics");
    structures.prescription = positive(json, "prescription", "--prescription");
    structures.ignoreFrame = json.value("ignoreFrame", false);
    return structures;
}

} // namespace

zarngi::ComparisonRequest requestOf(const nlohmann::ordered_json& json)
{
    zarngi::ComparisonRequest request;
    request.reference = json.at("reference");
    request.evaluation = json.at("evaluation");
    request.criteria = textsOf(json, "criteria");
    request.settings = settingsOf(json);
    request.limits.tolerance = textsOf(json, "tolerance");
    request.limits.action = textsOf(json, "action");
    request.limits.failBelow = textsOf(json, "failBelow");
    request.structures = structuresOf(json);
    request.measurements = measurementsOf(json);
    request.explain = explanationOf(json);
    request.commandLine = json.value("command", std::string());
    return request;
}

zarngi::FileDigests digestsOf(const nlohmann::ordered_json& json)
{
    zarngi::FileDigests digests;
    for (const auto& [path, digest] : json.at("digests").items()) {
        digests[path] = {digest.at("bytes").get<std::uintmax_t>(), digest.at("sha256")};
    }
    return digests;
}

} // namespace engine
