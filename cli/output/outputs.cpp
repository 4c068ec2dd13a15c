#include "cli/output/outputs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <span>

#include "cli/commands/requestFile.h"
#include "cli/output/reportTemplate.h"
#include "comparison/conversion/volumeFile.h"
#include "comparison/documents/csv.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/evaluationDocuments.h"
#include "comparison/documents/json.h"
#include "comparison/documents/nativePagePacking.h"
#include "comparison/documents/record.h"
#include "comparison/documents/reportPage.h"
#include "comparison/documents/requestJson.h"
#include "comparison/doseDifference.h"
#include "comparison/failure.h"
#include "comparison/gammaStatistics.h"
#include "comparison/sources/diskSource.h"
#include "comparison/sources/inputFiles.h"
#include "files/nativeDeflate.h"
#include "files/text.h"
#include "libZarnGI.h"
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

/** Devices take any number of outputs, one after the other. */
bool isForOneOutput(const OutputPlace& place, const platform::FileIdentity& file)
{
    return place.isStandardOutput() || !file.isCharacterDevice;
}

bool isPageName(const std::string& name)
{
    return name.ends_with(".html") || name.ends_with(".htm") || !placeOf(name).isFile;
}

/** 1 where a voxel was tested. */
Image testedOf(const Geometry& grid, std::span<const unsigned char> passed)
{
    files::LargeVector<float> values(passed.size());
    for (std::size_t i = 0; i < passed.size(); ++i) {
        values[i] = passed[i] == ZARNGI_NOT_TESTED ? 0.0F : 1.0F;
    }
    return {grid, std::move(values)};
}

/** The largest gamma of a dose that was found. */
float largestFound(const Image& map)
{
    float largest = 0;
    for (const float gamma : map.values) {
        largest = gamma < unreachedGamma ? std::max(largest, gamma) : largest;
    }
    return largest;
}

/**
 * A gamma map as an RT Dose holds it: 0 where nothing was tested, and gamma beyond the limit of the
 * search, which may be as large as that of a voxel that no dose was found for, as the limit.
 */
Image withinLimit(Image map, double limit)
{
    const auto largest = std::isfinite(limit) ? static_cast<float>(limit) : largestFound(map);
    for (float& gamma : map.values.own()) {
        gamma = std::clamp(gamma, 0.0F, largest);
    }
    return map;
}

void openFile(std::optional<OutputFile>& file, const std::string& name)
{
    if (!name.empty()) {
        file.emplace(name);
    }
}

/** "gamma.nii.gz" as "gamma-LABEL.nii.gz". */
std::string nameWith(const std::string& name, const std::string& label)
{
    const std::size_t nameStart = name.size() - platform::nameOf(name).size();
    const std::size_t extension =
        files::lowerCase(name).ends_with(".nii.gz") ? name.size() - 7 : name.find_last_of('.');
    const std::size_t stemEnd = std::max(nameStart, extension);
    return name.substr(0, stemEnd) + "-" + label + name.substr(stemEnd);
}

/** What is printed, by the library too, makes way for a document on standard output. */
void printToStandardError()
{
    std::cout.flush();
    std::fflush(stdout);
    platform::printToStandardError();
}

} // namespace

void writeImage(OutputFile& file, const Image& image, const files::RtDoseFacts& facts)
{
    file.write(
        files::asText(volumeFileOf(file.name(), image, facts, files::nativeDeflate()).view()));
}

