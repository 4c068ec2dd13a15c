#include "storedValues.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <filesystem>
#include <fstream>
#include <new>

#include "failure.h"
#include "text.h"

namespace cli
{

namespace
{

/** DEFLATE needs at least one bit for two codes of 258 bytes at best: a ratio of 1032 to 1. */
constexpr std::uintmax_t bestCompression = 1032;

[[noreturn]] void failAsDamaged()
{
    throw InputError("its compressed data is damaged or cut short");
}

void checkLength(const StoredData& data, std::uintmax_t needed)
{
    const bool isPlain = data.compression == StoredData::Compression::none;
    const std::uintmax_t start = data.isAtEnd ? 0 : data.position;
    const bool fits = isPlain ? data.fileBytes >= start && data.fileBytes - start >= needed
                              : data.fileBytes >= needed / bestCompression;
    if (!fits) {
        throw InputError("is cut short, or its header lies: its grid needs " + grouped(needed) +
                         " bytes of values, the file has " + grouped(data.fileBytes));
    }
}

std::vector<char> readPlain(const StoredData& data, std::size_t needed)
{
    std::vector<char> bytes(needed);
    std::ifstream file(data.path, std::ios::binary);
    const std::uintmax_t start = data.isAtEnd ? data.fileBytes - needed : data.position;
    file.seekg(static_cast<std::streamoff>(start));
    file.read(bytes.data(), static_cast<std::streamsize>(needed));
    if (!file) {
        throw InputError("cannot be read to its end");
    }
    return bytes;
}

/** Unpacks a zlib or gzip stream that lies in a file; the end of it verifies its checksum. */
class Inflater
{
public:
    Inflater(const std::string& path, std::uintmax_t position)
        : file_(path, std::ios::binary), block_(1 << 18)
    {
        constexpr int eitherFormat = 32;
        file_.seekg(static_cast<std::streamoff>(position));
        if (inflateInit2(&stream_, MAX_WBITS + eitherFormat) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Inflater() { inflateEnd(&stream_); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    /** Fills as much of the buffer as the stream has bytes left; tells how much. */
    std::size_t read(char* bytes, std::size_t count)
    {
        std::size_t done = 0;
        while (done < count && !isAtEnd_) {
            const std::size_t part = std::min<std::size_t>(count - done, 1U << 30);
            stream_.next_out = reinterpret_cast<Bytef*>(bytes + done);
            stream_.avail_out = static_cast<uInt>(part);
            step();
            done += part - stream_.avail_out;
        }
        return done;
    }

    /** Goes to the end of the stream, where its checksum is. */
    void finish()
    {
        std::array<char, 4096> rest{};
        while (!isAtEnd_) {
            read(rest.data(), rest.size());
        }
    }

private:
    void step()
    {
        if (stream_.avail_in == 0) {
            file_.read(block_.data(), static_cast<std::streamsize>(block_.size()));
            stream_.next_in = reinterpret_cast<Bytef*>(block_.data());
            stream_.avail_in = static_cast<uInt>(file_.gcount());
        }
        const int status = inflate(&stream_, Z_NO_FLUSH);
        isAtEnd_ = status == Z_STREAM_END;
        if (status != Z_OK && !isAtEnd_) {
            failAsDamaged(); // a lack of input comes as Z_BUF_ERROR
        }
    }

    std::ifstream file_;
    std::vector<char> block_;
    z_stream stream_{};
    bool isAtEnd_ = false;
};

std::vector<char> readCompressed(const StoredData& data, std::size_t needed)
{
    const bool isWholeFile = data.compression == StoredData::Compression::wholeFile;
    Inflater inflater(data.path, isWholeFile ? 0 : data.position);
    if (isWholeFile) {
        std::vector<char> header(data.position);
        inflater.read(header.data(), header.size());
    }
    std::vector<char> bytes(needed);
    if (inflater.read(bytes.data(), needed) != needed) {
        throw InputError("is cut short, or its header lies: its grid needs " + grouped(needed) +
                         " bytes of values");
    }
    inflater.finish();
    return bytes;
}

template <class Number>
std::vector<float> convert(const std::vector<char>& bytes, const StoredData& data, bool isSwapped)
{
    std::vector<float> values(bytes.size() / sizeof(Number));
    const bool isScaled = data.slope != 1 || data.intercept != 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::array<char, sizeof(Number)> raw{};
        std::copy_n(bytes.data() + i * sizeof(Number), sizeof(Number), raw.begin());
        if (isSwapped) {
            std::reverse(raw.begin(), raw.end());
        }
        const auto value = std::bit_cast<Number>(raw);
        values[i] =
            isScaled ? static_cast<float>(static_cast<double>(value) * data.slope + data.intercept)
                     : static_cast<float>(value);
    }
    return values;
}

template <class Unsigned, class Signed>
std::vector<float> convertIntegers(const std::vector<char>& bytes, const StoredData& data,
                                   const ValueFormat& format)
{
    return format.kind == ValueFormat::Kind::unsignedInteger
               ? convert<Unsigned>(bytes, data, format.isBigEndian)
               : convert<Signed>(bytes, data, format.isBigEndian);
}

} // namespace

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

std::vector<float> readStoredValues(const StoredData& data, const ValueFormat& format,
                                    std::uintmax_t count)
{
    const std::uintmax_t needed = count * format.bytes;
    checkLength(data, needed);
    const std::vector<char> bytes = data.compression == StoredData::Compression::none
                                        ? readPlain(data, needed)
                                        : readCompressed(data, needed);
    const bool isFloat = format.kind == ValueFormat::Kind::floatingPoint;
    switch (format.bytes) {
    case 1:
        return convertIntegers<std::uint8_t, std::int8_t>(bytes, data, format);
    case 2:
        return convertIntegers<std::uint16_t, std::int16_t>(bytes, data, format);
    case 4:
        return isFloat ? convert<float>(bytes, data, format.isBigEndian)
                       : convertIntegers<std::uint32_t, std::int32_t>(bytes, data, format);
    default:
        return isFloat ? convert<double>(bytes, data, format.isBigEndian)
                       : convertIntegers<std::uint64_t, std::int64_t>(bytes, data, format);
    }
}

} // namespace cli
