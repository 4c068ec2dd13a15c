#include "files/fileFormat.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "files/error.h"
#include "files/formats/tiff/directory.h"
#include "files/measurements/identifiedPlane.h"
#include "files/measurements/identifiedTable.h"
#include "files/packed.h"
#include "files/simulations/simulations.h"
#include "files/text.h"

namespace files
{

namespace
{

bool startsLikeNifti(std::string_view beginning)
{
    constexpr std::size_t magicOfOne = 344;
    constexpr std::size_t magicOfTwo = 4;
    const auto isAt = [beginning](std::size_t position, std::string_view magic) {
        return beginning.size() >= position + magic.size() &&
               beginning.substr(position, magic.size()) == magic;
    };
    return isAt(magicOfOne, "n+1") || isAt(magicOfOne, "ni1") || isAt(magicOfTwo, "n+2") ||
           isAt(magicOfTwo, "ni2");
}

bool startsLikeMetaImage(std::string_view beginning)
{
    const auto start = std::min(beginning.find_first_not_of(" \t\r\n"), beginning.size());
    const std::string_view rest = beginning.substr(start);
    const std::string_view line = rest.substr(0, rest.find_first_of("\r\n"));
    const auto end = line.find('=');
    if (end == std::string_view::npos) {
        return false;
    }
    constexpr std::array<std::string_view, 4> keys{"objecttype", "ndims", "comment", "formtype"};
    const std::string key = lowerCase(trimmed(line.substr(0, end)));
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

bool startsLikeDicom(std::string_view beginning)
{
    constexpr std::size_t preamble = 128;
    if (beginning.size() > preamble && beginning.substr(preamble, 4) == "DICM") {
        return true;
    }
    // Without a preamble: an element of group 2 or 8, in either byte order.
    if (beginning.size() <= 8) {
        return false;
    }
    const bool isLittle = (beginning[0] == '\2' || beginning[0] == '\x08') &&
                          beginning[1] == '\0' && beginning[3] == '\0';
    const bool isBig = beginning[0] == '\0' && beginning[1] == '\x08' && beginning[2] == '\0';
    return isLittle || isBig;
}

} // namespace

std::string formatName(FileFormat format)
{
    switch (format) {
    case FileFormat::nrrd:
        return "NRRD";
    case FileFormat::metaImage:
        return "MetaImage";
    case FileFormat::nifti:
        return "NIfTI";
    case FileFormat::threeDdose:
        return "EGSnrc 3ddose";
    case FileFormat::topas:
        return "TOPAS";
    case FileFormat::detectorArray:
        return "detector array";
    case FileFormat::ptwArray:
        return "PTW array";
    case FileFormat::ibaPlane:
    case FileFormat::binaryIbaPlane:
        return "IBA plane";
    case FileFormat::qaPlane:
        return "XiO or Monaco plane";
    case FileFormat::extractedPlane:
        return "extracted plane";
    case FileFormat::iplanPlane:
        return "iPlan plane";
    case FileFormat::exchangedImage:
        return "dosimetry exchange image";
    case FileFormat::table:
        return "table";
    case FileFormat::tiff:
        return "TIFF";
    case FileFormat::dicom:
        break;
    }
    return "DICOM RT Dose";
}

bool isTable(FileFormat format)
{
    return format >= FileFormat::detectorArray;
}

bool isSimulation(FileFormat format)
{
    return format == FileFormat::threeDdose || format == FileFormat::topas;
}

std::optional<FileFormat> identifiedFormat(ByteView beginning)
{
    const std::string_view text = asText(part(beginning, 0, identifyingBytes));
    if (text.starts_with("NRRD0")) {
        return FileFormat::nrrd;
    }
    if (startsLikeTiff(text)) {
        return FileFormat::tiff;
    }
    if (startsLikeNifti(text)) {
        return FileFormat::nifti;
    }
    if (startsLikeDicom(text)) {
        return FileFormat::dicom;
    }
    if (startsLikeMetaImage(text)) {
        return FileFormat::metaImage;
    }
    if (startsLikeTopas(text)) {
        return FileFormat::topas;
    }
    if (startsLikeThreeDdose(text)) {
        return FileFormat::threeDdose;
    }
    if (const std::optional<FileFormat> plane = identifiedPlane(text)) {
        return plane;
    }
    return identifiedTable(text);
}

std::optional<FileFormat> identifiedFormat(ByteView file, const Deflate& deflate,
                                           const std::string& what)
{
    constexpr std::size_t shortest = 1024; // that unpacks to a file which is no dose
    if (!isGzip(file)) {
        return identifiedFormat(file);
    }
    const Bytes beginning = unpackBeginning(file, deflate, identifyingBytes);
    const std::optional<FileFormat> format = identifiedFormat(beginning.view());
    if (format == FileFormat::nrrd || format == FileFormat::metaImage ||
        format == FileFormat::topas || (format && isTable(*format))) {
        refuseUnsupported("is packed by gzip as a whole; unpack it first (gunzip)");
    }
    if (!format && beginning.size() < shortest) {
        refuseDamaged("its compressed data is damaged or cut short, or no " + what);
    }
    return format;
}

} // namespace files
