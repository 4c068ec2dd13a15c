#include <cmath>
#include <map>

#include "files/error.h"
#include "files/formats/textHeader.h"
#include "files/formats/volumeFormats.h"
#include "files/orientation.h"
#include "files/packed.h"
#include "files/storedValues.h"
#include "files/text.h"

namespace files
{

namespace
{

struct MetaHeader : TextHeader {
    std::size_t length = 0; ///< bytes up to the first byte behind the header
};

MetaHeader parseHeader(ByteView file)
{
    constexpr std::size_t longestHeader = 1 << 20;
    MetaHeader header;
    Lines lines(part(file, 0, longestHeader));
    while (const auto line = lines.next()) {
        const auto separator = line->find('=');
        if (separator == std::string_view::npos && !stripped(*line).empty()) {
            if (lowerCase(stripped(*line)) == "elementdatafile") {
                refuseDamaged("its header does not tell where its data are");
            }
            refuseDamaged("its header has a line without \"=\": \"" + excerpt(*line) + "\"");
        }
        if (separator == std::string_view::npos) {
            continue;
        }
        header.add(line->substr(0, separator), line->substr(separator + 1));
        if (header.find("elementdatafile") != nullptr) {
            header.length = lines.position();
            return header;
        }
    }
    refuseDamaged("its header has no end (ElementDataFile)");
}

double unitOf(const MetaHeader& header)
{
    const std::string* const entry = header.find("distanceunits");
    if (entry == nullptr || entry->empty() || *entry == "?") {
        return 1;
    }
    const std::optional<double> millimetres = millimetresOf(*entry);
    if (!millimetres) {
        refuseUnsupported("its lengths are in \"" + excerpt(*entry) + "\", not in mm");
    }
    return *millimetres;
}

void setSpacing(StoredGeometry& stored, const MetaHeader& header, std::size_t dimensions)
{
    const std::string* entry = header.find("elementspacing");
    entry = entry == nullptr ? header.find("elementsize") : entry;
    if (entry == nullptr) {
        refuseUnsupported("its header tells no voxel size");
    }
    const std::vector<double> spacing = numbersOf(*entry, "a voxel size", dimensions);
    const double unit = unitOf(header);
    for (std::size_t i = 0; i < 3; ++i) {
        stored.spacing[i] = spacing[i] * unit;
    }
}

/** Gives whether the header tells a position. */
bool setOrigin(StoredGeometry& stored, const MetaHeader& header, std::size_t dimensions)
{
    const std::string* const entry = header.findAny({"offset", "position", "origin"});
    if (entry == nullptr) {
        return false;
    }
    const std::vector<double> origin = numbersOf(*entry, "an origin", dimensions);
    const double unit = unitOf(header);
    for (std::size_t i = 0; i < 3; ++i) {
        stored.origin[i] = origin[i] * unit;
    }
    return true;
}

/** Gives whether the header tells an orientation. */
bool setAxes(StoredGeometry& stored, const MetaHeader& header, std::size_t dimensions)
{
    stored.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    const std::string* const entry = header.findAny({"transformmatrix", "rotation", "orientation"});
    if (entry == nullptr) {
        const std::string* const name = header.find("anatomicalorientation");
        return name != nullptr && lowerCase(*name) == "rai"; // from right, anterior, inferior
    }
    constexpr double tolerance = 1e-3;
    const std::vector<double> matrix = numbersOf(*entry, "an orientation", dimensions * dimensions);
    for (std::size_t i = 0; i < 3; ++i) {
        const double* const row = matrix.data() + i * dimensions;
        const double length = std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2]);
        if (!(std::fabs(length - 1) <= tolerance)) {
            refuseEntry("an orientation", *entry);
        }
        stored.axes[i] = {row[0] / length, row[1] / length, row[2] / length};
    }
    return true;
}

StoredGeometry geometryOf(const MetaHeader& header, DoseImage& dose)
{
    const std::vector<std::int64_t> sizes = wholeNumbersOf(header.need("dimsize"), "a grid size");
    const std::string& dimensions = header.need("ndims");
    if (wholeNumbersOf(dimensions, "a number of dimensions", 1)[0] !=
        static_cast<std::int64_t>(sizes.size())) {
        refuseEntry("a number of dimensions", dimensions);
    }
    StoredGeometry stored;
    stored.size = volumeSize(sizes);
    setSpacing(stored, header, sizes.size());
    dose.tellsPosition = setOrigin(stored, header, sizes.size());
    dose.tellsOrientation = setAxes(stored, header, sizes.size());
    return stored;
}

