#include "files/formats/dicom/encodeDose.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "files/formats/dicom/elementWriter.h"
#include "files/formats/dicom/identity.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr const char* doseClass = "1.2.840.10008.5.1.4.1.1.481.2";

double largestMagnitude(const Values& values)
{
    double largest = 0;
    for (const float value : values) {
        if (std::isfinite(value)) {
            largest = std::max(largest, std::fabs(static_cast<double>(value)));
        }
    }
    return largest;
}

/** The decimal string of the smallest step by which `most` of them reach the largest value. */
std::string scalingOf(double largest, double most)
{
    if (largest == 0) {
        return "1";
    }
    const double exact = largest / most;
    std::string text = decimalString(exact);
    for (double more = 1e-11; parseNumber(text) * most < largest; more *= 2) {
        text = decimalString(exact * (1 + more));
    }
    return text;
}

std::string pixelsOf(const Values& values, double scaling)
{
    constexpr std::size_t width = 4;
    std::string bytes(width * values.size(), '\0');
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double value = std::isfinite(values[i]) ? static_cast<double>(values[i]) : 0;
        const auto stored = static_cast<std::uint32_t>(std::llround(value / scaling));
        for (std::size_t byte = 0; byte < width; ++byte) {
            bytes[width * i + byte] = static_cast<char>(stored >> (8 * byte) & 0xFF);
        }
    }
    return bytes;
}

std::string decimals(const std::vector<double>& values)
{
    std::string text;
    for (const double value : values) {
        text += text.empty() ? "" : "\\";
        text += decimalString(value + 0.0);
    }
    return text;
}

std::vector<double> offsetsOf(const Geometry& geometry)
{
    std::vector<double> offsets;
    for (int z = 0; z < geometry.size[2]; ++z) {
        offsets.push_back(z * geometry.spacing[2]);
    }
    return offsets;
}

void writeStudy(ElementWriter& data, const RtDoseFacts& facts)
{
    const DicomStudy& study = facts.study;
    data.text(0x00080005, "CS", "ISO_IR 192"); // UTF-8
    data.uid(0x00080016, doseClass);
    data.uid(0x00080018, facts.sopInstance);
    data.text(0x00080020, "DA", study.date);
    data.text(0x00080030, "TM", study.time);
    data.text(0x00080050, "SH", study.accessionNumber);
    data.text(0x00080060, "CS", "RTDOSE");
    data.text(0x00080070, "LO", "zarngi");
    data.text(0x00080090, "PN", study.referringPhysician);
    data.text(0x00081070, "PN", "");
    data.text(0x00100010, "PN", study.patientName);
    data.text(0x00100020, "LO", study.patientId);
    data.text(0x00100030, "DA", study.patientBirthDate);
    data.text(0x00100040, "CS", study.patientSex);
}

void writePlace(ElementWriter& data, const Geometry& geometry, const RtDoseFacts& facts)
{
    const DicomStudy& study = facts.study;
    data.text(0x00180050, "DS", decimalString(geometry.spacing[2]));
    data.text(0x00181020, "LO", facts.version);
    data.uid(0x0020000D, study.instance);
    data.uid(0x0020000E, facts.seriesInstance);
    data.text(0x00200010, "SH", study.id);
    data.text(0x00200011, "IS", "");
    data.text(0x00200013, "IS", "1");
    data.text(0x00200032, "DS",
              decimals({geometry.origin[0], geometry.origin[1], geometry.origin[2]}));
    data.text(0x00200037, "DS", "1\\0\\0\\0\\1\\0");
    data.uid(0x00200052, study.frameOfReference);
    data.text(0x00201040, "LO", study.positionReference);
}

void writeGrid(ElementWriter& data, const Geometry& geometry, bool isSigned)
{
    constexpr std::uint16_t bits = 32;
    data.number(0x00280002, 1);
    data.text(0x00280004, "CS", "MONOCHROME2");
    data.text(0x00280008, "IS", std::to_string(geometry.size[2]));
    data.pointer(0x00280009, 0x3004000C);
    data.number(0x00280010, static_cast<std::uint16_t>(geometry.size[1]));
    data.number(0x00280011, static_cast<std::uint16_t>(geometry.size[0]));
    data.text(0x00280030, "DS", decimals({geometry.spacing[1], geometry.spacing[0]}));
    data.number(0x00280100, bits);
    data.number(0x00280101, bits);
    data.number(0x00280102, bits - 1);
    data.number(0x00280103, isSigned ? 1 : 0);
}

std::string planItem(const DicomStudy& study)
{
    ElementWriter item;
    item.uid(0x00081150,
             study.planClass.empty() ? std::string(dicomClasses::plan) : study.planClass);
    item.uid(0x00081155, study.plan);
    ElementWriter items;
    items.item(item.bytes());
    return items.bytes();
}

/** The text, or as much of it as a long string of DICOM holds. */
std::string longString(const std::string& text)
{
    constexpr std::size_t longest = 64;
    std::string plain = oneLine(text);
    std::replace(plain.begin(), plain.end(), '\\', '/');
    std::size_t end = std::min(longest, plain.size());
    while (end < plain.size() && end > 0 && (plain[end] & 0xC0) == 0x80) {
        --end; // not within a character of UTF-8
    }
    return plain.substr(0, end);
}

void checkCanBeWritten(const Image& image, const RtDoseFacts& facts)
{
    constexpr int most = 65535;
    constexpr std::size_t mostValues = std::numeric_limits<std::uint32_t>::max() / 4;
    const auto& size = image.geometry.size;
    if (size[0] > most || size[1] > most || image.values.size() > mostValues) {
        refuseUnsupported("cannot be a DICOM RT Dose: the grid of " + join(size, " x ") +
                          " voxels is too large for one");
    }
    const bool isBelow = std::any_of(image.values.begin(), image.values.end(),
                                     [](float value) { return value < 0; });
    if (isBelow && !facts.isDifference) {
        refuseUnsupported("cannot be a DICOM RT Dose: it has doses below 0");
    }
}

Bytes encode(const Image& image, const RtDoseFacts& facts)
{
    checkCanBeWritten(image, facts);
    const double most = facts.isDifference ? std::numeric_limits<std::int32_t>::max()
                                           : std::numeric_limits<std::uint32_t>::max();
    const std::string scaling = scalingOf(largestMagnitude(image.values), most);
    ElementWriter data;
    writeStudy(data, facts);
    writePlace(data, image.geometry, facts);
    writeGrid(data, image.geometry, facts.isDifference);
    data.text(0x30040002, "CS", facts.isRelative ? "RELATIVE" : "GY");
    data.text(0x30040004, "CS", facts.isDifference ? "ERROR" : "PHYSICAL");
    data.text(0x30040006, "LO", longString(facts.comment));
    data.text(0x3004000A, "CS", "PLAN");
    data.text(0x3004000C, "DS", decimals(offsetsOf(image.geometry)));
    data.text(0x3004000E, "DS", scaling);
    data.block(0x300C0002, "SQ", planItem(facts.study));
    data.block(0x7FE00010, "OW", pixelsOf(image.values, parseNumber(scaling)));
    return dicomFileOf(doseClass, facts.sopInstance, data.bytes());
}

} // namespace

Result<Bytes> encodeRtDose(const Image& image, const RtDoseFacts& facts)
{
    return resultOf([&] { return encode(image, facts); });
}

} // namespace files
