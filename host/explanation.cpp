#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/explanationJson.h"
#include "comparison/documents/json.h"
#include "comparison/failure.h"
#include "comparison/structures/maskRuns.h"
#include "comparison/structures/structureSelection.h"
#include "host/calls.h"
#include "host/structures.h"

using files::FileError;

namespace
{

zarnGIHost_Volume volumeOf(const zarngi::DoseView& doses)
{
    zarnGIHost_Volume volume{};
    for (std::size_t i = 0; i < 3; ++i) {
        volume.size[i] = doses.geometry.size[i];
        volume.spacing[i] = doses.geometry.spacing[i];
        volume.origin[i] = doses.geometry.origin[i];
    }
    volume.type = ZARNGI_HOST_FLOAT;
    volume.values = doses.values.data();
    return volume;
}

/** Computations by the caller's functions. */
class CallersEngine : public zarngi::GammaEngine
{
public:
    explicit CallersEngine(const zarnGIHost_GammaEngine& engine) : engine_(engine) {}

    void setReference(const zarngi::DoseView& doses) override
    {
        const zarnGIHost_Volume volume = volumeOf(doses);
        goOn(engine_.setReference(&volume, engine_.context));
    }

    void setEvaluation(const zarngi::DoseView& doses) override
    {
        const zarnGIHost_Volume volume = volumeOf(doses);
        goOn(engine_.setEvaluation(&volume, engine_.context));
    }

    void compute(const zarngi::TrialCriterion& criterion, std::span<float> gamma,
                 std::span<unsigned char> passed) override
    {
        const zarnGIHost_Trial trial{criterion.doseDifference, criterion.distance,
                                     criterion.step.value_or(0), criterion.maxGamma};
        goOn(engine_.compute(&trial, gamma.data(), passed.data(), engine_.context));
    }

private:
    static void goOn(int status)
    {
        if (status != ZARNGI_HOST_OK) {
            throw zarngi::InputError("the explanation was interrupted",
                                     zarngi::FailureKind::interrupted);
        }
    }

    const zarnGIHost_GammaEngine& engine_;
};

/** What is explained and in which parts, whose voxels it holds. */
struct Work {
    zarngi::ExplanationRequest request;
    files::Runs within;
    std::vector<files::Runs> structures;
};

bool isSensible(const zarngi::ExplanationRequest& request)
{
    return request.criterion.doseDifference > 0 && request.criterion.distance > 0 &&
           request.maxGamma > 0 && request.step.value_or(1) > 0 && request.range.value_or(1) > 0;
}

/** The structures that are shown, as `zarngi compare` counts in them what remains. */
void addStructures(Work& work, const zarngi::ExplanationOptions& options,
                   const zarnGIHost_ExplanationInput& input)
{
    const auto catalogue = host::catalogueOf(input.sets, input.count, input.reference);
    const zarngi::StructureSelection selection =
        zarngi::selectStructures(*catalogue, options.shown, options.excluded);
    const files::Raster centres = files::voxelCentres(host::geometryOf(input.reference));
    for (const zarngi::ChosenStructure& chosen : selection.shown) {
        work.structures.push_back(pointsIn(chosen.points, *catalogue, centres));
    }
    for (std::size_t i = 0; i < selection.shown.size(); ++i) {
        work.request.parts.push_back({selection.shown[i].name, &work.structures[i]});
    }
}

/** @throws UsageError */
std::unique_ptr<Work> workOf(const zarngi::ExplanationOptions& options,
                             const zarnGIHost_ExplanationInput& input)
{
    auto work = std::make_unique<Work>();
    work->request = options.request;
    if (input.within != nullptr) {
        const zarngi::Geometry grid = host::geometryOf(input.reference);
        work->within = zarngi::runsOf(grid, {input.within, grid.voxels()});
        work->request.within = zarngi::NamedPart{options.within, &work->within};
    }
    if (input.count > 0) {
        addStructures(*work, options, input);
    }
    return work;
}

zarngi::WatchExplanation watchOf(const zarnGIHost_GammaEngine& engine)
{
    if (engine.progress == nullptr) {
        return {};
    }
    return
        [&engine](double done) { return engine.progress(done, engine.context) == ZARNGI_HOST_OK; };
}

bool isComplete(const zarnGIHost_GammaEngine* engine)
{
    return engine != nullptr && engine->setReference != nullptr &&
           engine->setEvaluation != nullptr && engine->compute != nullptr;
}

} // namespace

int zarnGIHost_explain(const zarnGIHost_ExplanationInput* input, const char* options,
                       const zarnGIHost_GammaEngine* engine, float* gamma, zarnGIHost_Bytes* json,
                       zarnGIHost_Error* error)
{
    if (input == nullptr || options == nullptr || json == nullptr || !isComplete(engine) ||
        !host::areThere(input->sets, input->count)) {
        return host::refuseArgument("a required pointer is null", error);
    }
    if (!host::holdsDoses(&input->reference) || !host::holdsDoses(&input->evaluation)) {
        return host::refuseArgument("a grid holds no doses in single precision", error);
    }
    return host::guarded(error, [&] {
        try {
            const auto asked = zarngi::explanationOptionsOf(options);
            if (!asked) {
                return host::refuseArgument("the options are not as they are described", error);
            }
            const std::unique_ptr<Work> work = workOf(*asked, *input);
            if (!isSensible(work->request)) {
                return host::refuseArgument("an option is out of its range", error);
            }
            CallersEngine computing(*engine);
            const zarngi::Explanation explanation =
                zarngi::explain(computing, host::dosesOf(input->reference),
                                host::dosesOf(input->evaluation), work->request, watchOf(*engine));
            if (gamma != nullptr) {
                std::copy(explanation.after.gamma.begin(), explanation.after.gamma.end(), gamma);
            }
            const std::string text = zarngi::toText(explanationJson(explanation), -1);
            return host::hand({reinterpret_cast<const unsigned char*>(text.data()), text.size()},
                              json);
        } catch (const zarngi::UsageError& failure) {
            return host::report({FileError::Kind::notSupported, failure.reason().text()}, error);
        } catch (const zarngi::InputError& failure) {
            return host::report({FileError::Kind::notSupported, failure.what()}, error);
        }
    });
}
