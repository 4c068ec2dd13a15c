#include "files/formats/dicom/file.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "files/doseImage.h"
#include "files/error.h"
#include "files/packed.h"

namespace files
{

namespace
{

constexpr std::size_t mebibyte = 1 << 20;
constexpr std::size_t otherElements = 64 * mebibyte;

bool isDeflated(const DicomStart& start)
{
    return start.transferSyntax == "1.2.840.10008.1.2.1.99";
}

std::uint64_t gridBytes(const DicomValues& values)
{
    const std::uint64_t plane =
        std::uint64_t{values.integer(dicomTags::rows)} * values.integer(dicomTags::columns);
    const std::uint64_t frames = dicomFrameCount(values);
    const std::uint64_t bits = values.integer(dicomTags::bitsAllocated);
    return plane > std::uint64_t{mostVoxels} / frames
               ? 0
               : plane * frames * bits / 8; // else refused when it is read
}

Bytes beginningOfDeflated(ByteView packed, const Deflate& deflate, std::size_t most)
{
    Bytes bytes(most);
    bytes.shorten(deflate.unpackBeginning(packed, bytes.buffer()));
    return bytes;
}

std::uint64_t gridBytesOfDataSet(ByteView beginning, const DicomSyntax& syntax)
{
    return gridBytes({readWholeDicomElements(beginning, syntax), syntax.isBigEndian});
}

std::uint64_t gridBytesOfFile(ByteView beginning, const Deflate& deflate)
{
    const DicomStart start = readDicomStart(beginning);
    if (!isDeflated(start)) {
        return gridBytesOfDataSet(start.dataSet, start.syntax);
    }
    const Bytes dataSet = beginningOfDeflated(start.dataSet, deflate, beginning.size());
    return gridBytesOfDataSet(dataSet.view(), start.syntax);
}

/**
 * How much packed data may unpack to.
 * @param beginning makes the first bytes, as many as it is asked for.
 * @param gridIn the bytes of the grid that a beginning tells, or throws a Refusal.
 */
template <class Beginning, class GridIn>
std::uint64_t mostBytes(const Beginning& beginning, const GridIn& gridIn)
{
    for (const std::size_t length : {mebibyte, otherElements}) {
        try {
            const Bytes bytes = beginning(length);
            return gridIn(bytes.view()) + otherElements;
        } catch (const Refusal&) {
            // It does not tell; perhaps more of it does.
        }
    }
    return otherElements;
}

std::uint64_t mostOfGzipFile(ByteView file, const Deflate& deflate)
{
    return mostBytes([&](std::size_t length) { return unpackBeginning(file, deflate, length); },
                     [&](ByteView beginning) { return gridBytesOfFile(beginning, deflate); });
}

std::uint64_t mostOfDataSet(const DicomStart& start, const Deflate& deflate)
{
    return mostBytes(
        [&](std::size_t length) { return beginningOfDeflated(start.dataSet, deflate, length); },
        [&](ByteView beginning) { return gridBytesOfDataSet(beginning, start.syntax); });
}

/** Opens a file; `most` tells how much it may unpack to, or nothing for what its grid needs. */
DicomFile opened(const Contents& contents, const Deflate& deflate,
                 const std::optional<std::uint64_t>& most)
{
    const ByteView file = contents.bytes;
    Bytes unpacked;
    if (isGzip(file)) {
        unpacked = unpackAll(file, deflate, most ? *most : mostOfGzipFile(file, deflate));
    }
    const ByteView whole = isGzip(file) ? unpacked.view() : file;
    DicomStart start = readDicomStart(whole);
    Bytes inflated;
    if (isDeflated(start)) {
        inflated = unpackRaw(start.dataSet, deflate, most ? *most : mostOfDataSet(start, deflate));
    }
    DicomDataSet data =
        readDicomElements(isDeflated(start) ? inflated.view() : start.dataSet, start.syntax);
    Bytes* const block = isGzip(file) || isDeflated(start) ? nullptr : contents.block;
    return {std::move(unpacked), std::move(inflated), whole, block,
            std::move(start),    std::move(data)};
}

} // namespace

DicomFile openDicomFile(const Contents& file, const Deflate& deflate)
{
    return opened(file, deflate, {});
}

DicomFile openDicomFile(ByteView file, const Deflate& deflate, std::uint64_t most)
{
    return opened(file, deflate, most);
}

DicomFile openDicomBeginning(ByteView file, const Deflate& deflate, std::size_t most)
{
    Bytes unpacked = isGzip(file) ? unpackBeginning(file, deflate, most) : Bytes();
    const ByteView beginning = isGzip(file) ? unpacked.view() : part(file, 0, most);
    DicomStart start = readDicomStart(beginning);
    Bytes inflated =
        isDeflated(start) ? beginningOfDeflated(start.dataSet, deflate, most) : Bytes();
    DicomDataSet data =
        readWholeDicomElements(isDeflated(start) ? inflated.view() : start.dataSet, start.syntax);
    return {std::move(unpacked), std::move(inflated), beginning, nullptr,
            std::move(start),    std::move(data)};
}

} // namespace files
