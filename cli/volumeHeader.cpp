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

std::uintmax_t bytesAfter(const std::string& path, std::uintmax_t position)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) {
        throw InputError("its data file " + path + " is missing");
    }
    return size - std::min(size, position);
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
            throw InputError("its header gives " + std::string(what) + " of \"" + oneLine(*entry) +
                             "\"");
        }
    }
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

void requireOneOf(const TextHeader& header, const std::string& first, const std::string& second)
{
    if (header.find(first) == nullptr && header.find(second) == nullptr) {
        throw InputError("its header tells no voxel size");
    }
}

StoredData checkMetaImage(const std::string& path)
{
    const TextHeader header =
        readTextHeader(path, '=', [](const std::string& key, const std::string&) {
            return key == "elementdatafile";
        });
    checkNumbers(header, "ndims", "a number of dimensions", isSize);
    checkNumbers(header, "dimsize", "a grid size", isSize);
    requireOneOf(header, "elementspacing", "elementsize");
    for (const char* key : {"elementspacing", "elementsize"}) {
        checkNumbers(header, key, "a voxel size", isPositive);
    }
    for (const char* key : {"offset", "position", "origin"}) {
        checkNumbers(header, key, "an origin", isFinite);
    }
    StoredData data;
    const std::string& name = *header.find("elementdatafile");
    const std::string* compressed = header.find("compresseddata");
    const bool isLocal = lowerCase(name) == "local";
    data.path = isLocal ? path : dataFile(path, name);
    data.bytes = bytesAfter(data.path, isLocal ? header.length : 0);
    data.isCompressed = compressed != nullptr && lowerCase(*compressed) == "true";
    const std::string* isBinary = header.find("binarydata");
    data.isText = isBinary != nullptr && lowerCase(*isBinary) == "false";
    return data;
}

void checkNrrdUnits(const TextHeader& header)
{
    for (const char* key : {"units", "space units"}) {
        const std::string* entry = header.find(key);
        if (entry != nullptr && entry->find_first_not_of(" \"m") != std::string::npos) {
            throw InputError("its lengths are in " + oneLine(*entry) + ", not in mm");
        }
    }
}

StoredData checkNrrd(const std::string& path)
{
    const TextHeader header =
        readTextHeader(path, ':', [](const std::string&, const std::string& line) {
            return line.empty() || line == "\r" || line.starts_with("data file: ") ||
                   line.starts_with("datafile: ");
        });
    checkNumbers(header, "sizes", "a grid size", isSize);
    requireOneOf(header, "spacings", "space directions");
    checkNumbers(header, "spacings", "a voxel size", isPositive);
    checkNrrdUnits(header);
    const std::string* detached = header.find("data file");
    detached = detached == nullptr ? header.find("datafile") : detached;
    StoredData data;
    data.path = detached == nullptr ? path : dataFile(path, *detached);
    data.bytes = bytesAfter(data.path, detached == nullptr ? header.length : 0);
    const std::string* encoding = header.find("encoding");
    const std::string name = encoding == nullptr ? "raw" : lowerCase(*encoding);
    data.isCompressed = name == "gzip" || name == "gz";
    data.isText = name == "ascii" || name == "text" || name == "txt" || name == "hex";
    if (!data.isCompressed && !data.isText && name != "raw") {
        throw InputError("its encoding \"" + oneLine(name) + "\" is not supported");
    }
    return data;
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

private:
    std::string bytes_;
    bool isSwapped_ = false;
};

StoredData checkNifti(const std::string& path)
{
    constexpr unsigned headerLength = 348;
    constexpr std::size_t dim = 40;
    constexpr std::size_t bitpix = 72;
    constexpr std::size_t pixdim = 76;
    constexpr std::size_t voxOffset = 108;
    constexpr std::size_t qformCode = 252;
    constexpr std::size_t sformCode = 254;
    constexpr std::size_t quaternionAndOffset = 256;
    constexpr std::size_t affineRows = 280;
    constexpr std::size_t magic = 344;
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
    header.checkFloats(voxOffset, 1, "a data position", isFinite);
    if (header.field<std::int16_t>(qformCode) > 0) {
        header.checkFloats(quaternionAndOffset, 6, "an orientation or origin", isFinite);
    }
    if (header.field<std::int16_t>(sformCode) > 0) {
        header.checkFloats(affineRows, 12, "an orientation or origin", isFinite);
    }
    StoredData data;
    data.path = path;
    data.isCompressed = path.ends_with(".gz");
    data.valueBytes = header.field<std::uint16_t>(bitpix) / 8U;
    const double start = std::max(0.0, static_cast<double>(header.field<float>(voxOffset)));
    data.bytes =
        bytesAfter(path, data.isCompressed || start > 1e9 ? 0 : static_cast<std::uintmax_t>(start));
    return data;
}

} // namespace

bool StoredData::canHold(std::uintmax_t values, std::uintmax_t readerBytes) const
{
    // DEFLATE needs at least one bit for two codes of 258 bytes at best: a ratio of 1032 to 1.
    constexpr std::uintmax_t bestCompression = 1032;
    if (isText) {
        return bytes >= values;
    }
    const std::uintmax_t needed = values * (valueBytes > 0 ? valueBytes : readerBytes);
    return bytes * (isCompressed ? bestCompression : 1) >= needed;
}

StoredData checkVolumeHeader(const std::string& path, FileFormat format)
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