constexpr unsigned lengthNotTold = 0;

/** How the values are written; MET_LONG has 4 or 8 bytes, depending on the writer's system. */
ValueFormat formatOf(const MetaHeader& header, DoseImage& dose)
{
    using Kind = ValueFormat::Kind;
    static const std::map<std::string, ValueFormat, std::less<>> types = {
        {"met_char", {Kind::signedInteger, 1}},
        {"met_uchar", {Kind::unsignedInteger, 1}},
        {"met_short", {Kind::signedInteger, 2}},
        {"met_ushort", {Kind::unsignedInteger, 2}},
        {"met_int", {Kind::signedInteger, 4}},
        {"met_uint", {Kind::unsignedInteger, 4}},
        {"met_long", {Kind::signedInteger, lengthNotTold}},
        {"met_ulong", {Kind::unsignedInteger, lengthNotTold}},
        {"met_long_long", {Kind::signedInteger, 8}},
        {"met_ulong_long", {Kind::unsignedInteger, 8}},
        {"met_float", {Kind::floatingPoint, 4}},
        {"met_double", {Kind::floatingPoint, 8}}};
    const std::string& name = header.need("elementtype");
    const auto type = types.find(lowerCase(name));
    if (type == types.end()) {
        refuseUnsupported("has values of the unknown type \"" + excerpt(name) + "\"");
    }
    ValueFormat format = type->second;
    format.isBigEndian = header.isTrue({"binarydatabyteordermsb", "elementbyteordermsb"}, false);
    const bool isTold = header.find("binarydatabyteordermsb") != nullptr ||
                        header.find("elementbyteordermsb") != nullptr;
    if (!isTold && format.bytes != 1 && header.isTrue({"binarydata"}, true)) {
        dose.warnings.emplace_back("tells no byte order; its values are read as little endian");
    }
    return format;
}

/** MetaImage has no entry for a unit of dose; one of its writers does not write Gy. */
void setUnit(DoseImage& dose, const MetaHeader& header)
{
    if (!dose.tellsPosition && header.find("elementbyteordermsb") != nullptr) {
        dose.tellsUnit = false;
        dose.doubts.emplace_back("may be of MCsquare, which writes eV/g per proton "
                                 "(ElementByteOrderMSB, but no Offset); its values are taken for "
                                 "Gy");
        return;
    }
    assumeGray(dose);
}

void checkChannels(const MetaHeader& header)
{
    const std::string* const entry = header.find("elementnumberofchannels");
    if (entry != nullptr && *entry != "1") {
        refuseUnsupported("has " + excerpt(*entry) + " values per voxel instead of one dose");
    }
}

Scaling scalingOf(const MetaHeader& header)
{
    Scaling scaling;
    if (const std::string* const slope = header.find("elementtointensityfunctionslope")) {
        scaling.slope = numbersOf(*slope, "an ElementToIntensityFunctionSlope", 1)[0];
    }
    if (const std::string* const offset = header.find("elementtointensityfunctionoffset")) {
        scaling.intercept = numbersOf(*offset, "an ElementToIntensityFunctionOffset", 1)[0];
    }
    if (scaling.slope == 0) {
        refuseDamaged("its header gives an ElementToIntensityFunctionSlope of 0");
    }
    return scaling;
}

/** The part of a file in which the values stand. */
struct DataPart {
    Contents contents;
    bool isAtEnd; ///< the last bytes are meant, however many come before
};

