#include "files/formats/dicom/rle.h"

#include <array>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr std::size_t mostSegments = 15;
constexpr std::size_t headerBytes = 4 * (mostSegments + 1);
constexpr unsigned nothing = 128; // a code that stands for no byte

/** One byte of each value: every `stride`-th byte from `first` on. */
struct Plane {
    unsigned char* first;
    std::size_t stride;
    std::size_t count;
};

[[noreturn]] void refuseCut()
{
    refuseDamaged("is cut short: a frame packed by run lengths holds fewer values than the grid");
}

[[noreturn]] void refuseLong()
{
    refuseDamaged("holds more than its grid: a frame packed by run lengths has more values");
}

/** Whether nothing but padding comes behind the last value. */
bool isPadding(ByteView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](unsigned char byte) { return byte == 0 || byte == nothing; });
}

void unpackSegment(ByteView segment, const Plane& plane)
{
    std::size_t taken = 0;
    unsigned char* out = plane.first;
    for (std::size_t missing = plane.count; missing > 0;) {
        if (taken == segment.size()) {
            refuseCut();
        }
        const unsigned code = segment[taken++];
        if (code == nothing) {
            continue;
        }
        const bool isRun = code > nothing;
        const std::size_t length = isRun ? 257 - code : code + 1;
        const std::size_t stored = isRun ? 1 : length;
        if (segment.size() - taken < stored) {
            refuseCut();
        }
        if (length > missing) {
            refuseLong();
        }
        const unsigned char* in = segment.data() + taken;
        for (std::size_t i = 0; i < length; ++i, out += plane.stride) {
            *out = in[isRun ? 0 : i];
        }
        taken += stored;
        missing -= length;
    }
    if (!isPadding(segment.subspan(taken))) {
        refuseLong();
    }
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

std::uint64_t mostUnpackedRle(std::uint64_t packedBytes)
{
    return packedBytes * 64; // a code and a byte make 128
}

void unpackRleFrame(ByteView frame, unsigned bytesPerValue, std::span<unsigned char> values)
{
    const Borders borders = bordersOf(frame, bytesPerValue);
    const std::size_t count = values.size() / bytesPerValue;
    for (std::size_t i = 0; i < bytesPerValue; ++i) {
        unpackSegment(frame.subspan(borders[i], borders[i + 1] - borders[i]),
                      {values.data() + (bytesPerValue - 1 - i), bytesPerValue, count});
    }
}

} // namespace files
