#include "comparison/documents/noiseJson.h"

#include "comparison/documents/json.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

Json orNull(const std::optional<double>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json differencesJson(const NoiseDifferences& told)
{
    const bool isBand = told.upperPercent > 0;
    const bool isAny = told.voxels > 0;
    return {{"structure", told.name.empty() ? Json(nullptr) : Json(told.name)},
            {"doses", isBand ? Json{told.lowerPercent, told.upperPercent} : Json(nullptr)},
            {"voxels", told.voxels},
            {"mean", isAny ? Json(told.mean) : Json(nullptr)},
            {"deviation", isAny ? Json(told.deviation) : Json(nullptr)},
            {"beyondTwo", isAny ? Json(told.beyondTwo) : Json(nullptr)},
            {"beyondThree", isAny ? Json(told.beyondThree) : Json(nullptr)}};
}

} // namespace

std::string noiseSentence(const NoiseEstimate& estimate)
{
    const std::string beginning = "without statistical noise ";
    switch (estimate.kind) {
    case NoiseEstimate::Kind::told:
        return beginning + "about " + fixed(estimate.passRate, 1) + " %, " +
               fixed(estimate.lower, 1) + " to " + fixed(estimate.upper, 1);
    case NoiseEstimate::Kind::tooNoisy:
        return beginning + "unknown: too noisy to tell, as the uncertainty is " +
               fixed(estimate.noise, 2) + " times the dose difference of the criterion";
    case NoiseEstimate::Kind::tooFew:
        break;
    }
    return beginning + "unknown: fewer than " + std::to_string(fewestVoxels) + " tested voxels";
}

const char* kindName(NoiseEstimate::Kind kind)
{
    switch (kind) {
    case NoiseEstimate::Kind::told:
        return "told";
    case NoiseEstimate::Kind::tooNoisy:
        return "too noisy";
    case NoiseEstimate::Kind::tooFew:
        break;
    }
    return "too few voxels";
}

Json noiseEstimateJson(const NoiseEstimate& estimate)
{
    const bool isTold = estimate.kind == NoiseEstimate::Kind::told;
    return {{"kind", kindName(estimate.kind)},
            {"noise", estimate.noise},
            {"passRate", isTold ? Json(estimate.passRate) : Json(nullptr)},
            {"lower", isTold ? Json(estimate.lower) : Json(nullptr)},
            {"upper", isTold ? Json(estimate.upper) : Json(nullptr)},
            {"sentence", noiseSentence(estimate)}};
}

Json noiseJson(const NoiseFindings& findings)
{
    Json differences = Json::array();
    for (const NoiseDifferences& told : findings.differences) {
        differences.push_back(differencesJson(told));
    }
    const FlatRegion& flat = findings.flat;
    return {{"seed", findings.seed},
            {"repetitions", noiseRepetitions},
            {"addedVariances", addedVariances},
            {"differences", differences},
            {"flat",
             {{"voxels", flat.voxels},
              {"chiSquare", flat.voxels > 0 ? Json(flat.chiSquare) : Json(nullptr)},
              {"scatter", orNull(flat.scatter)},
              {"correlation", orNull(flat.correlation)}}},
            {"notes", findings.notes},
            {"seconds", findings.seconds}};
}

} // namespace zarngi
