#include "web/engine/partJson.h"

#include <array>

namespace engine
{

namespace
{

using zarngi::Json;

template <class Number> std::array<Number, 3> threeOf(const Json& json)
{
    return {json.at(0).get<Number>(), json.at(1).get<Number>(), json.at(2).get<Number>()};
}

Json geometryJson(const zarngi::Geometry& geometry)
{
    return {{"size", geometry.size}, {"spacing", geometry.spacing}, {"origin", geometry.origin}};
}

zarngi::Geometry geometryOf(const Json& json)
{
    return {threeOf<int>(json.at("size")), threeOf<double>(json.at("spacing")),
            threeOf<double>(json.at("origin"))};
}

Json planesJson(zarngi::PlaneRange planes)
{
    return {{"first", planes.first}, {"count", planes.count}};
}

zarngi::PlaneRange planesOf(const Json& json)
{
    return {json.at("first").get<int>(), json.at("count").get<int>()};
}

/** What parts depend on: they are not searched on several threads, nor told of. */
Json settingsJson(const zarngi::GammaSettings& settings)
{
    return {{"cutOff", settings.cutOff},
            {"normalisation", *settings.normalisation},
            {"maxGamma", settings.maxGamma},
            {"step", settings.step ? Json(*settings.step) : Json(nullptr)},
            {"passRateOnly", settings.passRateOnly},
            {"nearest", settings.nearest},
            {"slices", settings.slices}};
}

zarngi::GammaSettings settingsOf(const Json& json)
{
    zarngi::GammaSettings settings;
    settings.cutOff = json.at("cutOff").get<double>();
    settings.normalisation = json.at("normalisation").get<double>();
    settings.maxGamma = json.at("maxGamma").get<double>();
    if (!json.at("step").is_null()) {
        settings.step = json.at("step").get<double>();
    }
    settings.passRateOnly = json.at("passRateOnly").get<bool>();
    settings.nearest = json.at("nearest").get<bool>();
    settings.slices = json.at("slices").get<bool>();
    return settings;
}

} // namespace

Json partJson(const zarngi::SearchPart& part)
{
    return {{"reference", geometryJson(part.reference)},
            {"evaluation", geometryJson(part.evaluation)},
            {"settings", settingsJson(part.settings)},
            {"doseDifference", part.criterion.doseDifference},
            {"distance", part.criterion.distance},
            {"isLocal", part.criterion.isLocal},
            {"tested", planesJson(part.tested)},
            {"ofReference", planesJson(part.ofReference)},
            {"ofEvaluation", planesJson(part.ofEvaluation)}};
}

zarngi::SearchPart partOf(const Json& json)
{
    return {geometryOf(json.at("reference")),
            geometryOf(json.at("evaluation")),
            settingsOf(json.at("settings")),
            {json.at("doseDifference").get<double>(), json.at("distance").get<double>(),
             json.at("isLocal").get<bool>()},
            planesOf(json.at("tested")),
            planesOf(json.at("ofReference")),
            planesOf(json.at("ofEvaluation"))};
}

} // namespace engine
