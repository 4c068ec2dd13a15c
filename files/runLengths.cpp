#include "files/runLengths.h"

#include <algorithm>
#include <string>

#include "files/error.h"

namespace files
{

namespace
{

constexpr unsigned nothing = 128; // a code that stands for no byte

[[noreturn]] void refuseCut(const char* what)
{
    refuseDamaged(std::string("is cut short: ") + what +
                  " packed by run lengths holds fewer values than the grid");
}

[[noreturn]] void refuseLong(const char* what)
{
    refuseDamaged(std::string("holds more than its grid: ") + what +
                  " packed by run lengths has more values");
}

/** Whether nothing but padding comes behind the last value. */
bool isPadding(ByteView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](unsigned char byte) { return byte == 0 || byte == nothing; });
}

} // namespace

std::uint64_t mostUnpackedRuns(std::uint64_t packedBytes)
{
    return packedBytes * 64; // a code and a byte make 128
}

void unpackRuns(ByteView packed, const RunTarget& target, const char* what)
{
    std::size_t taken = 0;
    unsigned char* out = target.first;
    for (std::size_t missing = target.count; missing > 0;) {
        if (taken == packed.size()) {
            refuseCut(what);
        }
        const unsigned code = packed[taken++];
        if (code == nothing) {
            continue;
        }
        const bool isRun = code > nothing;
        const std::size_t length = isRun ? 257 - code : code + 1;
        const std::size_t stored = isRun ? 1 : length;
        if (packed.size() - taken < stored) {
            refuseCut(what);
        }
        if (length > missing) {
            refuseLong(what);
        }
        const unsigned char* in = packed.data() + taken;
        for (std::size_t i = 0; i < length; ++i, out += target.stride) {
            *out = in[isRun ? 0 : i];
        }
        taken += stored;
        missing -= length;
    }
    if (!isPadding(packed.subspan(taken))) {
        refuseLong(what);
    }
}

} // namespace files
