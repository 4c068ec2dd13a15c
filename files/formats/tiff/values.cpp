#include "files/formats/tiff/values.h"

#include <algorithm>

#include "files/error.h"
#include "files/formats/tiff/lzw.h"
#include "files/packed.h"
#include "files/runLengths.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr TiffTag compression{259, "Compression"};
constexpr TiffTag stripOffsets{273, "StripOffsets"};
constexpr TiffTag rowsPerStrip{278, "RowsPerStrip"};
constexpr TiffTag stripBytes{279, "StripByteCounts"};
constexpr TiffTag predictor{317, "Predictor"};
constexpr TiffTag tileWidth{322, "TileWidth"};
constexpr TiffTag tileLength{323, "TileLength"};
constexpr TiffTag tileOffsets{324, "TileOffsets"};
constexpr TiffTag tileBytes{325, "TileByteCounts"};
} // namespace tags

enum class Packing { none, lzw, deflate, runLengths };

Packing packingOf(const TiffDirectory& directory)
{
    switch (const std::uint32_t told = directory.number(tags::compression, 1)) {
    case 1:
        return Packing::none;
    case 5:
        return Packing::lzw;
    case 8:
    case 32946: // of programs that were earlier than the number above
        return Packing::deflate;
    case 32773:
        return Packing::runLengths;
    default:
        refuseUnsupported("is a TIFF with a Compression of " + std::to_string(told) +
                          " (read are none, PackBits, LZW and Deflate); save it without one");
    }
}

/** What stands in the place of values. */
enum class Prediction { none, differences, floatingPoint };

Prediction predictionOf(const TiffDirectory& directory, const TiffImage& image)
{
    const std::uint32_t told = directory.number(tags::predictor, 1);
    const bool isKnown = told == 1 || told == 2 || (told == 3 && image.bytes == sizeof(float));
    if (!isKnown) {
        refuseUnsupported("is a TIFF with a Predictor of " + std::to_string(told) +
                          ", which is not read for values of " + std::to_string(8 * image.bytes) +
                          " bits");
    }
    return told == 1   ? Prediction::none
           : told == 2 ? Prediction::differences
                       : Prediction::floatingPoint;
}

/** Parts of an image: all strips, or all tiles, which may reach beyond its right and lower edge. */
struct Parts {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    bool areTiles = false;
    std::vector<ByteView> packed; ///< from left to right, from the upper edge down

    /** Rows of the part that begins in a row of the image. */
    std::uint64_t rows(std::uint64_t first, const TiffImage& image) const
    {
        return areTiles ? height : std::min<std::uint64_t>(height, image.height - first);
    }
};

/** No two parts of an image share bytes, nor do they lie in the head. */
void checkApart(std::vector<ByteView> parts, ByteView file)
{
    constexpr std::ptrdiff_t head = 8;
    std::sort(parts.begin(), parts.end(),
              [](ByteView a, ByteView b) { return a.data() < b.data(); });
    const unsigned char* end = file.data() + head;
    for (const ByteView part : parts) {
        if (part.data() < end) {
            refuseDamaged("is a TIFF whose strips or tiles lie in one another");
        }
        end = part.data() + part.size();
    }
}

std::vector<ByteView> packedParts(const TiffDirectory& directory, const TiffTag& offsets,
                                  const TiffTag& counts, std::uint64_t needed)
{
    const std::vector<std::uint32_t> places = directory.numbers(offsets);
    const std::vector<std::uint32_t> bytes = directory.numbers(counts);
    if (places.size() != needed || bytes.size() != needed) {
        refuseDamaged("is a TIFF whose strips or tiles are not the " + grouped(needed) +
                      " that its size needs");
    }
    const ByteView file = directory.file();
    std::vector<ByteView> parts;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (places[i] > file.size() || bytes[i] > file.size() - places[i]) {
            refuseDamaged("is a TIFF that is cut short, or names places outside of itself");
        }
        parts.push_back(file.subspan(places[i], bytes[i]));
    }
    checkApart(parts, file);
    return parts;
}

std::uint64_t across(std::uint64_t whole, std::uint64_t part)
{
    return (whole + part - 1) / part;
}

std::uint32_t sideOf(const TiffDirectory& directory, const TiffTag& tag)
{
    constexpr std::uint32_t most = 1 << 20; // of tiles, so that products stay small
    const std::uint32_t side = directory.number(tag);
    if (side == 0 || (side > most && tag.number != tags::rowsPerStrip.number)) {
        refuseDamaged(std::string("is a TIFF with a ") + tag.name + " of " + grouped(side));
    }
    return side;
}

Parts partsOf(const TiffDirectory& directory, const TiffImage& image)
{
    Parts parts;
    parts.areTiles = directory.has(tags::tileWidth);
    if (parts.areTiles) {
        parts.width = sideOf(directory, tags::tileWidth);
        parts.height = sideOf(directory, tags::tileLength);
    } else {
        parts.width = image.width;
        parts.height = directory.has(tags::rowsPerStrip) ? sideOf(directory, tags::rowsPerStrip)
                                                         : image.height;
    }
    const std::uint64_t count =
        across(image.width, parts.width) * across(image.height, parts.height);
    parts.packed = parts.areTiles
                       ? packedParts(directory, tags::tileOffsets, tags::tileBytes, count)
                       : packedParts(directory, tags::stripOffsets, tags::stripBytes, count);
    return parts;
}

/** Turns the parts of an image into values. */
class Unpacker
{
public:
    Unpacker(const TiffDirectory& directory, const TiffImage& image, const Deflate& deflate)
        : image_(image), packing_(packingOf(directory)),
          prediction_(predictionOf(directory, image)), isBigEndian_(directory.isBigEndian()),
          deflate_(deflate)
    {
    }

