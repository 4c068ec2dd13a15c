#include "cli/output/outputs.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli/commands/requestFile.h"
#include "cli/output/reportTemplate.h"
#include "cli/output/volumeFile.h"
#include "comparison/documents/csv.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/evaluationDocuments.h"
#include "comparison/documents/nativePagePacking.h"
#include "comparison/documents/record.h"
#include "comparison/documents/reportPage.h"
#include "comparison/documents/requestJson.h"
#include "comparison/failure.h"
#include "files/text.h"
#include "platform/console.h"
#include "platform/paths.h"

namespace zarngi
{

namespace
{

bool contains(const std::vector<platform::FileIdentity>& files, const platform::FileIdentity& file)
{
    return std::find(files.begin(), files.end(), file) != files.end();
}

std::vector<platform::FileIdentity> identitiesOf(const std::vector<std::string>& inputs)
{
    std::vector<platform::FileIdentity> files;
    for (const std::string& input : inputs) {
        if (const auto file = platform::identityOf(input)) {
            files.push_back(*file);
        }
    }
    return files;
}

/** Devices take any number of outputs, one after the other. */
bool isForOneOutput(const OutputPlace& place, const platform::FileIdentity& file)
{
    return place.isStandardOutput() || !file.isCharacterDevice;
}

bool isPageName(const std::string& name)
{
    return name.ends_with(".html") || name.ends_with(".htm") || !placeOf(name).isFile;
}

void openFile(std::optional<OutputFile>& file, const std::string& name)
{
    if (!name.empty()) {
        file.emplace(name);
    }
}

/** What is printed, by the library too, makes way for a document on standard output. */
void printToStandardError()
{
    std::cout.flush();
    std::fflush(stdout);
    platform::printToStandardError();
}

} // namespace

void writeImage(OutputFile& file, const Image& image)
{
    file.write(files::asText(volumeFileOf(file.name(), image).view()));
}

void OutputNames::checkFormats() const
{
    if (!gammaMap.empty() && !isWritableVolumeName(gammaMap)) {
        throw UsageError("--gamma-map: " + gammaMap +
                         " does not end in .mha, .nrrd, .nii or .nii.gz");
    }
    if (!report.empty() && !isPageName(report)) {
        throw UsageError("--report: " + report + " does not end in .html");
    }
    if (!report.empty() && reportTemplate().empty()) {
        throw UsageError("--report: this build has no report page (it was made without npm)");
    }
}

void OutputNames::checkFiles(const std::vector<std::string>& inputs,
                             const std::vector<Criterion>& criteria) const
{
    const std::vector<platform::FileIdentity> read = identitiesOf(inputs);
    std::vector<std::string> names = gammaMaps(criteria);
    names.insert(names.end(), {json, csv, report, request});
    std::erase(names, "");
    std::vector<platform::FileIdentity> written;
    for (const std::string& name : names) {
        const OutputPlace place = placeOf(name);
        const auto file = identityOf(place);
        if (!file) { // creating it tells why
            continue;
        }
        if (contains(read, *file)) {
            throw UsageError(place.name + " would overwrite an input file");
        }
        if (!isForOneOutput(place, *file)) {
            continue;
        }
        if (contains(written, *file)) {
            throw UsageError(place.name + " is named for two outputs");
        }
        written.push_back(*file);
    }
}

std::vector<std::string> OutputNames::gammaMaps(const std::vector<Criterion>& criteria) const
{
    std::vector<std::string> names;
    if (gammaMap.empty()) {
        return names;
    }
    for (const Criterion& criterion : criteria) {
        names.push_back(criteria.size() == 1 ? gammaMap : gammaMapName(gammaMap, criterion));
    }
    return names;
}

std::string gammaMapName(const std::string& name, const Criterion& criterion)
{
    const std::size_t nameStart = name.size() - platform::nameOf(name).size();
    const std::size_t extension =
        files::lowerCase(name).ends_with(".nii.gz") ? name.size() - 7 : name.find_last_of('.');
    const std::size_t stemEnd = std::max(nameStart, extension);
    return name.substr(0, stemEnd) + "-" + criterion.fileLabel() + name.substr(stemEnd);
}

Outputs::Outputs(const OutputNames& names, const std::vector<Criterion>& criteria)
{
    openFile(json_, names.json);
    openFile(csv_, names.csv);
    openFile(report_, names.report);
    openFile(request_, names.request);
    for (const std::string& name : names.gammaMaps(criteria)) {
        gammaMaps_.emplace_back(name);
    }
    if (!names.alias.empty()) {
        alias_ = names.alias;
    }
    if (useStandardOutput()) {
        printToStandardError();
    }
}

bool Outputs::useStandardOutput() const
{
    for (const std::optional<OutputFile>* const file : {&json_, &csv_, &report_, &request_}) {
        if (*file && (*file)->isStandardOutput()) {
            return true;
        }
    }
    return std::any_of(gammaMaps_.begin(), gammaMaps_.end(),
                       [](const OutputFile& file) { return file.isStandardOutput(); });
}

/** A request in it names files as seen from where it lies. */
nlohmann::ordered_json Outputs::recordFor(const Comparison& comparison,
                                          const OutputFile& file) const
{
    nlohmann::ordered_json record = comparisonJson(comparison, alias_);
    if (!alias_) {
        record["request"] = requestJson(relocated(comparison.request, file.folder()));
    }
    return record;
}

void Outputs::write(const Comparison& comparison)
{
    for (std::size_t i = 0; i < gammaMaps_.size(); ++i) {
        writeImage(gammaMaps_[i],
                   {comparison.reference.image.geometry, comparison.results[i].gamma});
    }
    if (json_) {
        json_->write(toText(recordFor(comparison, *json_), 2) + "\n");
    }
    if (csv_) {
        csv_->write(comparisonCsv(comparison, alias_));
    }
    if (report_) {
        report_->write(reportPage(comparison, recordFor(comparison, *report_), reportTemplate(),
                                  nativePagePacking()));
    }
    if (request_) {
        request_->write(protocolText(comparison.request, request_->name()));
    }
}

void Outputs::write(const DoseEvaluation& evaluation)
{
    if (json_) {
        json_->write(toText(evaluationJson(evaluation), 2) + "\n");
    }
    if (csv_) {
        csv_->write(evaluationCsv(evaluation));
    }
}

} // namespace zarngi
