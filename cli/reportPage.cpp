#include "reportPage.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "comparisonJson.h"
#include "reportVolume.h"

namespace cli
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr std::string_view marker = "<!--ZARNGI-DATA-->";

double largestMagnitude(const DoseExtremes& extremes)
{
    return std::max(std::fabs(extremes.minimum), std::fabs(extremes.maximum));
}

/** The elements that carry the volumes, and the list that describes them. */
struct Volumes {
    Json list = Json::array();
    std::string elements;

    void add(const std::string& name, const char* kind, const char* grid, int decimals,
             const std::vector<std::int16_t>& words)
    {
        list.push_back({{"name", name},
                        {"kind", kind},
                        {"grid", grid},
                        {"type", "int16"},
                        {"decimals", decimals},
                        {"encoding", "shuffle+zlib+base64"}});
        elements += "<script type=\"application/octet-stream\" id=\"volume-" + name + "\">" +
                    encodedVolume(words) + "</script>\n";
    }
};

std::string gammaName(std::size_t index)
{
    return "gamma-" + std::to_string(index);
}

Volumes volumesOf(const Comparison& comparison)
{
    const Image& reference = comparison.reference.image;
    const Image& evaluation = comparison.evaluation.image;
    const int decimals = doseDecimals(std::max(largestMagnitude(comparison.referenceExtremes),
                                               largestMagnitude(comparison.evaluationExtremes)));
    Volumes volumes;
    volumes.add("reference", "dose", "reference", decimals,
                storedDoses(reference.values, decimals));
    volumes.add("evaluation", "dose", "evaluation", decimals,
                storedDoses(evaluation.values, decimals));
    for (std::size_t i = 0; i < comparison.results.size(); ++i) {
        const CriterionResult& result = comparison.results[i];
        volumes.add(gammaName(i), "gamma", "reference", gammaDecimals,
                    storedGammas(result.gamma, result.statistics.failed));
    }
    return volumes;
}

/** JSON text that cannot end the element it stands in. */
std::string embeddable(const Json& document)
{
    std::string text;
    for (const char c : toText(document, -1)) {
        text += c == '<' ? "\\u003c" : std::string(1, c);
    }
    return text;
}

} // namespace

std::string reportPage(const Comparison& comparison, const Json& record,
                       std::string_view pageTemplate)
{
    const auto position = pageTemplate.find(marker);
    if (position == std::string_view::npos) {
        throw std::runtime_error("the report's template has no place for its data");
    }
    Json document = record;
    const Volumes volumes = volumesOf(comparison);
    document["volumes"] = volumes.list;
    for (std::size_t i = 0; i < comparison.results.size(); ++i) {
        document["criteria"][i]["gammaVolume"] = gammaName(i);
    }
    std::string page(pageTemplate.substr(0, position));
    page += "<script type=\"application/json\" id=\"zarngi-data\">" + embeddable(document) +
            "</script>\n" + volumes.elements;
    return page += pageTemplate.substr(position + marker.size());
}

} // namespace cli
