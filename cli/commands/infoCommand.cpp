#include "cli/commands/infoCommand.h"

#include <iostream>
#include <span>

#include "cli/commands/readStructures.h"
#include "cli/commands/structuresInfo.h"
#include "cli/output/places.h"
#include "cli/output/units.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/headerJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/measurementJson.h"
#include "comparison/documents/planJson.h"
#include "comparison/doseExtremes.h"
#include "comparison/doseUncertainty.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

void print(std::string name, const std::string& text)
{
    constexpr std::size_t nameWidth = 20;
    if (!text.empty()) {
        name.resize(nameWidth, ' ');
        std::cout << name << text << '\n';
    }
}

void printGeometry(const Geometry& geometry)
{
    Vec3 last{};
    for (std::size_t i = 0; i < 3; ++i) {
        last[i] = geometry.origin[i] + geometry.spacing[i] * (geometry.size[i] - 1);
    }
    print("grid", join(geometry.size, " x ") + " voxels");
    print("voxel size", join(geometry.spacing, " x ") + " mm");
    print("first voxel centre", join(geometry.origin, ", ") + " mm");
    print("last voxel centre", join(last, ", ") + " mm");
}

void printMeasurement(const DoseImage& dose)
{
    const files::Measurement& measurement = *dose.measurement;
    print(measurement.isInSpace ? "in space" : "in a plane", describePlaces(dose));
    const Geometry& geometry = dose.image.geometry;
    if (!dose.isPoints()) {
        print("first place", join(geometry.origin, ", ") + " mm");
    }
    if (dose.isPlane() && !dose.hasNoThickness()) {
        print("thickness", number(geometry.spacing[measurement.normal]) + " mm, not searched");
    }
    if (measurement.place) {
        print("through", join(measurement.place->at, ", ") + " mm, right " +
                             join(measurement.place->right, ", ") + ", up " +
                             join(measurement.place->up, ", "));
    }
}

void printDoses(const DoseImage& dose)
{
    const DoseExtremes extremes = extremesOf(dose);
    const std::string unit = unitBehind(dose.unit);
    print("units", files::unitName(dose.unit) + std::string(dose.tellsUnit ? "" : " (assumed)"));
    print("minimum", number(extremes.minimum) + unit);
    print("maximum", number(extremes.maximum) + unit);
    print("  at", join(extremes.maximumPosition, ", ") + " mm" +
                      (dose.measurement ? "" : ", voxel " + join(extremes.maximumIndex, ", ")));
    if (!dose.uncertainty.empty()) {
        print("uncertainty", describeUncertainty(uncertaintyOf(dose)));
    }
}

void printIdentity(const DicomIdentity& identity, bool showPatient)
{
    print("modality", identity.modality);
    print("summation type", identity.summationType);
    print("dose type", identity.doseType);
    print("plan label", identity.planLabel);
    print("frame of reference", identity.frameOfReference);
    print("manufacturer", identity.manufacturer);
    if (showPatient) {
        print("series description", identity.seriesDescription);
        print("dose comment", identity.doseComment);
        print("patient name", identity.patientName);
        print("patient ID", identity.patientId);
        print("birth date", identity.patientBirthDate);
    }
}

void printText(const DoseImage& dose, bool showPatient)
{
    print("file", oneLine(dose.path));
    print("format", dose.format);
    if (dose.measurement) {
        printMeasurement(dose);
    } else {
        printGeometry(dose.image.geometry);
    }
    printDoses(dose);
    if (dose.dicom) {
        printIdentity(*dose.dicom, showPatient);
    }
    for (const std::string& warning : dose.warnings) {
        print("warning", warning);
    }
}

Json identityJson(const DicomIdentity& identity, bool showPatient)
{
    Json json = {
        {"modality", identity.modality},         {"summationType", identity.summationType},
        {"doseType", identity.doseType},         {"planLabel", identity.planLabel},
        {"manufacturer", identity.manufacturer}, {"frameOfReference", identity.frameOfReference},
        {"sopInstance", identity.sopInstance}};
    if (showPatient) {
        json["seriesDescription"] = identity.seriesDescription;
        json["doseComment"] = identity.doseComment;
        json["patientName"] = identity.patientName;
        json["patientId"] = identity.patientId;
        json["patientBirthDate"] = identity.patientBirthDate;
    }
    return json;
}

