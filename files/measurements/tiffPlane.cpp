#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/formats/tiff/directory.h"
#include "files/formats/tiff/values.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/pixelPlane.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr TiffTag width{256, "ImageWidth"};
constexpr TiffTag length{257, "ImageLength"};
constexpr TiffTag bits{258, "BitsPerSample"};
constexpr TiffTag photometric{262, "PhotometricInterpretation"};
constexpr TiffTag fillOrder{266, "FillOrder"};
constexpr TiffTag description{270, "ImageDescription"};
constexpr TiffTag orientation{274, "Orientation"};
constexpr TiffTag samples{277, "SamplesPerPixel"};
constexpr TiffTag resolutionX{282, "XResolution"};
constexpr TiffTag resolutionY{283, "YResolution"};
constexpr TiffTag resolutionUnit{296, "ResolutionUnit"};
constexpr TiffTag format{339, "SampleFormat"};
} // namespace tags

constexpr std::uint32_t wholeNumbers = 1; // SampleFormat
constexpr std::uint32_t floats = 3;

void checkIsOneChannel(const TiffDirectory& directory)
{
    constexpr std::uint32_t whiteIsZero = 0;
    constexpr std::uint32_t blackIsZero = 1;
    const std::uint32_t photometric = directory.number(tags::photometric);
    if (directory.number(tags::samples, 1) != 1 ||
        (photometric != blackIsZero && photometric != whiteIsZero)) {
        refuseUnsupported(
            "is a TIFF in colour or of several channels, as film is scanned: make doses of it by "
            "the calibration of the film, and save one channel of 32-bit floats");
    }
    if (photometric == whiteIsZero) {
        refuseUnsupported("is a TIFF in which white is zero (PhotometricInterpretation 0), so that "
                          "its values may be inverted; save it with black as zero");
    }
}

/** Bytes of a value, which is a float or a whole number without sign. */
unsigned bytesOfValue(const TiffDirectory& directory)
{
    const std::uint32_t bits = directory.number(tags::bits, 1);
    const std::uint32_t format = directory.number(tags::format, wholeNumbers);
    const bool isFloat = bits == 32 && format == floats;
    if (isFloat || (bits == 16 && format == wholeNumbers)) {
        return bits / 8;
    }
    const char* const kind = format == floats         ? "floats"
                             : format == wholeNumbers ? "whole numbers"
                                                      : "values of another SampleFormat";
    refuseUnsupported("is a TIFF of " + std::to_string(bits) + "-bit " + kind +
                      "; doses are read as 32-bit floats, or as 16-bit whole numbers without sign");
}

void checkIsUpright(const TiffDirectory& directory)
{
    const std::uint32_t orientation = directory.number(tags::orientation, 1);
    if (orientation != 1) {
        refuseUnsupported("is a TIFF with an Orientation of " + std::to_string(orientation) +
                          ", which programs show turned or not; save it with its first row at the "
                          "top and its first column at the left");
    }
    if (directory.number(tags::fillOrder, 1) != 1) {
        refuseUnsupported("is a TIFF with a FillOrder other than 1");
    }
}

/** What ImageJ writes into the description of an image, line by line. */
void checkDescription(const TiffDirectory& directory)
{
    const std::string_view text = directory.text(tags::description);
    if (!text.starts_with("ImageJ=")) {
        return;
    }
    for (const std::string& line : split(text, '\n')) {
        if (line.starts_with("images=") && line != "images=1") {
            refuseUnsupported("is a stack of images by ImageJ; save the one of the doses alone");
        }
        if (line.starts_with("cf=")) {
            refuseUnsupported("has a calibration of its values by ImageJ, which is not applied; "
                              "save the calibrated values as 32-bit floats");
        }
    }
}

/** Units and pixel size, which no TIFF tells so that one may rely on it. */
void checkIsGiven(const TableUnits& given)
{
    const char* const what = !given.gray && !given.pixelSize
                                 ? "the unit of doses and the pixel size must be given"
                             : !given.gray ? "the unit of doses must be given"
                                           : "the pixel size must be given";
    if (!given.gray || !given.pixelSize) {
        refuseUnsupported(std::string("is a TIFF: ") + what);
    }
}

/** mm between pixels by one of the resolutions, where its unit is one of length. */
std::optional<double> pixelTold(const TiffDirectory& directory, const TiffTag& resolution)
{
    constexpr std::uint32_t inch = 2;
    constexpr std::uint32_t centimetre = 3;
    const std::uint32_t unit = directory.number(tags::resolutionUnit, inch);
    const std::optional<double> perUnit = directory.quotient(resolution);
    if (!perUnit || (unit != inch && unit != centimetre)) {
        return {};
    }
    return (unit == inch ? 25.4 : 10) / *perUnit;
}

bool isNear(double told, double given)
{
    constexpr double tolerance = 1e-3; // a millimetre of a metre
    return std::fabs(told - given) <= tolerance * given;
}

/**
 * Programs write a resolution whatever they know: the pixel size that is given counts, which is
 * told where they differ.
 */
std::optional<std::string> noteOnResolution(const TiffDirectory& directory, double given)
{
    const std::optional<double> x = pixelTold(directory, tags::resolutionX);
    const std::optional<double> y = pixelTold(directory, tags::resolutionY);
    if (!x || !y) {
        return {};
    }
    const std::string told = "tells a resolution with pixels of " + number(*x) +
                             (isNear(*y, *x) ? "" : " x " + number(*y)) + " mm";
    if (!isNear(*y, *x)) {
        refuseUnsupported(told + ", which are no squares; resample it first");
    }
    return isNear(*x, given) ? std::nullopt
                             : std::optional(told + "; the pixel size that is given counts (" +
                                             number(given) + " mm)");
}

LargeVector<float> dosesOf(const Bytes& values, unsigned bytes, double gray)
{
    LargeVector<float> doses(values.size() / bytes);
    const unsigned char* const start = values.view().data();
    for (std::size_t i = 0; i < doses.size(); ++i) {
        const std::size_t at = i * bytes;
        doses[i] = toGray(bytes == sizeof(float)
                              ? static_cast<double>(numberAt<float>(start, at, false))
                              : static_cast<double>(numberAt<std::uint16_t>(start, at, false)),
                          gray);
    }
    return doses;
}

} // namespace

DoseImage readTiffPlane(ByteView file, const Host& host)
{
    const TiffDirectory directory(file);
    checkIsOneChannel(directory);
    TiffImage image;
    image.bytes = bytesOfValue(directory);
    checkIsUpright(directory);
    checkDescription(directory);
    checkIsGiven(host.units);
    image.width = directory.number(tags::width);
    image.height = directory.number(tags::length);
    const double pixelSize = *host.units.pixelSize;
    const StoredGeometry stored = pixelGeometry(image.width, image.height, pixelSize);
    const std::optional<std::string> note = noteOnResolution(directory, pixelSize);
    DoseImage dose = pixelPlane(
        stored, dosesOf(tiffValues(directory, image, host.deflate), image.bytes, *host.units.gray));
    if (note) {
        dose.warnings.push_back(*note);
    }
    return dose;
}

} // namespace files
