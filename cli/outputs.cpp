#include "outputs.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <set>

#include "comparisonCsv.h"
#include "comparisonJson.h"
#include "failure.h"
#include "reportPage.h"
#include "volumeFile.h"

namespace cli
{

namespace
{

bool isSameFile(const std::string& a, const std::string& b)
{
    std::error_code error;
    return std::filesystem::equivalent(a, b, error);
}

void checkNames(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs)
{
    std::set<std::filesystem::path> seen;
    for (const std::string& output : outputs) {
        if (output.empty()) {
            continue;
        }
        for (const std::string& input : inputs) {
            if (isSameFile(output, input)) {
                throw UsageError(output + " would overwrite an input file");
            }
        }
        std::error_code error;
        if (!seen.insert(std::filesystem::weakly_canonical(output, error)).second) {
            throw UsageError(output + " is named for two outputs");
        }
    }
}

void openFile(std::optional<OutputFile>& file, const std::string& name)
{
    if (!name.empty()) {
        file.emplace(name);
    }
}

} // namespace

void writeImage(OutputFile& file, const Image& image)
{
    try {
        writeVolume(file.temporaryPath(), image);
    } catch (const InputError& error) {
        throw InputError(file.path() + ": " + error.what());
    }
    file.commit();
}

void OutputNames::check(const std::string& reference, const std::string& evaluation) const
{
    if (!gammaMap.empty() && !isWritableVolumeName(gammaMap)) {
        throw UsageError("--gamma-map: " + gammaMap +
                         " does not end in .mha, .nrrd, .nii or .nii.gz");
    }
    if (!report.empty() && !report.ends_with(".html") && !report.ends_with(".htm")) {
        throw UsageError("--report: " + report + " does not end in .html");
    }
    if (!report.empty() && reportTemplate().empty()) {
        throw UsageError("--report: this build has no report page (it was made without npm)");
    }
    checkNames({gammaMap, json, csv, report}, {reference, evaluation});
}

std::string gammaMapName(const std::string& name, const Criterion& criterion)
{
    const std::size_t nameStart = name.find_last_of('/') + 1; // 0 where there is no folder
    const std::size_t extension =
        name.ends_with(".nii.gz") ? name.size() - 7 : name.find_last_of('.');
    const std::size_t stemEnd = std::max(nameStart, extension);
    return name.substr(0, stemEnd) + "-" + criterion.fileLabel() + name.substr(stemEnd);
}

Outputs::Outputs(const OutputNames& names, const std::vector<Criterion>& criteria)
{
    openFile(json_, names.json);
    openFile(csv_, names.csv);
    openFile(report_, names.report);
    if (names.gammaMap.empty()) {
        return;
    }
    for (const Criterion& criterion : criteria) {
        gammaMaps_.emplace_back(criteria.size() == 1 ? names.gammaMap
                                                     : gammaMapName(names.gammaMap, criterion));
    }
}

void Outputs::write(const Comparison& comparison)
{
    for (std::size_t i = 0; i < gammaMaps_.size(); ++i) {
        writeImage(gammaMaps_[i],
                   {comparison.reference.image.geometry, comparison.results[i].gamma});
    }
    // Once for both: it reads the input files to tell their digests.
    const nlohmann::ordered_json record =
        json_ || report_ ? comparisonJson(comparison) : nlohmann::ordered_json();
    if (json_) {
        json_->write(toText(record, 2) + "\n");
    }
    if (csv_) {
        csv_->write(comparisonCsv(comparison));
    }
    if (report_) {
        report_->write(reportPage(comparison, record, reportTemplate()));
    }
}

} // namespace cli
