#include <string>
#include <utility>
#include <vector>

#include "comparison/comparison.h"
#include "comparison/composition/chosenStructures.h"
#include "comparison/composition/comparedDoses.h"
#include "comparison/composition/searches.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/structureJson.h"
#include "comparison/failure.h"
#include "comparison/text.h"
#include "host/calls.h"
#include "host/structures.h"

using files::FileError;
using zarngi::Json;

namespace
{

zarngi::StructureLimits limitsOf(zarngi::Member member, const Json& percent)
{
    return {member, {zarngi::exactNumber(percent.get<double>())}};
}

/** @throws UsageError, or Json::exception where a member is missing or of another type */
zarngi::Request requestOf(const char* text)
{
    const Json json = Json::parse(text);
    zarngi::Request request;
    request.structures.shown = json.at("shown").get<std::vector<std::string>>();
    request.structures.excluded = json.at("excluded").get<std::vector<std::string>>();
    request.structures.metrics =
        zarngi::parseDoseMetrics(json.at("metrics").get<std::vector<std::string>>());
    request.structures.prescription = json.at("fullDose").get<double>();
    request.settings.maxGamma = json.at("maxGamma").get<double>();
    request.settings.passRateOnly = json.at("passRateOnly").get<bool>();
    request.settings.threads = json.at("threads").get<int>();
    request.limits.tolerance = limitsOf(zarngi::Member::tolerance, json.at("tolerance"));
    request.limits.action = limitsOf(zarngi::Member::action, json.at("action"));
    return request;
}

/** Doses that the caller keeps. */
zarngi::DoseImage imageOf(const zarnGIHost_Volume& volume)
{
    const zarngi::DoseView doses = host::dosesOf(volume);
    zarngi::DoseImage dose;
    dose.image = {doses.geometry, files::Values::lent(doses.values)};
    return dose;
}

/** As the composer makes it, but that the search was the caller's. */
zarngi::Comparison comparisonOf(const zarnGIHost_StructureInput& input,
                                const zarngi::Request& request)
{
    zarngi::GivenDoses given{};
    given.reference = imageOf(input.reference);
    given.evaluation = imageOf(input.evaluation);
    zarngi::Comparison comparison{};
    static_cast<zarngi::ComparedDoses&>(comparison) =
        zarngi::comparedDoses(std::move(given), request.normalisation);
    comparison.request = request;
    comparison.settings = zarngi::searchSettings(request, comparison);
    comparison.structures =
        zarngi::chosenStructures(host::catalogueOf(input.sets, input.count, input.reference),
                                 request, zarngi::pairOf(comparison), comparison.warnings)
            .structures;
    return comparison;
}

/** What a criterion found in the rows. */
Json criterionJson(const zarnGIHost_StructureInput& input, const zarngi::Comparison& comparison)
{
    const std::size_t voxels = comparison.reference.image.geometry.voxels();
    zarngi::CriterionResult result;
    result.gamma.assign(input.gamma, input.gamma + voxels);
    result.passed.assign(input.passed, input.passed + voxels);
    zarngi::judgeStructures(result, comparison,
                            {host::dosesOf(input.reference), host::dosesOf(input.evaluation)});
    Json criterion = Json::object();
    addStructures(criterion, result, comparison.structures->rows);
    return criterion;
}

std::string compare(const zarnGIHost_StructureInput& input, const zarngi::Request& request)
{
    const zarngi::Comparison comparison = comparisonOf(input, request);
    zarngi::FileDigests digests; // which nobody asks for
    for (const files::StructureSet& set : comparison.structures->catalogue->sets()) {
        digests[set.path];
        digests[set.dataPath];
    }
    Json document = {{"structures", structuresJson(*comparison.structures, digests)}};
    if (input.gamma != nullptr) {
        document["criterion"] = criterionJson(input, comparison);
    }
    return zarngi::toText(document, -1);
}

bool isComplete(const zarnGIHost_StructureInput& input)
{
    return input.count > 0 && host::areThere(input.sets, input.count) &&
           (input.gamma == nullptr || input.passed != nullptr);
}

} // namespace

int zarnGIHost_compareStructures(const zarnGIHost_StructureInput* input, const char* options,
                                 zarnGIHost_Bytes* json, zarnGIHost_Error* error)
{
    if (input == nullptr || options == nullptr || json == nullptr || !isComplete(*input)) {
        return host::refuseArgument("a required pointer is null", error);
    }
    if (!host::holdsDoses(&input->reference) || !host::holdsDoses(&input->evaluation)) {
        return host::refuseArgument("a grid holds no doses in single precision", error);
    }
    return host::guarded(error, [&] {
        try {
            const std::string text = compare(*input, requestOf(options));
            return host::hand({reinterpret_cast<const unsigned char*>(text.data()), text.size()},
                              json);
        } catch (const Json::exception&) {
            return host::refuseArgument("the options are not as they are described", error);
        } catch (const zarngi::UsageError& failure) {
            return host::report({FileError::Kind::notSupported, failure.reason().text()}, error);
        } catch (const zarngi::InputError& failure) {
            return host::report({FileError::Kind::notSupported, failure.what()}, error);
        }
    });
}
