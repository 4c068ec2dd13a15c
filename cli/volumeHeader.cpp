#include "volumeHeader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "failure.h"
#include "text.h"

namespace cli
{

namespace
{

/** More than any image has; the readers set aside room for as many as a header claims. */
constexpr double mostDimensions = 10;

/** The entries of a header of lines "key separator value", keys in lower case. */
struct TextHeader {
    std::map<std::string, std::string> entries;
    std::uintmax_t length = 0; ///< bytes up to the first byte after the header

    const std::string* find(const std::string& key) const
    {
        const auto entry = entries.find(key);
        return entry == entries.end() ? nullptr : &entry->second;
    }
};

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/** Reads a header up to and including the line for which isLast(key, line) holds. */
template <class IsLast>
TextHeader readTextHeader(const std::string& path, char separator, IsLast isLast)
{
    constexpr std::uintmax_t longestHeader = 1 << 20;
    TextHeader header;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; header.length < longestHeader && std::getline(file, line);) {
        header.length += line.size() + 1;
        const auto end = line.find(separator);
        const std::string key = lowerCase(trimmed(line.substr(0, end)));
        if (end != std::string::npos) {
            header.entries.emplace(key, trimmed(line.substr(end + 1)));
        }
        if (isLast(key, line)) {
            return header;
        }
    }
    throw InputError("its header has no end");
}

bool isPositive(double value)
{
    return value > 0 && std::isfinite(value);
}

bool isFinite(double value)
{
    return std::isfinite(value);
}

bool isSize(double value)
{
    return value >= 1 && value == std::floor(value) && value < 9e15;
}

/** Data that begins at the position of a file. */
StoredData dataIn(const std::string& path, std::uintmax_t position)
{
    StoredData data;
    std::error_code error;
    data.path = path;
    data.position = position;
    data.fileBytes = std::filesystem::file_size(path, error);
    if (error) {
        throw InputError("its data file " +
                         excerpt(std::filesystem::path(path).filename().string()) + " is missing");
    }
    return data;
}

/** Applies a count of bytes between the header and the data; -1: the data ends the file. */
void skipBytes(StoredData& data, const std::string* entry)
{
    const double count = entry == nullptr ? 0 : parseNumber(*entry);
    if (!(count == -1 || isSize(count) || count == 0)) {
        throw InputError("its header gives a data position of \"" + excerpt(*entry) + "\"");
    }
    if (count != 0 && data.compression != StoredData::Compression::none) {
        throw InputError("its compressed data begins at an odd place, which is not supported");
    }
    data.isAtEnd = count < 0;
    data.position += count > 0 ? static_cast<std::uintmax_t>(count) : 0;
}

std::string dataFile(const std::string& path, const std::string& name)
{
    if (name == "LIST" || name.starts_with("LIST ") || name.find('%') != std::string::npos) {
        throw InputError("its data are spread over several files; write them into one");
    }
    return (std::filesystem::path(path).parent_path() / name).string();
}

/** Requires every word of an entry to be a number that the condition accepts. */
template <class Condition>
void checkNumbers(const TextHeader& header, const std::string& key, const char* what,
                  Condition isAcceptable)
{
    const std::string* entry = header.find(key);
    if (entry == nullptr) {
        return;
    }
    std::istringstream words(*entry);
    for (std::string word; words >> word;) {
        if (!isAcceptable(parseNumber(word))) {
            throw InputError("its header gives " + std::string(what) + " of \"" + excerpt(*entry) +
                             "\"");
        }
    }
}

void requireOneOf(const TextHeader& header, const std::string& first, const std::string& second)
{
    if (header.find(first) == nullptr && header.find(second) == nullptr) {
        throw InputError("its header tells no voxel size");
    }
}

VolumeHeader checkMetaImage(const std::string& path)
{
    const TextHeader header =
        readTextHeader(path, '=', [](const std::string& key, const std::string&) {
            return key == "elementdatafile";
        });
    checkNumbers(header, "ndims", "a number of dimensions",
                 [](double count) { return isSize(count) && count <= mostDimensions; });
    checkNumbers(header, "dimsize", "a grid size", isSize);
    requireOneOf(header, "elementspacing", "elementsize");
    for (const char* key : {"elementspacing", "elementsize"}) {
        checkNumbers(header, key, "a voxel size", isPositive);
    }
    for (const char* key : {"offset", "position", "origin"}) {
        checkNumbers(header, key, "an origin", isFinite);
    }
    for (const char* key : {"transformmatrix", "rotation", "orientation"}) {
        checkNumbers(header, key, "an orientation", isFinite);
    }
    const std::string* const binary = header.find("binarydata");
    if (binary != nullptr && lowerCase(*binary) == "false") {
        throw InputError("its values are written as text, which is not supported");
    }
    const std::string& name = *header.find("elementdatafile");
    StoredData data =
        lowerCase(name) == "local" ? dataIn(path, header.length) : dataIn(dataFile(path, name), 0);
    const std::string* const compressed = header.find("compresseddata");
    if (compressed != nullptr && lowerCase(*compressed) == "true") {
        data.compression = StoredData::Compression::deflated;
    }
    skipBytes(data, header.find("headersize"));
    return {data, {}};
}

void checkNrrdUnits(const TextHeader& header)
{
    for (const char* key : {"units", "space units"}) {
        const std::string* entry = header.find(key);
        if (entry != nullptr && entry->find_first_not_of(" \"m") != std::string::npos) {
            throw InputError("its lengths are in " + excerpt(*entry) + ", not in mm");
        }
    }
}

VolumeHeader checkNrrd(const std::string& path)
{
    const TextHeader header =
        readTextHeader(path, ':', [](const std::string&, const std::string& line) {
            return line.empty() || line == "\r" || line.starts_with("data file: ") ||
                   line.starts_with("datafile: ");
        });
    checkNumbers(header, "dimension", "a number of dimensions",
                 [](double count) { return isSize(count) && count <= mostDimensions; });
    checkNumbers(header, "sizes", "a grid size", isSize);
    requireOneOf(header, "spacings", "space directions");
    checkNumbers(header, "spacings", "a voxel size", isPositive);
    checkNrrdUnits(header);
    const std::string* detached = header.find("data file");
    detached = detached == nullptr ? header.find("datafile") : detached;
    StoredData data =
        detached == nullptr ? dataIn(path, header.length) : dataIn(dataFile(path, *detached), 0);
    const std::string* const encoding = header.find("encoding");
    const std::string name = encoding == nullptr ? "raw" : lowerCase(*encoding);
    if (name == "gzip" || name == "gz") {
        data.compression = StoredData::Compression::deflated;
    } else if (name != "raw" || header.find("line skip") || header.find("lineskip")) {
        throw InputError("its encoding \"" + excerpt(name) + "\" is not supported");
    }
    const std::string* const skip = header.find("byte skip");
    skipBytes(data, skip == nullptr ? header.find("byteskip") : skip);
    return {data, {}};
}

/** The fields of a NIfTI-1 header, in the byte order of the file. */
class NiftiHeader
{
public:
    explicit NiftiHeader(std::string bytes) : bytes_(std::move(bytes))
    {
        constexpr std::int32_t ownSize = 348;
        isSwapped_ = field<std::int32_t>(0) != ownSize;
        if (field<std::int32_t>(0) != ownSize) {
            throw InputError("its NIfTI header is damaged");
        }
    }

