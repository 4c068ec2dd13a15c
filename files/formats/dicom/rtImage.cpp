#include "files/formats/dicom/rtImage.h"

#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/formats/dicom/identity.h"
#include "files/formats/dicom/pixels.h"
#include "files/measurements/gantryPlane.h"
#include "files/orientation.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag patientPosition{0x00185100, "Patient Position"};
constexpr DicomTag rescaleIntercept{0x00281052, "Rescale Intercept"};
constexpr DicomTag rescaleSlope{0x00281053, "Rescale Slope"};
constexpr DicomTag rescaleType{0x00281054, "Rescale Type"};
constexpr DicomTag pixelSpacing{0x30020011, "Image Plane Pixel Spacing"};
constexpr DicomTag orientation{0x30020010, "RT Image Orientation"};
constexpr DicomTag position{0x30020012, "RT Image Position"};
constexpr DicomTag sourceToAxis{0x30020022, "Radiation Machine SAD"};
constexpr DicomTag sourceToImage{0x30020026, "RT Image SID"};
constexpr DicomTag gantryAngle{0x300A011E, "Gantry Angle"};
constexpr DicomTag couchAngle{0x300A0122, "Patient Support Angle"};
constexpr DicomTag isocentre{0x300A012C, "Isocenter Position"};
} // namespace tags

struct Units {
    DoseUnit unit;
    double perUnit; ///< of the stored values
};

Units unitsOf(const DicomValues& values)
{
    const std::string type = values.text(tags::rescaleType);
    const std::string lower = lowerCase(type);
    if (lower == "cu") {
        return {DoseUnit::calibrated, 1};
    }
    if (lower != "gy" && lower != "cgy") {
        refuseUnsupported(type.empty()
                              ? "is an RT Image that does not say that it holds doses (no Rescale "
                                "Type)"
                              : "is an RT Image with a Rescale Type of \"" + excerpt(type) +
                                    "\" (accepted: GY, CGY, CU)");
    }
    return {DoseUnit::gray, lower == "gy" ? 1.0 : 100.0};
}

/** From the source to the plane of the image, mm; 0: not told. */
double distanceOf(const DicomValues& values)
{
    return values.has(tags::sourceToImage) ? values.number(tags::sourceToImage) : 0;
}

StoredGeometry geometryOf(const DicomValues& values, DoseImage& dose)
{
    const auto spacing = values.numbers(tags::pixelSpacing, 2);
    StoredGeometry stored;
    stored.size = {values.integer(dicomTags::columns), values.integer(dicomTags::rows), 1};
    stored.spacing = {spacing[1], spacing[0], planeThickness}; // that between rows first
    stored.axes = {{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}};
    if (values.has(tags::orientation)) {
        const auto cosines = values.numbers(tags::orientation, 6);
        stored.axes[0] = {cosines[0], cosines[1], cosines[2]};
        stored.axes[1] = {cosines[3], cosines[4], cosines[5]};
        if (std::fabs(cosines[2]) > 0 || std::fabs(cosines[5]) > 0) {
            refuseUnsupported("has an RT Image Orientation out of the plane of the image");
        }
    }
    if (values.has(tags::position)) {
        const auto position = values.numbers(tags::position, 2);
        stored.origin = {position[0], position[1], 0};
        return stored;
    }
    dose.warnings.emplace_back("tells no RT Image Position; its middle is put at 0, 0");
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const double half = static_cast<double>(stored.size[axis] - 1) * stored.spacing[axis] / 2;
        for (std::size_t i = 0; i < 2; ++i) {
            stored.origin[i] -= half * stored.axes[axis][i];
        }
    }
    return stored;
}

std::optional<PlanePlace> placeOf(const DicomValues& values)
{
    constexpr double sameDistance = 0.01; // mm
    const bool tellsAll = values.has(tags::isocentre) && values.has(tags::gantryAngle) &&
                          values.has(tags::sourceToAxis) && values.has(tags::sourceToImage);
    if (!tellsAll || values.text(tags::patientPosition) != "HFS") {
        return {};
    }
    const bool isTurned = values.has(tags::couchAngle) && values.number(tags::couchAngle) != 0;
    const double beyond = values.number(tags::sourceToImage) - values.number(tags::sourceToAxis);
    if (isTurned || std::fabs(beyond) > sameDistance) {
        return {};
    }
    const auto at = values.numbers(tags::isocentre, 3);
    return gantryPlane({at[0], at[1], at[2]}, values.number(tags::gantryAngle));
}

} // namespace

bool isDicomRtImage(const DicomFile& file)
{
    constexpr std::string_view imageStorage = "1.2.840.10008.5.1.4.1.1.481.1";
    return isDicomObject(file, imageStorage, "RTIMAGE");
}

DoseImage readDicomRtImage(const DicomFile& file, const Host& host)
{
    const DicomValues values = file.values();
    const Units units = unitsOf(values);
    if (file.data.find(dicomTags::pixelData) == nullptr) {
        refuseDamaged("is an RT Image without an image");
    }
    if (dicomFrameCount(values) != 1) {
        refuseUnsupported("is an RT Image of " + grouped(dicomFrameCount(values)) +
                          " frames; a plane has one");
    }
    DoseImage dose;
    dose.format = "DICOM RT Image";
    dose.unit = units.unit;
    DicomTexts texts(values);
    dose.dicom = dicomIdentity(values, texts);
    dose.warnings = texts.warnings();
    const double slope = values.number(tags::rescaleSlope);
    const double intercept =
        values.has(tags::rescaleIntercept) ? values.number(tags::rescaleIntercept) : 0;
    if (slope == 0) {
        refuseDamaged("has a Rescale Slope of 0");
    }
    const StoredGeometry stored = geometryOf(values, dose);
    const std::size_t voxels = checkGeometry(stored);
    Measurement& plane = dose.measurement.emplace();
    plane.place = placeOf(values);
    plane.sourceDistance = distanceOf(values);
    // Stored values of up to 24 bits are exact; so is what they are rescaled to, until it is
    // rounded.
    Values doses = dicomPixels(file, dicomPixelFormat(values), voxels, 1, 1, host);
    for (float& value : doses.own()) {
        value =
            static_cast<float>((static_cast<double>(value) * slope + intercept) / units.perUnit);
    }
    dose.image = toPatientAxes(stored, std::move(doses));
    return dose;
}

} // namespace files
