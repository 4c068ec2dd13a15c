#include "volumeHeader.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sstream>

#include "failure.h"
#include "niftiHeader.h"
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

    bool hasAny(std::initializer_list<const char*> keys) const
    {
        return std::any_of(keys.begin(), keys.end(),
                           [this](const char* key) { return find(key) != nullptr; });
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
    const std::string* const name = header.find("elementdatafile");
    if (name == nullptr) {
        throw InputError("its header does not tell where its data are");
    }
    StoredData data = lowerCase(*name) == "local" ? dataIn(path, header.length)
                                                  : dataIn(dataFile(path, *name), 0);
    const std::string* const compressed = header.find("compresseddata");
    if (compressed != nullptr && lowerCase(*compressed) == "true") {
        data.compression = StoredData::Compression::deflated;
    }
    skipBytes(data, header.find("headersize"));
    return {data, {}, header.hasAny({"offset", "position", "origin"})};
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
    return {data, {}, header.hasAny({"space origin", "axis mins", "axismins"})};
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
        return checkNiftiHeader(path);
    }
}

} // namespace cli
