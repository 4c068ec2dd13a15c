#include "comparison/documents/structureJson.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/noiseJson.h"
#include "comparison/documents/statisticsJson.h"

namespace zarngi
{

namespace
{

template <class Value> Json orNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

std::string hexadecimal(const Colour& colour)
{
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", colour[0], colour[1], colour[2]);
    return text.data();
}

/** Shares of a volume to a millionth: more digits only make documents large. */
Json curveJson(const std::vector<double>& curve)
{
    constexpr double perShare = 1e6;
    Json shares = Json::array();
    for (const double share : curve) {
        shares.push_back(std::round(share * perShare) / perShare);
    }
    return shares;
}

Json metricsJson(const std::vector<DoseMetric>& metrics,
                 const std::vector<std::optional<double>>& values)
{
    Json json = Json::object();
    for (std::size_t i = 0; i < metrics.size(); ++i) {
        json[metrics[i].label()] = orNull(values[i]);
    }
    return json;
}

Json doseVolumeJson(const DoseVolume& dose, const std::vector<DoseMetric>& metrics)
{
    return {{"min", dose.minimum},
            {"mean", dose.mean},
            {"max", dose.maximum},
            {"metrics", metricsJson(metrics, dose.metrics)},
            {"withoutDose", dose.withoutDose},
            {"curve", curveJson(dose.curve)}};
}

Json differenceJson(const DoseVolume& reference, const DoseVolume& evaluation,
                    const std::vector<DoseMetric>& metrics)
{
    std::vector<std::optional<double>> differences(metrics.size());
    for (std::size_t i = 0; i < metrics.size(); ++i) {
        if (reference.metrics[i] && evaluation.metrics[i]) {
            differences[i] = *evaluation.metrics[i] - *reference.metrics[i];
        }
    }
    return {{"min", evaluation.minimum - reference.minimum},
            {"mean", evaluation.mean - reference.mean},
            {"max", evaluation.maximum - reference.maximum},
            {"metrics", metricsJson(metrics, differences)}};
}

Json dosesJson(const StructureRow& row, const std::vector<DoseMetric>& metrics)
{
    if (!row.reference) {
        return nullptr;
    }
    Json json = {{"reference", doseVolumeJson(*row.reference, metrics)},
                 {"evaluation", nullptr},
                 {"difference", nullptr}};
    if (row.evaluation) {
        json["evaluation"] = doseVolumeJson(*row.evaluation, metrics);
        json["difference"] = differenceJson(*row.reference, *row.evaluation, metrics);
    }
    return json;
}

/** What its file says of a structure; nothing of a combined one. */
Json sourceJson(const StructureRow& row, const StructureCatalogue& catalogue)
{
    if (!row.chosen.place) {
        return {{"number", nullptr}, {"type", ""},  {"file", nullptr},
                {"contours", 0},     {"planes", 0}, {"leftOut", nullptr}};
    }
    const std::size_t place = *row.chosen.place;
    const files::Structure& structure = catalogue.structure(place);
    return {{"number", structure.number},
            {"type", structure.type},
            {"file", &catalogue.setOf(place) - catalogue.sets().data()},
            {"contours", structure.contours.size()},
            {"planes", catalogue.region(place)->planes()},
            {"leftOut",
             {{"points", structure.leftOut.points},
              {"open", structure.leftOut.open},
              {"few", structure.leftOut.few},
              {"duplicates", catalogue.region(place)->repeatedContours()},
              {"contoursOutside", row.outside.contours},
              {"planesOutside", row.outside.planes}}}};
}

Json rowJson(const StructureRow& row, const StructureComparison& structures)
{
    Json json = {{"name", row.chosen.name}};
    json.update(sourceJson(row, *structures.catalogue));
    json["colour"] = hexadecimal(row.colour);
    json["expression"] = row.chosen.place ? Json(nullptr) : Json(row.chosen.expression);
    json["voxels"] = files::pointCount(row.voxels);
    json["volume"] = row.volume;
    json["subPoints"] = row.subPoints;
    json["outsideShare"] = row.outside.share;
    json["notes"] = row.notes;
    json["limits"] = {{"tolerance", row.limits.tolerance}, {"action", row.limits.action}};
    json["failBelow"] = orNull(row.failBelow);
    json["dvh"] = dosesJson(row, structures.doseVolume.metrics);
    return json;
}

Json gammaJson(const Json& name, const StructureGamma& gamma)
{
    Json json = {{"name", name}};
    json.update(statisticsJson(gamma.statistics));
    if (gamma.withoutNoise) {
        json["withoutNoise"] = noiseEstimateJson(*gamma.withoutNoise);
    }
    json["verdict"] = gamma.verdict ? verdictName(*gamma.verdict) : "none";
    json["histogram"] = histogramJson(gamma.statistics);
    return json;
}

} // namespace

Json structuresJson(const StructureComparison& structures, const Disclosure& disclosure)
{
    Json json = {{"files", Json::array()},
                 {"prescription", orNull(structures.prescription)},
                 {"dvhBinWidth", structures.doseVolume.binWidth},
                 {"list", Json::array()},
                 {"refused", Json::array()}};
    for (const files::StructureSet& set : structures.catalogue->sets()) {
        Json file = fileJson(set.path, set.dataPath, set.format, disclosure);
        file["label"] = disclosure.isIdentified() ? set.label : "";
        file["sopInstance"] = disclosure.isIdentified() ? set.sopInstance : "";
        file["structures"] = set.structures.size();
        json["files"].push_back(std::move(file));
    }
    for (const StructureRow& row : structures.rows) {
        json["list"].push_back(rowJson(row, structures));
    }
    for (const RefusedStructure& refused : structures.refused) {
        json["refused"].push_back({{"name", refused.name}, {"reason", refused.reason}});
    }
    return json;
}

void addStructures(Json& criterion, const CriterionResult& result,
                   const std::vector<StructureRow>& rows)
{
    criterion["for"] = result.patterns;
    criterion["judged"] =
        result.judgedRow ? Json(rows[*result.judgedRow].chosen.name) : Json(nullptr);
    criterion["structures"] = Json::array();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::optional<StructureGamma>& gamma = result.structures[i];
        criterion["structures"].push_back(gamma ? gammaJson(rows[i].chosen.name, *gamma)
                                                : Json(nullptr));
    }
    criterion["outsideStructures"] =
        result.outside ? gammaJson(nullptr, *result.outside) : Json(nullptr);
}

} // namespace zarngi
