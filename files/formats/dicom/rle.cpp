#include "files/formats/dicom/rle.h"

#include <array>

#include "files/error.h"
#include "files/runLengths.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr std::size_t mostSegments = 15;
constexpr std::size_t headerBytes = 4 * (mostSegments + 1);

[[noreturn]] void refuseCut()
{
    refuseDamaged("is cut short: a frame packed by run lengths holds fewer values than the grid");
}

/** Where the segments begin, and where the last one ends. */
using Borders = std::array<std::size_t, mostSegments + 1>;

Borders bordersOf(ByteView frame, unsigned count)
{
    if (frame.size() < headerBytes) {
        refuseCut();
    }
    const auto told = numberAt<std::uint32_t>(frame.data(), 0, false);
    if (told != count) {
        refuseDamaged("is damaged: a frame packed by run lengths has " + grouped(told) +
                      " segments instead of " + std::to_string(count));
    }
    Borders borders{};
    for (std::size_t i = 0; i < count; ++i) {
        borders[i] = numberAt<std::uint32_t>(frame.data(), 4 * (i + 1), false);
        const bool isInOrder = i == 0 ? borders[0] == headerBytes : borders[i] > borders[i - 1];
        if (!isInOrder) {
            refuseDamaged(
                "is damaged: the segments of a frame packed by run lengths are out of order");
        }
        if (borders[i] > frame.size()) {
            refuseCut();
        }
    }
    borders[count] = frame.size();
    return borders;
}

} // namespace

void unpackRleFrame(ByteView frame, unsigned bytesPerValue, std::span<unsigned char> values)
{
    const Borders borders = bordersOf(frame, bytesPerValue);
    const std::size_t count = values.size() / bytesPerValue;
    for (std::size_t i = 0; i < bytesPerValue; ++i) {
        unpackRuns(frame.subspan(borders[i], borders[i + 1] - borders[i]),
                   {values.data() + (bytesPerValue - 1 - i), bytesPerValue, count}, "a frame");
    }
}

} // namespace files
