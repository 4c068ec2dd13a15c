#include "files/characters/gb18030.h"

#include <algorithm>
#include <cstdint>

#include "files/characters/tables.h"

namespace files
{

namespace
{

bool isBetween(unsigned byte, unsigned least, unsigned most)
{
    return byte >= least && byte <= most;
}

/** The character of a four-byte code, counted from 81 30 81 30; 0: none. */
char32_t characterOfFourBytes(std::uint32_t code)
{
    constexpr std::uint32_t firstBeyondBasicPlane = 189000; // 90 30 81 30
    constexpr char32_t beyondBasicPlane = 0x10000;
    constexpr char32_t last = 0x10FFFF;
    if (code >= firstBeyondBasicPlane) {
        const char32_t character = code - firstBeyondBasicPlane + beyondBasicPlane;
        return character <= last ? character : 0;
    }
    const std::span<const CodePair> runs = characterTables::gb18030Runs;
    const auto behind = std::upper_bound(
        runs.begin(), runs.end(), code,
        [](std::uint32_t wanted, const CodePair& run) { return wanted < run.code; });
    const CodePair& run = *(behind - 1); // the first run begins at 0
    return run.character == 0 ? 0 : run.character + (code - run.code);
}

DecodedCharacter fourBytes(std::string_view text)
{
    constexpr std::size_t length = 4;
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const bool isDigit = i % 2 == 1;
        const unsigned least = isDigit ? 0x30 : 0x81;
        const unsigned most = isDigit ? 0x39 : 0xFE;
        const unsigned byte = i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
        if (!isBetween(byte, least, most)) {
            return {};
        }
        code = code * (most - least + 1) + (byte - least);
    }
    const char32_t character = characterOfFourBytes(code);
    return character == 0 ? DecodedCharacter{noCharacter, length, false}
                          : DecodedCharacter{character, length, true};
}

} // namespace

char32_t characterOfGb18030(unsigned lead, unsigned trail)
{
    const bool isPair =
        isBetween(lead, 0x81, 0xFE) && isBetween(trail, 0x40, 0xFE) && trail != 0x7F;
    const std::size_t place = trail - (trail < 0x7F ? 0x40 : 0x41);
    return isPair ? characterTables::gb18030Pairs[(lead - 0x81) * characterTables::trailsOfGb18030 +
                                                  place]
                  : 0;
}

DecodedCharacter firstOfGb18030(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return {first, 1, true};
    }
    const unsigned second = text.size() > 1 ? static_cast<unsigned char>(text[1]) : 0;
    if (isBetween(second, 0x30, 0x39)) {
        return fourBytes(text);
    }
    const char32_t character = characterOfGb18030(first, second);
    return character == 0 ? DecodedCharacter{} : DecodedCharacter{character, 2, true};
}

} // namespace files
