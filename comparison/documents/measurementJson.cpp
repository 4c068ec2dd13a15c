#include "comparison/documents/measurementJson.h"

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/doseSampling.h"
#include "comparison/doseUncertainty.h"

namespace zarngi
{

namespace
{

const char* nameOf(files::Measurement::Kind kind)
{
    switch (kind) {
    case files::Measurement::Kind::grid:
        return "grid";
    case files::Measurement::Kind::plane:
        return "plane";
    case files::Measurement::Kind::points:
        break;
    }
    return "points";
}

const char* nameOf(SearchSpace space)
{
    switch (space) {
    case SearchSpace::volume:
        return "volume";
    case SearchSpace::plane:
        return "plane";
    case SearchSpace::points:
        return "points";
    case SearchSpace::pointsInPlane:
        break;
    }
    return "points in a plane";
}

Json placeJson(const files::PlanePlace& place)
{
    return {{"at", place.at}, {"right", place.right}, {"up", place.up}};
}

/** Null where a dose has no uncertainties. */
Json givenUncertaintyJson(const DoseImage& dose, const std::optional<DoseImage>& file,
                          const UncertaintyRequest& request, const Disclosure& disclosure)
{
    if (dose.uncertainty.empty()) {
        return nullptr;
    }
    Json json = {{"file", file ? fileJson(*file, disclosure) : Json(nullptr)},
                 {"percent", request.percent ? Json(*request.percent) : Json(nullptr)}};
    json.update(uncertaintyJson(uncertaintyOf(dose)));
    return json;
}

/** What a dose was made of beside its file. */
Json makingJson(const std::vector<DoseImage>& doses, const DoseFactor& factor,
                const Disclosure& disclosure)
{
    Json added = Json::array();
    for (const DoseImage& dose : doses) {
        added.push_back(fileJson(dose, disclosure));
    }
    return {{"added", added}, {"factor", factor.value}, {"factorText", factor.text}};
}

Json normalisationJson(const Comparison& comparison)
{
    const NormalisationRequest& request = comparison.request.normalisation;
    const char* const kind = request.isEvaluation       ? "evaluation maximum"
                             : !request.at.empty()      ? "reference dose at a position"
                             : request.dose.has_value() ? "given"
                                                        : "reference maximum";
    Json json = {{"kind", kind}, {"dose", comparison.normalisation}};
    if (!request.at.empty()) {
        json["position"] = request.at;
    }
    return json;
}

/** At the points; null where the evaluation has none. */
Json evaluationDoses(const Comparison& comparison)
{
    const DoseView evaluation = viewOf(comparison.evaluation.image);
    Json doses = Json::array();
    for (const Vec3& point : comparison.reference.measurement->points) {
        const AxisPlace x = placeOf(evaluation.geometry, 0, point[0]);
        const AxisPlace y = placeOf(evaluation.geometry, 1, point[1]);
        const AxisPlace z = placeOf(evaluation.geometry, 2, point[2]);
        const bool isInside = x.isInside && y.isInside && z.isInside;
        doses.push_back(isInside ? Json(static_cast<float>(doseAt(evaluation, x, y, z)))
                                 : Json(nullptr));
    }
    return doses;
}

} // namespace

Json uncertaintyJson(const UncertaintySummary& summary)
{
    Json json = {{"known", summary.known}, {"highDoses", summary.highDoses}};
    if (summary.highDoses > 0) {
        json["median"] = summary.median;
        json["largest"] = summary.largest;
    }
    return json;
}

Json measurementJson(const DoseImage& dose)
{
    if (!dose.measurement) {
        return nullptr;
    }
    const files::Measurement& measurement = *dose.measurement;
    const std::size_t places = dose.image.values.size();
    Json json = {{"kind", nameOf(measurement.kind)},
                 {"inSpace", measurement.isInSpace},
                 {"places", places},
                 {"measured", places - measurement.gaps}};
    if (dose.isPlane() && measurement.isInSpace) {
        json["normal"] = std::string(1, "xyz"[measurement.normal]);
    }
    if (measurement.place) {
        json["place"] = placeJson(*measurement.place);
    }
    if (dose.isPoints()) {
        json["points"] = measurement.points;
    }
    return json;
}

void addMeasurements(Json& document, const Comparison& comparison, const Disclosure& disclosure)
{
    Json& making = document["doses"];
    const Request& request = comparison.request;
    making = {
        {"reference", makingJson(comparison.referenceAdded, request.reference.factor, disclosure)},
        {"evaluation",
         makingJson(comparison.evaluationAdded, request.evaluation.factor, disclosure)}};
    making["reference"]["uncertainty"] =
        givenUncertaintyJson(comparison.reference, comparison.referenceUncertainty,
                             request.reference.uncertainty, disclosure);
    making["evaluation"]["uncertainty"] =
        givenUncertaintyJson(comparison.evaluation, comparison.evaluationUncertainty,
                             request.evaluation.uncertainty, disclosure);
    document["normalisation"] = normalisationJson(comparison);
    document["searchSpace"] = nameOf(comparison.placed.space);
    if (comparison.placed.place) {
        document["plane"] = placeJson(*comparison.placed.place);
        document["plane"]["name"] = comparison.placed.placeName;
    }
    const Json reference = measurementJson(comparison.reference);
    const Json evaluation = measurementJson(comparison.evaluation);
    if (!reference.is_null() || !evaluation.is_null()) {
        document["measurements"] = {{"reference", reference}, {"evaluation", evaluation}};
    }
    if (!arePoints(comparison.placed.space)) {
        return;
    }
    const files::Values& doses = comparison.reference.image.values;
    document["measurements"]["reference"]["doses"] = std::vector<float>(doses.begin(), doses.end());
    document["measurements"]["reference"]["evaluationDoses"] = evaluationDoses(comparison);
    for (std::size_t i = 0; i < comparison.results.size(); ++i) {
        document["criteria"][i]["pointGammas"] = comparison.results[i].gamma;
        document["criteria"][i]["pointVerdicts"] = comparison.results[i].passed;
    }
}

} // namespace zarngi
