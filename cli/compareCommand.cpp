#include "compareCommand.h"

#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>

#include "comparison.h"
#include "outputFile.h"
#include "readDose.h"
#include "resultTable.h"
#include "volumeFile.h"

namespace cli
{

namespace
{

void checkUnits(const Comparison& comparison)
{
    for (const DoseImage* dose : {&comparison.reference, &comparison.evaluation}) {
        if (dose->isRelative && !comparison.settings.normalisation) {
            throw InputError(dose->path + ": holds relative doses, not Gy; --norm with the dose of "
                                          "100 % in the same units allows to compare them");
        }
    }
    if (comparison.reference.isRelative != comparison.evaluation.isRelative) {
        throw InputError("one file holds relative doses and the other one Gy: " +
                         comparison.reference.path + ", " + comparison.evaluation.path);
    }
}

void warnAbout(Comparison& comparison)
{
    const auto& reference = comparison.reference.dicom;
    const auto& evaluation = comparison.evaluation.dicom;
    if (!reference || !evaluation) {
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

Comparison readComparison(const CompareOptions& options)
{
    const auto start = std::chrono::steady_clock::now();
    Comparison comparison;
    comparison.settings = options.settings;
    comparison.limits = options.limits;
    comparison.failBelow = options.failBelow;
    comparison.reference = readDose(options.reference);
    comparison.evaluation = readDose(options.evaluation);
    for (const Criterion& criterion : options.criteriaToCompute()) {
        comparison.results.emplace_back().criterion = criterion;
    }
    checkUnits(comparison);
    warnAbout(comparison);
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    comparison.readSeconds = duration.count();
    return comparison;
}

void compute(Comparison& comparison)
{
    GammaRun run(comparison.reference, comparison.evaluation);
    for (CriterionResult& result : comparison.results) {
        GammaMap map = run.compute(comparison.settings, result.criterion);
        result.step = static_cast<double>(stepSize(comparison.settings, result.criterion));
        result.statistics = gammaStatistics(map, comparison.settings);
        result.verdict = verdictOf(map.passRate, comparison.limits);
        result.seconds = map.seconds;
        result.gamma = std::move(map.values);
    }
}

/** The name for one of several gamma maps: "gamma.nii.gz" becomes "gamma-3G-2mm.nii.gz". */
std::string nameFor(const std::string& path, const Criterion& criterion)
{
    const auto folderEnd = path.find_last_of('/');
    const auto nameStart = folderEnd == std::string::npos ? 0 : folderEnd + 1;
    const std::size_t tail = path.ends_with(".nii.gz") ? 7 : path.size() - path.find_last_of('.');
    const std::size_t stemEnd = std::max(nameStart, path.size() - tail);
    return path.substr(0, stemEnd) + "-" + criterion.fileLabel() + path.substr(stemEnd);
}

/** The files asked for: opened before the computation, filled after it. */
class Outputs
{
public:
    Outputs(const CompareOptions& options, const Comparison& comparison)
    {
        if (options.gammaMap.empty()) {
            return;
        }
        const bool isOne = comparison.results.size() == 1;
        for (const CriterionResult& result : comparison.results) {
            gammaMaps_.push_back(std::make_unique<OutputFile>(
                isOne ? options.gammaMap : nameFor(options.gammaMap, result.criterion)));
        }
    }

    void write(const Comparison& comparison)
    {
        for (std::size_t i = 0; i < gammaMaps_.size(); ++i) {
            writeGammaMap(*gammaMaps_[i], comparison.reference.image.geometry,
                          comparison.results[i].gamma);
        }
    }

private:
    static void writeGammaMap(OutputFile& file, const Geometry& geometry,
                              const std::vector<float>& gamma)
    {
        try {
            writeVolume(file.temporaryPath(), {geometry, gamma});
        } catch (const InputError& error) {
            throw InputError(file.path() + ": " + error.what());
        }
        file.commit();
    }

    std::vector<std::unique_ptr<OutputFile>> gammaMaps_;
};

} // namespace

ExitCode compare(const CompareOptions& options)
{
    checkCompareOptions(options);
    Comparison comparison = readComparison(options);
    Outputs outputs(options, comparison);
    for (const std::string& warning : comparison.warnings) {
        std::cerr << "zarngi: warning: " << warning << '\n';
    }
    std::cout << describeSetup(comparison) << std::flush;
    compute(comparison);
    std::cout << describeResults(comparison) << std::flush;
    outputs.write(comparison);
    return comparison.isBelowLimit() ? ExitCode::belowLimit : ExitCode::fine;
}

} // namespace cli