void OutputNames::checkFormats() const
{
    for (const auto& [option, name] :
         {std::pair("--gamma-map: ", &gammaMap), std::pair("--difference: ", &difference)}) {
        if (!name->empty() && !isWritableVolumeName(*name)) {
            throw UsageError(option + *name + " does not end in " + writableEndings);
        }
    }
    if (!like.empty() && !haveDicom()) {
        throw UsageError("--like is for RT Doses, and none is written (--gamma-map or "
                         "--difference to a .dcm)");
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
    const InputFiles read(inputs);
    std::vector<std::string> names = gammaMaps(criteria);
    const std::vector<std::string> masks = testedMasks(criteria);
    names.insert(names.end(), masks.begin(), masks.end());
    names.insert(names.end(), {difference, json, csv, report, request});
    std::erase(names, "");
    std::vector<platform::FileIdentity> written;
    for (const std::string& name : names) {
        const OutputPlace place = placeOf(name);
        const auto file = identityOf(place);
        if (!file) { // creating it tells why
            continue;
        }
        read.checkIsNone(*file, place.name);
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
        std::string name = criteria.size() == 1 ? gammaMap : gammaMapName(gammaMap, criterion);
        if (std::find(names.begin(), names.end(), name) != names.end()) {
            name = nameWith(name, "again"); // asked for everything and for structures
        }
        names.push_back(std::move(name));
    }
    return names;
}

std::vector<std::string> OutputNames::testedMasks(const std::vector<Criterion>& criteria) const
{
    std::vector<std::string> names;
    if (isDicomName(gammaMap)) {
        for (const std::string& name : gammaMaps(criteria)) {
            names.push_back(name.substr(0, name.find_last_of('.')) + "-tested.nrrd");
        }
    }
    return names;
}

bool OutputNames::haveDicom() const
{
    return isDicomName(gammaMap) || isDicomName(difference);
}

std::string gammaMapName(const std::string& name, const Criterion& criterion)
{
    return nameWith(name, criterion.fileLabel());
}

Outputs::Outputs(const OutputNames& names, const std::vector<Criterion>& criteria)
{
    openFile(json_, names.json);
    openFile(csv_, names.csv);
    openFile(report_, names.report);
    openFile(request_, names.request);
    openFile(difference_, names.difference);
    for (const std::string& name : names.gammaMaps(criteria)) {
        gammaMaps_.emplace_back(name);
    }
    for (const std::string& name : names.testedMasks(criteria)) {
        testedMasks_.emplace_back(name);
    }
    if (!names.like.empty()) {
        study_ = DiskSource({}, false).study(names.like);
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
    for (const std::optional<OutputFile>* const file :
         {&json_, &csv_, &report_, &request_, &difference_}) {
        if (*file && (*file)->isStandardOutput()) {
            return true;
        }
    }
    return std::any_of(gammaMaps_.begin(), gammaMaps_.end(),
                       [](const OutputFile& file) { return file.isStandardOutput(); });
}

/** A request in it names files as seen from where it lies. */
Json Outputs::recordFor(const Comparison& comparison, const OutputFile& file) const
{
    Json record = comparisonJson(comparison, alias_);
    if (!alias_) {
        record["request"] = requestJson(relocated(comparison.request, file.folder()));
    }
    return record;
}

void Outputs::writeGamma(std::size_t index, const Comparison& comparison)
{
    const CriterionResult& result = comparison.results[index];
    Image map{comparison.reference.image.geometry, files::Values::lent(result.gamma)};
    OutputFile& file = gammaMaps_[index];
    if (!isDicomName(file.name())) {
        writeImage(file, map);
        return;
    }
    files::RtDoseFacts facts;
    facts.isRelative = true;
    const double limit = comparison.settings.maxGamma;
    facts.comment = "gamma " + result.criterion.label();
    if (std::isfinite(limit)) {
        const std::string told = files::number(limit);
        facts.comment += ", values of " + told + " are " + told + " or above";
    }
    facts.study = study_;
    writeImage(file, withinLimit(std::move(map), limit), facts);
    writeImage(testedMasks_[index], testedOf(comparison.reference.image.geometry, result.passed));
}

void Outputs::write(const Comparison& comparison)
{
    for (std::size_t i = 0; i < gammaMaps_.size(); ++i) {
        writeGamma(i, comparison);
    }
    if (difference_) {
        files::RtDoseFacts facts;
        facts.isDifference = true;
        facts.isRelative = comparison.reference.unit != DoseUnit::gray;
        facts.comment = "evaluation - reference";
        facts.study = study_;
        writeImage(*difference_, doseDifference(comparison), facts);
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
        json_->write(toText(evaluationJson(evaluation, alias_), 2) + "\n");
    }
    if (csv_) {
        csv_->write(evaluationCsv(evaluation, alias_));
    }
    if (report_) {
        report_->write(evaluationPage(evaluationJson(evaluation, alias_), reportTemplate()));
    }
}

} // namespace zarngi
