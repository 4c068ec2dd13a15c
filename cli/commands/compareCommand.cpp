#include "cli/commands/compareCommand.h"

#include <iostream>
#include <span>

#include "cli/commands/optionNames.h"
#include "cli/guard/unpackPixels.h"
#include "cli/output/outputs.h"
#include "cli/output/progress.h"
#include "cli/output/resultTable.h"
#include "comparison/compare.h"
#include "comparison/sources/diskSource.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** A line for each work, which vanishes with the function. */
template <class Progress> std::function<bool(Progress)> progressLine(const std::string& title)
{
    return [line = std::make_shared<ProgressLine>(title)](const Progress& progress) {
        line->show(progress);
        return true;
    };
}

/** Progress lines where a user is there to see them. */
Watchers progressOf(const GammaSettings& settings)
{
    Watchers watchers;
    if (!ProgressLine::isWanted()) {
        return watchers;
    }
    watchers.work = &progressLine<double>;
    if (settings.verbose == 0) {
        watchers.search = [](const Criterion& criterion) {
            return progressLine<const SearchProgress&>(criterion.label());
        };
    }
    return watchers;
}

/** The files that hold the values, too, which are known when they are read. */
std::vector<std::string> inputsOf(const Comparison& comparison)
{
    std::vector<std::string> files{comparison.reference.path, comparison.reference.dataPath,
                                   comparison.evaluation.path, comparison.evaluation.dataPath};
    for (const auto* const added : {&comparison.referenceAdded, &comparison.evaluationAdded}) {
        for (const DoseImage& dose : *added) {
            files.insert(files.end(), {dose.path, dose.dataPath});
        }
    }
    for (const auto* const file :
         {&comparison.referenceUncertainty, &comparison.evaluationUncertainty}) {
        if (*file) {
            files.insert(files.end(), {(*file)->path, (*file)->dataPath});
        }
    }
    if (comparison.structures) {
        for (const files::StructureSet& set : comparison.structures->catalogue->sets()) {
            files.insert(files.end(), {set.path, set.dataPath});
        }
    }
    for (const ComparedPlan& compared : comparison.plans) {
        files.push_back(compared.plan.path);
    }
    return files;
}

/** What is known of the outputs only now. @throws UsageError */
void checkOutputs(const OutputNames& names, const Comparison& comparison)
{
    if (arePoints(comparison.placed.space) && !names.gammaMap.empty()) {
        throw UsageError("--gamma-map needs a grid, which points have not; --json tells the gamma "
                         "of each");
    }
    if (arePoints(comparison.placed.space) && !names.difference.empty()) {
        throw UsageError("--difference needs a grid, which points have not; --json tells the "
                         "doses of each");
    }
    if (names.haveDicom() && comparison.reference.measurement) {
        throw UsageError("an RT Dose (.dcm) is written of volumes alone, and " +
                         comparison.reference.path + " is measured in a plane or at places");
    }
    names.checkFiles(inputsOf(comparison), comparison.request.criteriaToCompute());
}

/** By name, so that --refuse can be told it. */
void tellGate(std::span<const GateWarning> gate)
{
    for (const GateWarning& warning : gate) {
        std::cerr << "zarngi: warning (" << gateName(warning.name)
                  << "): " << oneLine(warning.sentence.text(programWording())) << '\n';
    }
}

void tell(const Comparison& comparison)
{
    for (const Sentence& warning : comparison.warnings) {
        std::cerr << "zarngi: warning: " << oneLine(warning.text(programWording())) << '\n';
    }
    tellGate(comparison.gate);
    std::cout << describeSetup(comparison) << std::flush;
}

} // namespace

ExitCode compare(const CompareOptions& options)
{
    const Request request = options.request();
    checkRequest(request);
    checkOutputs(options, request);
    const bool isDigested = !options.outputs.json.empty() || !options.outputs.report.empty() ||
                            !request.formerDigests.empty();
    DiskSource source(unpackPixels, isDigested, !options.outputs.alias.empty());
    std::optional<Outputs> outputs;
    Watchers watchers = progressOf(request.settings);
    std::size_t told = 0; // of the gate
    watchers.prepared = [&](const Comparison& prepared) {
        checkOutputs(options.outputs, prepared);
        outputs.emplace(options.outputs, prepared.request.criteriaToCompute());
        tell(prepared);
        told = prepared.gate.size();
    };
    const Comparison comparison = zarngi::compare(request, source, watchers);
    tellGate(std::span(comparison.gate).subspan(told));
    std::cout << describeResults(comparison) << std::flush;
    outputs->write(comparison);
    return comparison.isBelowLimit() ? ExitCode::belowLimit : ExitCode::fine;
}

} // namespace zarngi