/** @param companion keeps the file that the header names, if it names one */
DataPart dataOf(const Contents& file, const MetaHeader& header, const FindFile& find,
                Bytes& companion)
{
    const std::string& name = header.need("elementdatafile");
    const bool isLocal = lowerCase(name) == "local";
    if (!isLocal) {
        checkDataFileName(name);
        companion = valueOf(find(name));
    }
    const Contents whole = isLocal ? file : Contents(companion);
    const std::string* const entry = header.find("headersize");
    const std::int64_t skip = entry == nullptr ? 0 : wholeNumbersOf(*entry, "a HeaderSize", 1)[0];
    // In a file of its own header and data, it counts from the beginning of the file.
    const std::size_t start = isLocal ? header.length : 0;
    if (skip < -1 || (skip > 0 && static_cast<std::uint64_t>(skip) < start)) {
        refuseEntry("a HeaderSize", *entry);
    }
    const std::uint64_t first = skip > 0 ? static_cast<std::uint64_t>(skip) : start;
    return {Contents(whole, part(whole.bytes, first)), skip == -1};
}

/** Settles how long MET_LONG is by the number of bytes that are there. */
ValueFormat settled(ValueFormat format, std::size_t bytes, std::size_t count, bool mayBeMore)
{
    if (format.bytes == lengthNotTold) {
        const std::uint64_t ifLong = std::uint64_t{8} * count;
        const bool isLong = bytes == ifLong;
        if (mayBeMore && bytes >= ifLong) {
            refuseUnsupported(
                "has values of the type MET_LONG, of which both 4 and 8 bytes fit the file; "
                "name it MET_INT or MET_LONG_LONG");
        }
        format.bytes = isLong ? 8 : 4;
    }
    return format;
}

Values unpackedValues(const MetaHeader& header, const DataPart& data, const ValueFormat& format,
                      const Scaling& scaling, std::size_t count, const Deflate& deflate)
{
    const ByteView packed = data.contents.bytes;
    if (data.isAtEnd) {
        refuseUnsupported(
            "its compressed data begins at an odd place (HeaderSize = -1), which is not "
            "supported");
    }
    if (const std::string* const entry = header.find("compresseddatasize")) {
        const std::int64_t size = wholeNumbersOf(*entry, "a CompressedDataSize", 1)[0];
        if (size != 0 && size != static_cast<std::int64_t>(packed.size())) {
            refuseDamaged("is cut short, or its header lies: its CompressedDataSize is " +
                          excerpt(*entry) + ", the file has " + grouped(packed.size()) + " bytes");
        }
    }
    if (format.bytes == lengthNotTold) {
        Bytes bytes = unpackAll(packed, deflate, std::uint64_t{8} * count);
        return plainValues(Contents(bytes), settled(format, bytes.size(), count, false), scaling,
                           count);
    }
    return packedValues(packed, deflate, format, scaling, count);
}

Values valuesOf(const MetaHeader& header, const DataPart& data, ValueFormat format,
                std::size_t count, const Deflate& deflate)
{
    ByteView bytes = data.contents.bytes;
    const Scaling scaling = scalingOf(header);
    const bool isPacked = header.isTrue({"compresseddata"}, false);
    if (!header.isTrue({"binarydata"}, true)) {
        format.bytes = format.bytes == lengthNotTold ? 8 : format.bytes;
        if (isPacked || data.isAtEnd) {
            refuseUnsupported(
                "its values are written as text and packed or at an odd place, which is not "
                "supported");
        }
        return writtenValues(asText(bytes), format, scaling, count);
    }
    if (isPacked) {
        return unpackedValues(header, data, format, scaling, count, deflate);
    }
    format = settled(format, bytes.size(), count, data.isAtEnd);
    const std::uint64_t needed = bytesOf(format, count);
    if (data.isAtEnd && bytes.size() > needed) {
        bytes = bytes.last(static_cast<std::size_t>(needed));
    }
    return plainValues(Contents(data.contents, bytes), format, scaling, count);
}

} // namespace

DoseImage readMetaImage(const Contents& file, const FindFile& find, const Host& host)
{
    const MetaHeader header = parseHeader(file.bytes);
    DoseImage dose;
    const StoredGeometry stored = geometryOf(header, dose);
    setUnit(dose, header);
    checkChannels(header);
    const std::size_t count = checkGeometry(stored);
    const ValueFormat format = formatOf(header, dose);
    Bytes companion;
    const DataPart data = dataOf(file, header, find, companion);
    dose.image = toPatientAxes(stored, valuesOf(header, data, format, count, host.deflate));
    return dose;
}

} // namespace files
