#include "cli/commands/compareCommand.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <iostream>

#include "cli/commands/readDose.h"
#include "cli/commands/readStructures.h"
#include "cli/output/outputs.h"
#include "cli/output/progress.h"
#include "cli/output/resultTable.h"
#include "comparison/request/computation.h"
#include "comparison/request/doseChecks.h"
#include "comparison/request/preparedDoses.h"
#include "comparison/request/requestedStructures.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Reads both files at once. A pipe comes second: nobody waits for it when the other file is bad.
 */
void readDoses(Comparison& comparison, const CompareOptions& options)
{
    const bool isRecorded = !options.outputs.json.empty() || !options.outputs.report.empty();
    const auto read = [isRecorded, units = options.measurements.units()](const std::string& path,
                                                                         FileDigests& digests) {
        return isRecorded ? readDose(path, digests, units) : readDose(path, units);
    };
    std::error_code error;
    const bool isFile = std::filesystem::is_regular_file(options.evaluation, error);
    const std::launch when =
        isFile ? std::launch::async | std::launch::deferred : std::launch::deferred;
    FileDigests ofEvaluation;
    auto evaluation = std::async(when, read, options.evaluation, std::ref(ofEvaluation));
    comparison.reference = read(options.reference, comparison.digests);
    comparison.evaluation = evaluation.get();
    comparison.digests.merge(ofEvaluation);
    makeDoses(comparison, options.measurements,
              [&](const std::string& path) { return read(path, comparison.digests); });
}

Comparison readComparison(const CompareOptions& options)
{
    const auto start = std::chrono::steady_clock::now();
    Comparison comparison = emptyComparison(options);
    readDoses(comparison, options);
    checkDoses(comparison);
    placeDoses(comparison, options.measurements);
    if (!options.structures.files.empty()) {
        checkAreVolumes(comparison);
    }
    std::vector<files::StructureSet> sets;
    for (const std::string& path : options.structures.files) {
        sets.push_back(readStructures(path, &comparison.digests));
    }
    std::shared_ptr<const StructureCatalogue> catalogue;
    if (!sets.empty()) {
        catalogue = catalogueOf(std::move(sets), options.structures, comparison);
    }
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    comparison.readSeconds = duration.count();
    findExtremes(comparison);
    setNormalisation(comparison);
    if (catalogue) {
        addStructures(comparison, std::move(catalogue), options);
    }
    checkExplanation(comparison, options.explain);
    return comparison;
}

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

std::vector<std::string> inputsOf(const Comparison& comparison)
{
    std::vector<std::string> files{comparison.reference.path, comparison.reference.dataPath,
                                   comparison.evaluation.path, comparison.evaluation.dataPath};
    for (const DoseMaking* making : {&comparison.referenceMaking, &comparison.evaluationMaking}) {
        for (const DoseImage& dose : making->added) {
            files.insert(files.end(), {dose.path, dose.dataPath});
        }
    }
    if (comparison.structures) {
        for (const files::StructureSet& set : comparison.structures->catalogue->sets()) {
            files.insert(files.end(), {set.path, set.dataPath});
        }
    }
    return files;
}

void checkOutputs(const Comparison& comparison, const OutputNames& outputs)
{
    if (arePoints(comparison.placed.space) && !outputs.gammaMap.empty()) {
        throw UsageError("--gamma-map needs a grid, which points have not; --json tells the gamma "
                         "of each");
    }
}

} // namespace

ExitCode compare(const CompareOptions& options)
{
    checkCompareOptions(options);
    Comparison comparison = readComparison(options);
    checkOutputs(comparison, options.outputs);
    const std::vector<Criterion> criteria = options.criteriaToCompute();
    // Only now is known which files hold the values.
    options.outputs.checkFiles(inputsOf(comparison), criteria);
    Outputs outputs(options.outputs, criteria);
    for (const std::string& warning : comparison.warnings) {
        std::cerr << "zarngi: warning: " << oneLine(warning) << '\n';
    }
    std::cout << describeSetup(comparison) << std::flush;
    compute(comparison, options.explain, progressOf(comparison.settings));
    std::cout << describeResults(comparison) << std::flush;
    outputs.write(comparison);
    return comparison.isBelowLimit() ? ExitCode::belowLimit : ExitCode::fine;
}

} // namespace zarngi