    /** @throws Refusal when the packed bytes cannot be so many */
    void checkMayHold(ByteView packed, std::uint64_t bytes) const
    {
        if (mostOf(packed.size()) < bytes) {
            refuseDamaged("is a TIFF that is cut short: " + grouped(packed.size()) +
                          " bytes of a strip or tile do not hold its " + grouped(bytes));
        }
    }

    /** Little endian. @param width values of a row */
    Bytes values(ByteView packed, std::uint64_t width, std::uint64_t bytes) const
    {
        Bytes values(bytes);
        unpack(packed, values.buffer());
        const auto rowBytes = static_cast<std::size_t>(width * image_.bytes);
        if (prediction_ == Prediction::floatingPoint) {
            forEachRow(values, rowBytes, [this](auto row) { addBytes(row); });
            return values;
        }
        if (isBigEndian_) {
            forEachRow(values, image_.bytes,
                       [](auto value) { std::reverse(value.begin(), value.end()); });
        }
        if (prediction_ == Prediction::differences) {
            forEachRow(values, rowBytes, [this](auto row) { addDifferences(row); });
        }
        return values;
    }

private:
    using Row = std::span<unsigned char>;

    std::uint64_t mostOf(std::size_t packed) const
    {
        switch (packing_) {
        case Packing::lzw:
            return mostUnpackedLzw(packed);
        case Packing::deflate:
            return mostUnpacked(packed);
        case Packing::runLengths:
            return mostUnpackedRuns(packed);
        case Packing::none:
            break;
        }
        return packed;
    }

    void unpack(ByteView packed, Row buffer) const
    {
        switch (packing_) {
        case Packing::lzw:
            return unpackLzw(packed, buffer);
        case Packing::deflate:
            return unpackInto(buffer, packed, deflate_);
        case Packing::runLengths:
            return unpackRuns(packed, {buffer.data(), 1, buffer.size()}, "a strip or tile");
        case Packing::none:
            break;
        }
        if (packed.size() != buffer.size()) {
            refuseDamaged("is a TIFF of which a strip or tile has " + grouped(packed.size()) +
                          " bytes, and its size needs " + grouped(buffer.size()));
        }
        std::copy(packed.begin(), packed.end(), buffer.begin());
    }

    template <class Use> static void forEachRow(Bytes& bytes, std::size_t rowBytes, const Use& use)
    {
        for (std::size_t at = 0; at < bytes.size(); at += rowBytes) {
            use(bytes.buffer().subspan(at, rowBytes));
        }
    }

    /** Each value of a row is the difference to the one before; as whole numbers that wrap. */
    void addDifferences(Row row) const
    {
        std::uint32_t sum = 0;
        for (std::size_t at = 0; at < row.size(); at += image_.bytes) {
            std::uint32_t value = 0;
            for (unsigned i = image_.bytes; i-- > 0;) {
                value = value << 8 | row[at + i];
            }
            sum += value;
            for (unsigned i = 0; i < image_.bytes; ++i) {
                row[at + i] = static_cast<unsigned char>(sum >> 8 * i);
            }
        }
    }

    /** Differences of bytes: first the highest one of each value of the row, the lowest last. */
    void addBytes(Row row) const
    {
        std::vector<unsigned char> sums(row.size());
        unsigned char sum = 0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            sum = static_cast<unsigned char>(sum + row[i]);
            sums[i] = sum;
        }
        const std::size_t width = row.size() / image_.bytes;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t byte = image_.bytes - 1 - i % image_.bytes;
            row[i] = sums[byte * width + i / image_.bytes];
        }
    }

    const TiffImage& image_;
    Packing packing_;
    Prediction prediction_;
    bool isBigEndian_;
    const Deflate& deflate_;
};

/** Where a part lies in the image. */
struct Place {
    std::uint64_t column;
    std::uint64_t row;
};

void copyRows(const Bytes& part, std::uint64_t partWidth, const Place& place,
              const TiffImage& image, Bytes& whole)
{
    const std::uint64_t columns = std::min(partWidth, image.width - place.column);
    const std::uint64_t rows =
        std::min(part.size() / (partWidth * image.bytes), image.height - place.row);
    for (std::uint64_t row = 0; row < rows; ++row) {
        const std::uint64_t from = row * partWidth * image.bytes;
        const std::uint64_t to = ((place.row + row) * image.width + place.column) * image.bytes;
        std::copy_n(part.view().data() + from, columns * image.bytes, whole.data() + to);
    }
}

} // namespace

Bytes tiffValues(const TiffDirectory& directory, const TiffImage& image, const Deflate& deflate)
{
    const Parts parts = partsOf(directory, image);
    const Unpacker unpacker(directory, image, deflate);
    const std::uint64_t inRow = across(image.width, parts.width);
    const auto forEachPart = [&](const auto& use) {
        for (std::size_t i = 0; i < parts.packed.size(); ++i) {
            const Place place{i % inRow * parts.width, i / inRow * parts.height};
            use(parts.packed[i], place, parts.width * parts.rows(place.row, image) * image.bytes);
        }
    };
    forEachPart([&](ByteView packed, const Place&, std::uint64_t bytes) {
        unpacker.checkMayHold(packed, bytes);
    });
    Bytes whole(std::uint64_t{image.width} * image.height * image.bytes);
    forEachPart([&](ByteView packed, const Place& place, std::uint64_t bytes) {
        copyRows(unpacker.values(packed, parts.width, bytes), parts.width, place, image, whole);
    });
    return whole;
}

} // namespace files
