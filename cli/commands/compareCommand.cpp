#include "cli/commands/compareCommand.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <iostream>
#include <optional>

#include "cli/commands/compareStructures.h"
#include "cli/commands/prepareDoses.h"
#include "cli/commands/readDose.h"
#include "cli/output/outputs.h"
#include "cli/output/progress.h"
#include "cli/output/resultTable.h"
#include "comparison/comparison.h"
#include "comparison/measurements/pointSearch.h"
#include "comparison/parallel.h"
#include "comparison/structures/structureLimits.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

void checkUnits(const Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        if (dose->isRelative && !comparison.normalisationRequest.isGiven()) {
            throw InputError(dose->path + ": holds relative doses, not Gy; they are compared as "
                                          "they are when --norm gives the dose of 100 %");
        }
    }
    if (comparison.reference.isRelative != comparison.evaluation.isRelative) {
        throw InputError("one file holds relative doses and the other one Gy: " +
                         comparison.reference.path + ", " + comparison.evaluation.path);
    }
}

void warnAbout(Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        for (const std::string& warning : dose->warnings) {
            comparison.warnings.push_back(dose->path + ": " + warning);
        }
    }
    const auto& reference = comparison.reference.dicom;
    const auto& evaluation = comparison.evaluation.dicom;
    if (!reference || !evaluation || comparison.reference.format != comparison.evaluation.format) {
        return;
    }
    if (reference->frameOfReference != evaluation->frameOfReference) {
        comparison.warnings.emplace_back(
            "the files have different Frame of Reference UIDs: their positions may not match");
    }
    if (reference->doseType != evaluation->doseType) {
        comparison.warnings.push_back("the files hold different types of dose: " +
                                      reference->doseType + " and " + evaluation->doseType);
    }
}

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

void checkAreVolumes(const Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        if (dose->measurement) {
            throw UsageError("--structures is for volumes, and " + oneLine(dose->path) +
                             " is none");
        }
    }
}

Comparison readComparison(const CompareOptions& options)
{
    const auto start = std::chrono::steady_clock::now();
    Comparison comparison;
    comparison.settings = options.settings;
    comparison.limits = generalLimits(options.limits);
    comparison.failBelow = StructureLimits("--fail-below", options.limits.failBelow).general();
    comparison.commandLine = options.commandLine;
    comparison.normalisationRequest = options.measurements.normalisation();
    readDoses(comparison, options);
    for (CriterionRequest& request : options.requests()) {
        CriterionResult& result = comparison.results.emplace_back();
        result.criterion = request.criterion;
        result.patterns = std::move(request.patterns);
    }
    checkUnits(comparison);
    warnAbout(comparison);
    placeDoses(comparison, options.measurements);
    std::shared_ptr<const StructureCatalogue> catalogue;
    if (!options.structures.files.empty()) {
        checkAreVolumes(comparison);
        catalogue = readStructureFiles(options.structures, comparison);
    }
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    comparison.readSeconds = duration.count();
    comparison.referenceExtremes = extremesOf(comparison.reference);
    comparison.evaluationExtremes = extremesOf(comparison.evaluation);
    setNormalisation(comparison);
    if (catalogue) {
        addStructures(comparison, std::move(catalogue), options);
    }
    return comparison;
}

/** Computes with a progress line where a user is there to see it. */
GammaMap computeVisibly(GammaRun& run, const Comparison& comparison, const GammaSettings& settings,
                        const Criterion& criterion)
{
    const auto search = [&](const WatchSearch& watch) {
        return arePoints(comparison.placed.space)
                   ? searchPoints(run, comparison.reference, settings, criterion, watch)
                   : run.compute(settings, criterion, watch);
    };
    if (settings.verbose > 0 || !ProgressLine::isWanted()) {
        return search({});
    }
    ProgressLine line(criterion.label());
    return search([&line](const SearchProgress& progress) {
        line.show(progress);
        return true;
    });
}

/** The reference as the search gets it. */
DoseImage searchedReference(const Comparison& comparison)
{
    DoseImage reference;
    reference.path = comparison.reference.path;
    reference.image = onlyWithin(comparison.reference.image, comparison.within->voxels);
    return reference;
}

/** A part, or a point, is judged as within the whole: the percentages refer to the same dose. */
GammaSettings searchSettings(const Comparison& comparison)
{
    GammaSettings settings = comparison.settings;
    if (comparison.within || arePoints(comparison.placed.space)) {
        settings.normalisation = comparison.normalisation();
    }
    return settings;
}

void judgeStructures(CriterionResult& result, const Comparison& comparison,
                     const CentreDoses& doses)
{
    const TestedVoxels tested{result.gamma, result.passed, doses,
                              comparison.reference.image.geometry, comparison.settings};
    const StructureComparison& structures = *comparison.structures;
    const std::vector<bool> isWanted = rowsOf(result.patterns, structures);
    result.structures.resize(structures.rows.size());
    forEachIndex(structures.rows.size(), comparison.settings.threads, [&](std::size_t i) {
        if (isWanted[i]) {
            const StructureRow& row = structures.rows[i];
            result.structures[i] = structureGamma(tested, row.voxels, row.limits);
        }
    });
    if (result.patterns.empty()) {
        result.outside = structureGamma(tested, structures.outside, comparison.limits);
    }
}

void compute(Comparison& comparison)
{
    GammaRun run(comparison.within ? searchedReference(comparison) : comparison.reference,
                 comparison.evaluation);
    const GammaSettings settings = searchSettings(comparison);
    const CentreDoses doses(viewOf(comparison.reference.image),
                            viewOf(comparison.evaluation.image));
    for (CriterionResult& result : comparison.results) {
        GammaMap map = computeVisibly(run, comparison, settings, result.criterion);
        result.step = static_cast<double>(stepSize(settings, result.criterion));
        result.statistics = gammaStatistics(map, settings);
        result.statistics.sides =
            arePoints(comparison.placed.space)
                ? failedPointSides(comparison.reference, viewOf(comparison.evaluation.image),
                                   map.passed)
                : failedSides(doses, map.passed);
        result.verdict = verdictOf(map.passRate, comparison.limits);
        result.seconds = map.seconds;
        result.gamma = std::move(map.values);
        result.passed = std::move(map.passed);
        if (comparison.structures) {
            judgeStructures(result, comparison, doses);
        }
    }
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
    compute(comparison);
    std::cout << describeResults(comparison) << std::flush;
    outputs.write(comparison);
    return comparison.isBelowLimit() ? ExitCode::belowLimit : ExitCode::fine;
}

} // namespace zarngi