    template <class Number> Number field(std::size_t position, std::size_t index = 0) const
    {
        std::array<char, sizeof(Number)> raw{};
        std::memcpy(raw.data(), bytes_.data() + position + index * sizeof(Number), sizeof(Number));
        if (isSwapped_) {
            std::reverse(raw.begin(), raw.end());
        }
        return std::bit_cast<Number>(raw);
    }

    /** Refuses a field of floats with a value that is not acceptable. */
    template <class Condition>
    void checkFloats(std::size_t position, std::size_t count, const char* what,
                     Condition isAcceptable) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            const double value = static_cast<double>(field<float>(position, i));
            if (!isAcceptable(value)) {
                throw InputError("its header gives " + std::string(what) + " of " + number(value));
            }
        }
    }

    bool isBigEndian() const { return isSwapped_; }

private:
    std::string bytes_;
    bool isSwapped_ = false;
};

ValueFormat niftiFormat(const NiftiHeader& header)
{
    constexpr std::size_t datatype = 70;
    using Kind = ValueFormat::Kind;
    static const std::map<int, ValueFormat> formats = {
        {2, {Kind::unsignedInteger, 1}},    {256, {Kind::signedInteger, 1}},
        {512, {Kind::unsignedInteger, 2}},  {4, {Kind::signedInteger, 2}},
        {768, {Kind::unsignedInteger, 4}},  {8, {Kind::signedInteger, 4}},
        {1280, {Kind::unsignedInteger, 8}}, {1024, {Kind::signedInteger, 8}},
        {16, {Kind::floatingPoint, 4}},     {64, {Kind::floatingPoint, 8}}};
    const int type = header.field<std::int16_t>(datatype);
    const auto found = formats.find(type);
    if (found == formats.end()) {
        throw InputError("its values are of the NIfTI type " + std::to_string(type) +
                         ", which is no dose");
    }
    ValueFormat format = found->second;
    format.isBigEndian = header.isBigEndian();
    return format;
}

