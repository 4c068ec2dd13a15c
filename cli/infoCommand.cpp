#include "infoCommand.h"

#include <iostream>

#include "doseExtremes.h"
#include "readDose.h"
#include "text.h"

namespace cli
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

void printDoses(const DoseImage& dose)
{
    const DoseExtremes extremes = doseExtremes(dose.image);
    const std::string unit = dose.isRelative ? " (relative)" : " Gy";
    print("units", dose.isRelative          ? "relative"
                   : dose.dicom.has_value() ? "Gy"
                                            : "Gy (assumed: the format does not tell)");
    print("minimum", number(extremes.minimum) + unit);
    print("maximum", number(extremes.maximum) + unit);
    print("  at",
          join(extremes.maximumPosition, ", ") + " mm, voxel " + join(extremes.maximumIndex, ", "));
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

} // namespace

ExitCode info(const InfoOptions& options)
{
    const DoseImage dose = readDose(options.file);
    print("file", dose.path);
    print("format", dose.format);
    printGeometry(dose.image.geometry);
    printDoses(dose);
    if (dose.dicom) {
        printIdentity(*dose.dicom, options.showPatient);
    }
    return ExitCode::fine;
}

} // namespace cli
