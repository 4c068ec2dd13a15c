#include "files/formats/dicom/dose.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "files/error.h"
#include "files/fileFormat.h"
#include "files/formats/dicom/identity.h"
#include "files/formats/dicom/pixels.h"
#include "files/orientation.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag sliceThickness{0x00180050, "Slice Thickness"};
constexpr DicomTag imagePosition{0x00200032, "Image Position (Patient)"};
constexpr DicomTag imageOrientation{0x00200037, "Image Orientation (Patient)"};
constexpr DicomTag pixelSpacing{0x00280030, "Pixel Spacing"};
constexpr DicomTag doseUnits{0x30040002, "Dose Units"};
constexpr DicomTag frameOffsets{0x3004000C, "Grid Frame Offset Vector"};
constexpr DicomTag doseGridScaling{0x3004000E, "Dose Grid Scaling"};
} // namespace tags

/** How the frames of an image follow one another. */
struct Frames {
    double spacing;   ///< mm; of one frame its thickness
    double direction; ///< +1: along the normal of the first one, -1: against it
};

constexpr double offsetTolerance = 0.01; // mm

/** The distance from frame to frame (mm), which may be negative. */
double evenStep(const std::vector<double>& offsets)
{
    const double step = (offsets.back() - offsets[0]) / static_cast<double>(offsets.size() - 1);
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        const double expected = offsets[0] + step * static_cast<double>(i);
        if (std::fabs(offsets[i] - expected) > offsetTolerance) {
            refuseUnsupported("has frames that are not evenly spaced (frame " +
                              std::to_string(i + 1) + " lies " + number(offsets[i] - expected) +
                              " mm off)");
        }
    }
    return step;
}

/** Of a single frame, mm. It may tell none. */
double thicknessOf(const DicomValues& values)
{
    const double told = values.has(tags::sliceThickness) ? values.number(tags::sliceThickness) : 0;
    return told == 0 ? planeThickness : told;
}

Frames framesOf(const DicomValues& values, std::size_t count, double positionZ, double normalZ)
{
    if (count == 1 && !values.has(tags::frameOffsets)) {
        return {thicknessOf(values), 1};
    }
    const std::vector<double> offsets = values.numbers(tags::frameOffsets, count);
    const bool isAbsolute = offsets[0] != 0;
    if (isAbsolute && std::fabs(offsets[0] - positionZ) > offsetTolerance) {
        refuseDamaged(
            "has a Grid Frame Offset Vector that begins neither with 0 nor with the position of "
            "the first frame");
    }
    if (count == 1) {
        return {thicknessOf(values), 1};
    }
    const double step = evenStep(offsets);
    // Absolute offsets are positions along the patient's axis, relative ones along the normal.
    const double sign = isAbsolute && normalZ < 0 ? -1 : 1;
    return {std::fabs(step), step * sign < 0 ? -1.0 : 1.0};
}

/** A planning system writes planes with a Number of Frames of 0. */
std::size_t frameCountOf(const DicomValues& values)
{
    const bool isPlane = values.has(dicomTags::numberOfFrames) &&
                         values.number(dicomTags::numberOfFrames) == 0 &&
                         !values.has(tags::frameOffsets);
    return isPlane ? 1 : dicomFrameCount(values);
}

StoredGeometry geometryOf(const DicomValues& values)
{
    const std::size_t frameCount = frameCountOf(values);
    const auto position = values.numbers(tags::imagePosition, 3);
    const auto cosines = values.numbers(tags::imageOrientation, 6);
    const auto spacing = values.numbers(tags::pixelSpacing, 2);
    StoredGeometry stored;
    stored.size = {values.integer(dicomTags::columns), values.integer(dicomTags::rows),
                   static_cast<std::int64_t>(frameCount)};
    stored.origin = {position[0], position[1], position[2]};
    stored.axes[0] = {cosines[0], cosines[1], cosines[2]};
    stored.axes[1] = {cosines[3], cosines[4], cosines[5]};
    stored.axes[2] = cross(stored.axes[0], stored.axes[1]);
    const Frames frames = framesOf(values, frameCount, position[2], stored.axes[2][2]);
    for (double& component : stored.axes[2]) {
        component *= frames.direction;
    }
    // Pixel Spacing names the distance between rows first.
    stored.spacing = {spacing[1], spacing[0], frames.spacing};
    return stored;
}

void checkIsDose(const DicomFile& file)
{
    constexpr std::string_view doseStorage = "1.2.840.10008.5.1.4.1.1.481.2";
    if (!isDicomObject(file, doseStorage, "RTDOSE")) {
        refuseForeign("is DICOM but no RT Dose (modality " +
                      toldModality(file.values().text(dicomTags::modality)) + ")");
    }
    if (file.data.find(dicomTags::pixelData) == nullptr) {
        refuseUnsupported("is an RT Dose without a dose grid");
    }
}

DoseUnit unitOf(const DicomValues& values, const TableUnits& given)
{
    const std::string units = values.text(tags::doseUnits);
    if (units.empty() && given.gray) {
        return DoseUnit::gray;
    }
    if (units.empty()) {
        refuseDamaged("has no Dose Units: the unit of its doses must be given");
    }
    if (units != "GY" && units != "RELATIVE") {
        refuseUnsupported("has Dose Units of \"" + excerpt(units) + "\" (accepted: GY, RELATIVE)");
    }
    return units == "RELATIVE" ? DoseUnit::relative : DoseUnit::gray;
}

/** From stored values to what the unit of the dose is. */
double scalingOf(const DicomValues& values, const TableUnits& given)
{
    const double scaling = values.number(tags::doseGridScaling);
    if (!(scaling > 0)) {
        refuseDamaged("has a Dose Grid Scaling of " + number(scaling));
    }
    return values.text(tags::doseUnits).empty() ? scaling * given.gray.value_or(1) : scaling;
}

} // namespace

DoseImage readDicomDose(const DicomFile& file, const Host& host)
{
    const DicomValues values = file.values();
    checkIsDose(file);
    DoseImage dose;
    dose.format = formatName(FileFormat::dicom);
    dose.unit = unitOf(values, host.units);
    DicomTexts texts(values);
    dose.dicom = dicomIdentity(values, texts);
    dose.warnings = texts.warnings();
    if (dose.isError()) {
        dose.doubts.emplace_back("is of the Dose Type ERROR: it holds differences between doses");
    }
    const double scaling = scalingOf(values, host.units);
    const DicomPixelFormat format = dicomPixelFormat(values);
    const StoredGeometry stored = geometryOf(values);
    const std::size_t voxels = checkGeometry(stored);
    dose.image =
        toPatientAxes(stored, dicomPixels(file, format, voxels,
                                          static_cast<std::size_t>(stored.size[2]), scaling, host));
    if (stored.size[2] == 1) {
        Measurement& plane = dose.measurement.emplace();
        plane.isInSpace = true;
        plane.normal = patientAxis(stored.axes[2]);
    }
    return dose;
}

} // namespace files
