#include "dicomDose.h"

#include <gdcmDataSet.h>
#include <gdcmImageReader.h>
#include <gdcmMediaStorage.h>
#include <gdcmReader.h>
#include <gdcmTrace.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "dicomStructure.h"
#include "failure.h"
#include "orientation.h"
#include "probe.h"
#include "silentStderr.h"
#include "text.h"

namespace cli
{

namespace
{

namespace tags
{
const gdcm::Tag modality(0x0008, 0x0060);
const gdcm::Tag manufacturer(0x0008, 0x0070);
const gdcm::Tag sopInstance(0x0008, 0x0018);
const gdcm::Tag seriesDescription(0x0008, 0x103E);
const gdcm::Tag patientName(0x0010, 0x0010);
const gdcm::Tag patientId(0x0010, 0x0020);
const gdcm::Tag patientBirthDate(0x0010, 0x0030);
const gdcm::Tag sliceThickness(0x0018, 0x0050);
const gdcm::Tag imagePosition(0x0020, 0x0032);
const gdcm::Tag imageOrientation(0x0020, 0x0037);
const gdcm::Tag frameOfReference(0x0020, 0x0052);
const gdcm::Tag samplesPerPixel(0x0028, 0x0002);
const gdcm::Tag numberOfFrames(0x0028, 0x0008);
const gdcm::Tag rows(0x0028, 0x0010);
const gdcm::Tag columns(0x0028, 0x0011);
const gdcm::Tag pixelSpacing(0x0028, 0x0030);
const gdcm::Tag bitsAllocated(0x0028, 0x0100);
const gdcm::Tag pixelRepresentation(0x0028, 0x0103);
const gdcm::Tag doseUnits(0x3004, 0x0002);
const gdcm::Tag doseType(0x3004, 0x0004);
const gdcm::Tag doseComment(0x3004, 0x0006);
const gdcm::Tag summationType(0x3004, 0x000A);
const gdcm::Tag frameOffsets(0x3004, 0x000C);
const gdcm::Tag doseGridScaling(0x3004, 0x000E);
const gdcm::Tag planLabel(0x300A, 0x0002);
const gdcm::Tag pixelData(0x7FE0, 0x0010);
} // namespace tags

std::string_view valueOf(const gdcm::DataSet& data, const gdcm::Tag& tag)
{
    if (!data.FindDataElement(tag)) {
        return {};
    }
    const gdcm::ByteValue* value = data.GetDataElement(tag).GetByteValue();
    return value == nullptr ? std::string_view{}
                            : std::string_view(value->GetPointer(), value->GetLength());
}

std::string textOf(const gdcm::DataSet& data, const gdcm::Tag& tag)
{
    return oneLine(trimmed(valueOf(data, tag)));
}

/** The numbers of a decimal-string element, `count` of them where that is not 0. */
std::vector<double> numbersOf(const gdcm::DataSet& data, const gdcm::Tag& tag, const char* name,
                              std::size_t count)
{
    const std::string text = trimmed(valueOf(data, tag));
    if (text.empty()) {
        throw InputError("has no " + std::string(name));
    }
    std::vector<double> numbers;
    for (const std::string& piece : split(text, '\\')) {
        numbers.push_back(parseNumber(piece));
        if (!std::isfinite(numbers.back())) {
            throw InputError("has a " + std::string(name) + " with \"" + excerpt(piece) +
                             "\" in it");
        }
    }
    if (count != 0 && numbers.size() != count) {
        throw InputError("has a " + std::string(name) + " of " + std::to_string(numbers.size()) +
                         " numbers instead of " + std::to_string(count));
    }
    return numbers;
}

/** A 16-bit unsigned element, in little endian as GDCM keeps it in memory. */
unsigned shortOf(const gdcm::DataSet& data, const gdcm::Tag& tag, const char* name)
{
    const std::string_view value = valueOf(data, tag);
    std::uint16_t result = 0;
    if (value.size() != sizeof(result)) {
        throw InputError("has no " + std::string(name));
    }
    std::memcpy(&result, value.data(), sizeof(result));
    return result;
}

DicomIdentity identityOf(const gdcm::DataSet& data)
{
    DicomIdentity identity;
    identity.modality = textOf(data, tags::modality);
    identity.summationType = textOf(data, tags::summationType);
    identity.doseType = textOf(data, tags::doseType);
    identity.planLabel = textOf(data, tags::planLabel);
    identity.seriesDescription = textOf(data, tags::seriesDescription);
    identity.doseComment = textOf(data, tags::doseComment);
    identity.manufacturer = textOf(data, tags::manufacturer);
    identity.frameOfReference = textOf(data, tags::frameOfReference);
    identity.sopInstance = textOf(data, tags::sopInstance);
    identity.patientName = textOf(data, tags::patientName);
    identity.patientId = textOf(data, tags::patientId);
    identity.patientBirthDate = textOf(data, tags::patientBirthDate);
    return identity;
}

/** Distance between frames and the position of the first one, along the frames' normal. */
struct Frames {
    double spacing;   ///< mm, > 0
    double direction; ///< +1: frames follow one another along the normal, -1: against it
};

Vec3 cross(const Vec3& a, const Vec3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Frames framesOf(const gdcm::DataSet& data, std::size_t count, double positionZ, double normalZ)
{
    if (count == 1) {
        return {numbersOf(data, tags::sliceThickness, "Slice Thickness", 1)[0], 1};
    }
    const std::vector<double> offsets =
        numbersOf(data, tags::frameOffsets, "Grid Frame Offset Vector", count);
    constexpr double tolerance = 0.01; // mm
    const bool isAbsolute = offsets[0] != 0;
    if (isAbsolute && std::fabs(offsets[0] - positionZ) > tolerance) {
        throw InputError("has a Grid Frame Offset Vector that begins neither with 0 nor with the "
                         "position of the first frame");
    }
    const double step = (offsets.back() - offsets[0]) / static_cast<double>(count - 1);
    for (std::size_t i = 0; i < count; ++i) {
        const double expected = offsets[0] + step * static_cast<double>(i);
        if (std::fabs(offsets[i] - expected) > tolerance) {
            throw InputError("has frames that are not evenly spaced (frame " +
                             std::to_string(i + 1) + " lies " + number(offsets[i] - expected) +
                             " mm off)");
        }
    }
    // Absolute offsets are positions along the patient's axis, relative ones along the normal.
    const double sign = isAbsolute && normalZ < 0 ? -1 : 1;
    return {std::fabs(step), step * sign < 0 ? -1.0 : 1.0};
}

std::size_t frameCountOf(const gdcm::DataSet& data)
{
    if (valueOf(data, tags::numberOfFrames).empty()) {
        return 1;
    }
    const double count = numbersOf(data, tags::numberOfFrames, "Number of Frames", 1)[0];
    if (!(count >= 1 && count <= std::numeric_limits<std::int32_t>::max())) {
        throw InputError("has a Number of Frames of " + number(count));
    }
    return static_cast<std::size_t>(count);
}

StoredGeometry geometryOf(const gdcm::DataSet& data)
{
    const std::size_t frameCount = frameCountOf(data);
    const auto position = numbersOf(data, tags::imagePosition, "Image Position (Patient)", 3);
    const auto cosines = numbersOf(data, tags::imageOrientation, "Image Orientation (Patient)", 6);
    const auto spacing = numbersOf(data, tags::pixelSpacing, "Pixel Spacing", 2);
    StoredGeometry stored;
    stored.size = {shortOf(data, tags::columns, "Columns"), shortOf(data, tags::rows, "Rows"),
                   static_cast<std::int64_t>(frameCount)};
    stored.origin = {position[0], position[1], position[2]};
    stored.axes[0] = {cosines[0], cosines[1], cosines[2]};
    stored.axes[1] = {cosines[3], cosines[4], cosines[5]};
    stored.axes[2] = cross(stored.axes[0], stored.axes[1]);
    const Frames frames = framesOf(data, frameCount, position[2], stored.axes[2][2]);
    for (double& component : stored.axes[2]) {
        component *= frames.direction;
    }
    // Pixel Spacing names the distance between rows first.
    stored.spacing = {spacing[1], spacing[0], frames.spacing};
    return stored;
}

void checkIsDose(const gdcm::File& file)
{
    const gdcm::DataSet& data = file.GetDataSet();
    const std::string modality = textOf(data, tags::modality);
    gdcm::MediaStorage storage;
    storage.SetFromFile(file);
    if (storage != gdcm::MediaStorage::RTDoseStorage && modality != "RTDOSE") {
        throw InputError("is DICOM but no RT Dose (modality " +
                         (modality.empty() ? std::string("unknown") : excerpt(modality)) + ")");
    }
    if (valueOf(data, tags::pixelData).empty() && !data.FindDataElement(tags::pixelData)) {
        throw InputError("is an RT Dose without a dose grid");
    }
}

/** Whether the doses are relative. */
bool unitsAreRelative(const gdcm::DataSet& data)
{
    const std::string units = textOf(data, tags::doseUnits);
    if (units != "GY" && units != "RELATIVE") {
        throw InputError(units.empty() ? "has no Dose Units"
                                       : "has doses in \"" + excerpt(units) + "\", not in Gy");
    }
    return units == "RELATIVE";
}

double scalingOf(const gdcm::DataSet& data)
{
    const double scaling = numbersOf(data, tags::doseGridScaling, "Dose Grid Scaling", 1)[0];
    if (!(scaling > 0)) {
        throw InputError("has a Dose Grid Scaling of " + number(scaling));
    }
    return scaling;
}

/** How one stored value is written. */
struct PixelFormat {
    unsigned bits;
    bool isSigned;
};

PixelFormat pixelFormatOf(const gdcm::DataSet& data)
{
    if (shortOf(data, tags::samplesPerPixel, "Samples per Pixel") != 1) {
        throw InputError("has more than one sample per pixel");
    }
    const PixelFormat format{shortOf(data, tags::bitsAllocated, "Bits Allocated"),
                             shortOf(data, tags::pixelRepresentation, "Pixel Representation") == 1};
    if (format.bits != 8 && format.bits != 16 && format.bits != 32) {
        throw InputError("has values of " + std::to_string(format.bits) + " bits");
    }
    return format;
}

void checkDataLength(const gdcm::DataSet& data, std::size_t needed)
{
    // Compressed pixel data has no plain byte value; GDCM checks it while it unpacks.
    const gdcm::ByteValue* value = data.GetDataElement(tags::pixelData).GetByteValue();
    if (value != nullptr && value->GetLength() < needed) {
        throw InputError("is cut short: " + grouped(value->GetLength()) + " bytes of dose, not " +
                         grouped(needed));
    }
}

std::vector<char> unpackedPixels(const std::string& path, std::size_t needed)
{
    const SilentStderr silence;
    gdcm::ImageReader reader;
    reader.SetFileName(path.c_str());
    if (!reader.Read() || reader.GetImage().GetBufferLength() != needed) {
        throw InputError("has a dose grid that cannot be unpacked");
    }
    std::vector<char> pixels(needed);
    if (!reader.GetImage().GetBuffer(pixels.data())) {
        throw InputError("has a dose grid that cannot be unpacked");
    }
    return pixels;
}

template <class Stored> std::vector<float> scaled(const std::vector<char>& pixels, double scaling)
{
    std::vector<float> doses(pixels.size() / sizeof(Stored));
    for (std::size_t i = 0; i < doses.size(); ++i) {
        Stored value;
        std::memcpy(&value, pixels.data() + i * sizeof(Stored), sizeof(Stored));
        doses[i] = static_cast<float>(static_cast<double>(value) * scaling);
    }
    return doses;
}

std::vector<float> doses(const std::vector<char>& pixels, PixelFormat format, double scaling)
{
    switch (format.bits) {
    case 8:
        return format.isSigned ? scaled<std::int8_t>(pixels, scaling)
                               : scaled<std::uint8_t>(pixels, scaling);
    case 16:
        return format.isSigned ? scaled<std::int16_t>(pixels, scaling)
                               : scaled<std::uint16_t>(pixels, scaling);
    default:
        return format.isSigned ? scaled<std::int32_t>(pixels, scaling)
                               : scaled<std::uint32_t>(pixels, scaling);
    }
}

void readFile(gdcm::Reader& reader, const std::string& path)
{
    const SilentStderr silence;
    reader.SetFileName(path.c_str());
    if (!reader.Read()) {
        throw InputError("cannot be read as DICOM: it is damaged or cut short");
    }
}

DoseImage readProbed(const std::string& path)
{
    gdcm::Reader reader;
    readFile(reader, path);
    const gdcm::DataSet& data = reader.GetFile().GetDataSet();
    checkIsDose(reader.GetFile());
    DoseImage dose;
    dose.dataPath = path;
    dose.isRelative = unitsAreRelative(data);
    dose.dicom = identityOf(data);
    const double scaling = scalingOf(data);
    const PixelFormat format = pixelFormatOf(data);
    const StoredGeometry stored = geometryOf(data);
    checkGeometry(stored);
    const auto voxels = static_cast<std::size_t>(stored.size[0] * stored.size[1] * stored.size[2]);
    const std::size_t needed = voxels * (format.bits / 8);
    checkDataLength(data, needed);
    dose.image = toPatientAxes(stored, doses(unpackedPixels(path, needed), format, scaling));
    return dose;
}

} // namespace

DoseImage readDicomDose(const std::string& path)
{
    gdcm::Trace::DebugOff();
    gdcm::Trace::WarningOff();
    gdcm::Trace::ErrorOff();
    checkDicomStructure(path);
    probe([&path] { readProbed(path); });
    return readProbed(path);
}

} // namespace cli
