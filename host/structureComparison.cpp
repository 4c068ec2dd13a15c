#include <nlohmann/json.hpp>

#include <algorithm>

#include "comparison/comparison.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/structureJson.h"
#include "comparison/failure.h"
#include "host/calls.h"
#include "host/structures.h"

using files::FileError;
using Json = nlohmann::ordered_json;

namespace
{

struct Options {
    std::vector<std::string> shown;
    std::vector<std::string> excluded;
    zarngi::DoseVolumeSettings doses;
    zarngi::GammaSettings gamma;
    zarngi::Limits limits;
};

/** @throws UsageError, or Json::exception where a member is missing or of another type */
Options readOptions(const char* text)
{
    const Json json = Json::parse(text);
    Options options;
    options.shown = json.at("shown").get<std::vector<std::string>>();
    options.excluded = json.at("excluded").get<std::vector<std::string>>();
    options.doses.metrics = zarngi::withUsualMetrics(
        zarngi::parseDoseMetrics(json.at("metrics").get<std::vector<std::string>>()));
    options.doses.fullDose = json.at("fullDose").get<double>();
    options.gamma.maxGamma = json.at("maxGamma").get<double>();
    options.gamma.passRateOnly = json.at("passRateOnly").get<bool>();
    options.gamma.threads = json.at("threads").get<int>();
    options.limits = {json.at("tolerance").get<double>(), json.at("action").get<double>()};
    return options;
}

double largestOf(const zarngi::DoseView& doses)
{
    return static_cast<double>(*std::max_element(doses.values.begin(), doses.values.end()));
}

/** What a criterion found in the rows. */
Json criterionJson(const zarnGIHost_StructureInput& input, const Options& options,
                   const zarngi::StructureComparison& structures,
                   const zarngi::CentreDoses& centres)
{
    const zarngi::Geometry grid = host::geometryOf(input.reference);
    zarngi::CriterionResult result;
    result.gamma.assign(input.gamma, input.gamma + grid.voxels());
    result.passed.assign(input.passed, input.passed + grid.voxels());
    const zarngi::TestedVoxels tested{result.gamma, result.passed, centres, grid, options.gamma};
    for (const zarngi::StructureRow& row : structures.rows) {
        result.structures.emplace_back(structureGamma(tested, row.voxels, options.limits));
    }
    result.outside = structureGamma(tested, structures.outside, options.limits);
    Json criterion = Json::object();
    addStructures(criterion, result, structures.rows);
    return criterion;
}

std::string compare(const zarnGIHost_StructureInput& input, Options options)
{
    const zarngi::DoseView reference = host::dosesOf(input.reference);
    const zarngi::DoseView evaluation = host::dosesOf(input.evaluation);
    options.doses.binWidth =
        zarngi::curveBinWidth(std::max(largestOf(reference), largestOf(evaluation)));
    const auto catalogue = host::catalogueOf(input.sets, input.count, input.reference);
    zarngi::StructureComparison structures =
        compareStructures(catalogue, selectStructures(*catalogue, options.shown, options.excluded),
                          reference, evaluation, options.doses, options.gamma.threads);
    for (zarngi::StructureRow& row : structures.rows) {
        row.limits = options.limits;
    }
    zarngi::FileDigests digests; // which nobody asks for
    for (const files::StructureSet& set : catalogue->sets()) {
        digests[set.path];
        digests[set.dataPath];
    }
    Json document = {{"structures", structuresJson(structures, digests)}};
    if (input.gamma != nullptr) {
        const zarngi::CentreDoses centres(reference, evaluation);
        document["criterion"] = criterionJson(input, options, structures, centres);
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
            const std::string text = compare(*input, readOptions(options));
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
