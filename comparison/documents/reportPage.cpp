#include "comparison/documents/reportPage.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <span>
#include <stdexcept>
#include <vector>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/reportVolume.h"
#include "comparison/documents/structureElements.h"
#include "comparison/parallel.h"
#include "comparison/uncertainPair.h"

namespace zarngi
{

namespace
{

constexpr std::string_view marker = "<!--ZARNGI-DATA-->";

double largestMagnitude(const DoseExtremes& extremes)
{
    return std::max(std::fabs(extremes.minimum), std::fabs(extremes.maximum));
}

struct Volume {
    std::string name;
    const char* kind;
    const char* grid;
    int decimals;
    std::function<std::string(const PagePacking& packing)> encoded;
};

std::string encodedDoses(const DoseImage& dose, int decimals, const PagePacking& packing)
{
    return encodedWords(
        dose.image.values.size(),
        [&](std::size_t first, std::size_t count) {
            return pageDoses(dose, decimals, first, count);
        },
        packing);
}

std::string encodedGammas(std::span<const float> gammas, std::span<const unsigned char> passed,
                          const PagePacking& packing)
{
    return encodedWords(
        gammas.size(),
        [&](std::size_t first, std::size_t count) {
            return storedGammas(gammas.subspan(first, count), passed.subspan(first, count));
        },
        packing);
}

/** Of the map after the change that an explanation found. */
constexpr const char* gammaAfterName = "gamma-after";
constexpr const char* inUncertaintiesName = "difference-in-uncertainties";

std::string gammaName(std::size_t index)
{
    return "gamma-" + std::to_string(index);
}

/** None of points: their doses stand in the record. */
std::vector<Volume> volumesOf(const Comparison& comparison, const StoredGammasOf& gammasOf)
{
    if (arePoints(comparison.placed.space)) {
        return {};
    }
    const int decimals = pageDoseDecimals(comparison);
    const auto doses = [decimals](const DoseImage& dose) {
        return [&dose, decimals](const PagePacking& packing) {
            return encodedDoses(dose, decimals, packing);
        };
    };
    std::vector<Volume> volumes = {
        {"reference", "dose", "reference", decimals, doses(comparison.reference)},
        {"evaluation", "dose", "evaluation", decimals, doses(comparison.evaluation)}};
    for (std::size_t i = 0; i < comparison.results.size(); ++i) {
        const CriterionResult& result = comparison.results[i];
        volumes.push_back({gammaName(i), "gamma", "reference", gammaDecimals,
                           [&gammasOf, &result, i](const PagePacking& packing) {
                               return gammasOf
                                          ? encodedNumbers(gammasOf(i), packing)
                                          : encodedGammas(result.gamma, result.passed, packing);
                           }});
    }
    if (comparison.explanation) {
        const GammaMaps& after = comparison.explanation->after;
        volumes.push_back({gammaAfterName, "gamma", "reference", gammaDecimals,
                           [&after](const PagePacking& packing) {
                               return encodedGammas(after.gamma, after.passed, packing);
                           }});
    }
    if (comparison.noise) {
        volumes.push_back({inUncertaintiesName, "difference", "reference", uncertaintyDecimals,
                           [&comparison](const PagePacking& packing) {
                               return encodedNumbers(pageDifferences(comparison), packing);
                           }});
    }
    return volumes;
}

Json listOf(const std::vector<Volume>& volumes)
{
    Json list = Json::array();
    for (const Volume& volume : volumes) {
        list.push_back({{"name", volume.name},
                        {"kind", volume.kind},
                        {"grid", volume.grid},
                        {"type", "int16"},
                        {"decimals", volume.decimals},
                        {"encoding", "shuffle+zlib+base64"}});
    }
    return list;
}

/** Elements that carry binary data. */
std::vector<std::string> elementsOf(const std::vector<PageElement>& list, int threads)
{
    std::vector<std::string> texts(list.size());
    forEachIndex(list.size(), threads, [&](std::size_t i) {
        texts[i] = "<script type=\"application/octet-stream\" id=\"" + list[i].id + "\">" +
                   list[i].content() + "</script>\n";
    });
    return texts;
}

std::vector<PageElement> elementsOf(const std::vector<Volume>& volumes, const PagePacking& packing)
{
    std::vector<PageElement> elements;
    for (const Volume& volume : volumes) {
        elements.push_back(
            {"volume-" + volume.name, [&volume, &packing] { return volume.encoded(packing); }});
    }
    return elements;
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

/** @param elements those of binary data @throws std::runtime_error where there is no place */
std::string filledPage(std::string_view pageTemplate, const Json& document,
                       const std::vector<std::string>& elements)
{
    const auto position = pageTemplate.find(marker);
    if (position == std::string_view::npos) {
        throw std::runtime_error("the report's template has no place for its data");
    }
    const std::string data = embeddable(document);
    std::size_t size = pageTemplate.size() + data.size() + marker.size();
    for (const std::string& element : elements) {
        size += element.size();
    }
    std::string page;
    page.reserve(size + 64); // its own element
    page += pageTemplate.substr(0, position);
    page += "<script type=\"application/json\" id=\"zarngi-data\">";
    page += data;
    page += "</script>\n";
    for (const std::string& element : elements) {
        page += element;
    }
    return page += pageTemplate.substr(position + marker.size());
}

} // namespace

int pageDoseDecimals(const Comparison& comparison)
{
    return doseDecimals(std::max(largestMagnitude(comparison.referenceExtremes),
                                 largestMagnitude(comparison.evaluationExtremes)));
}

std::vector<std::int16_t> pageDoses(const DoseImage& dose, int decimals, std::size_t first,
                                    std::size_t count)
{
    const std::span<const float> all = dose.image.values;
    const std::span<const float> doses = all.subspan(first, std::min(count, all.size() - first));
    std::vector<std::int16_t> words = storedDoses(doses, decimals);
    if (dose.measurement && !dose.measurement->isMeasured.empty()) {
        const std::vector<unsigned char>& isMeasured = dose.measurement->isMeasured;
        for (std::size_t i = 0; i < words.size(); ++i) {
            words[i] = isMeasured[first + i] != 0 ? words[i] : notStored;
        }
    }
    return words;
}

std::vector<std::int16_t> pageDifferences(const Comparison& comparison)
{
    const CentreDoses centres(viewOf(comparison.reference.image),
                              viewOf(comparison.evaluation.image));
    return storedDifferences(differencesInUncertainties(uncertainPairOf(comparison, centres)));
}

bool isPageTemplate(std::string_view text)
{
    return text.find(marker) != std::string_view::npos;
}

std::string evaluationPage(const Json& document, std::string_view pageTemplate)
{
    return filledPage(pageTemplate, document, {});
}

std::string reportPage(const Comparison& comparison, const Json& record,
                       std::string_view pageTemplate, const PagePacking& packing,
                       const StoredGammasOf& gammasOf)
{
    Json document = record;
    const std::vector<Volume> volumes = volumesOf(comparison, gammasOf);
    document["volumes"] = listOf(volumes);
    for (std::size_t i = 0; i < comparison.results.size(); ++i) {
        document["criteria"][i]["gammaVolume"] = gammaName(i);
    }
    if (comparison.explanation) {
        document["explanation"]["gammaVolume"] = gammaAfterName;
    }
    if (comparison.noise) {
        document["noise"]["differenceVolume"] = inUncertaintiesName;
    }
    std::vector<PageElement> elements = elementsOf(volumes, packing);
    if (comparison.structures) {
        addStructureElements(elements, document["structures"]["list"], *comparison.structures,
                             packing);
    }
    return filledPage(pageTemplate, document, elementsOf(elements, comparison.settings.threads));
}

} // namespace zarngi