/** Of the doses as they are compared: float32, little endian, x fastest. */
std::string digestOfDoses(std::span<const float> doses)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(doses.data());
    return digestOf(std::span(bytes, doses.size() * sizeof(float))).sha256;
}

Json doseDocument(const DoseImage& dose, const FileDigests& digests, bool showPatient)
{
    Json document = {{"file", fileJson(dose, digests)},
                     {"grid", gridJson(dose, extremesOf(dose))},
                     {"orientation", "LPS"},
                     {"doseUnit", files::unitName(dose.unit)},
                     {"tellsPosition", dose.tellsPosition},
                     {"tellsOrientation", dose.tellsOrientation},
                     {"tellsUnit", dose.tellsUnit},
                     {"warnings", dose.warnings},
                     {"dosesSha256", digestOfDoses(dose.image.values)}};
    if (!dose.uncertainty.empty()) {
        document["uncertainty"] = uncertaintyJson(uncertaintyOf(dose));
    }
    if (dose.measurement) {
        document["measurement"] = measurementJson(dose);
    }
    if (dose.dicom) {
        document["dicom"] = identityJson(*dose.dicom, showPatient);
    }
    return document;
}

void print(const DoseImage& dose, const FileDigests& digests, const InfoOptions& options)
{
    if (options.asJson) {
        std::cout << toText(doseDocument(dose, digests, options.showPatient), 2) << '\n';
    } else {
        printText(dose, options.showPatient);
    }
}

void print(const files::StructureSet& set, const FileDigests& digests, const InfoOptions& options)
{
    std::cout << (options.asJson ? toText(structuresJson(set, digests), 2) + "\n"
                                 : describeStructures(set));
}

/** Of a plan without what people wrote of it, unless that is asked for. */
void printText(const files::Plan& plan, bool showPatient)
{
    files::Plan told = plan;
    if (!showPatient) {
        told.name.clear();
    }
    const std::vector<ComparedPlan> plans{{told, true, false}};
    const Header header = headerOf({{}, plans});
    print("file", oneLine(plan.path));
    print("format", plan.format);
    print("plan label", header[HeaderField::plan]);
    print("beams", header[HeaderField::beams]);
    print("machine", header[HeaderField::machine]);
    print("prescription", header[HeaderField::prescription]);
    print("fractions", header[HeaderField::fractions]);
    print("isocentre", header[HeaderField::isocentre]);
    print("frame of reference", plan.frameOfReference);
    if (showPatient) {
        print("description", plan.description);
        print("series description", plan.seriesDescription);
        print("date", header[HeaderField::date]);
        print("approval", header[HeaderField::approval]);
        print("patient name", plan.patientName);
        print("patient ID", plan.patientId);
    }
    for (const std::string& warning : plan.warnings) {
        print("warning", warning);
    }
}

void print(const files::Plan& plan, const FileDigests& digests, const InfoOptions& options)
{
    if (!options.asJson) {
        printText(plan, options.showPatient);
        return;
    }
    const Json document = {{"file", fileJson(plan.path, plan.dataPath, plan.format, digests)},
                           {"plan", planJson(plan, options.showPatient)},
                           {"warnings", plan.warnings}};
    std::cout << toText(document, 2) << '\n';
}

} // namespace

ExitCode info(const InfoOptions& options)
{
    FileDigests digests;
    FileDigests* const wanted = options.asJson ? &digests : nullptr;
    const files::AnyContents contents =
        options.asStructures ? readStructures(options.file, wanted)
                             : readAnyFile(options.file, wanted, options.units.parsed());
    std::visit([&](const auto& value) { print(value, digests, options); }, contents);
    return ExitCode::fine;
}

} // namespace zarngi