StoredData niftiData(const std::string& path, const NiftiHeader& header)
{
    constexpr std::size_t voxOffset = 108;
    constexpr std::size_t slope = 112;
    constexpr std::size_t intercept = 116;
    constexpr double usualPosition = 352;
    constexpr double farthestPosition = 1 << 28; // room for any extension
    const auto told = static_cast<double>(header.field<float>(voxOffset));
    const double position = told == 0 ? usualPosition : told;
    if (!(position >= usualPosition && position <= farthestPosition) ||
        position != std::floor(position)) {
        throw InputError("its header gives a data position of " + number(told));
    }
    StoredData data = dataIn(path, static_cast<std::uintmax_t>(position));
    constexpr std::string_view gzipMark = "\x1f\x8b";
    std::string mark(gzipMark.size(), '\0');
    std::ifstream(path, std::ios::binary).read(mark.data(), 2);
    if (mark == gzipMark) {
        data.compression = StoredData::Compression::wholeFile;
    }
    header.checkFloats(slope, 2, "a scaling", isFinite);
    if (header.field<float>(slope) != 0) {
        data.slope = static_cast<double>(header.field<float>(slope));
        data.intercept = static_cast<double>(header.field<float>(intercept));
    }
    return data;
}

VolumeHeader checkNifti(const std::string& path)
{
    constexpr unsigned headerLength = 348;
    constexpr std::size_t dim = 40;
    constexpr std::size_t pixdim = 76;
    constexpr std::size_t qformCode = 252;
    constexpr std::size_t sformCode = 254;
    constexpr std::size_t quaternionAndOffset = 256;
    constexpr std::size_t affineRows = 280;
    constexpr std::size_t magic = 344;
    if (!path.ends_with(".nii") && !path.ends_with(".nii.gz")) {
        throw InputError("is a NIfTI file but not named .nii or .nii.gz");
    }
    const std::string bytes = readBeginning(path, headerLength);
    if (bytes.size() < headerLength) {
        throw InputError("its NIfTI header is cut short");
    }
    if (bytes.compare(magic, 3, "ni1") == 0) {
        throw InputError("is one file of a NIfTI pair; write it as one .nii or .nii.gz file");
    }
    const NiftiHeader header(bytes);
    const int dimensions = header.field<std::int16_t>(dim);
    for (std::size_t i = 1; i <= 3 && static_cast<int>(i) <= dimensions; ++i) {
        const int size = header.field<std::int16_t>(dim, i);
        if (size < 1) {
            throw InputError("its header gives a grid size of " + std::to_string(size));
        }
    }
    header.checkFloats(pixdim + sizeof(float), 3, "a voxel size", isPositive);
    if (header.field<std::int16_t>(qformCode) > 0) {
        header.checkFloats(quaternionAndOffset, 6, "an orientation or origin", isFinite);
    }
    if (header.field<std::int16_t>(sformCode) > 0) {
        header.checkFloats(affineRows, 12, "an orientation or origin", isFinite);
    }
    return {niftiData(path, header), niftiFormat(header)};
}

} // namespace

VolumeHeader checkVolumeHeader(const std::string& path, FileFormat format)
{
    switch (format) {
    case FileFormat::nrrd:
        return checkNrrd(path);
    case FileFormat::metaImage:
        return checkMetaImage(path);
    default:
        return checkNifti(path);
    }
}

} // namespace cli
