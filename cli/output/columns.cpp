#include "cli/output/columns.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "files/characters/utf8.h"

namespace zarngi
{

namespace
{

struct Range {
    char32_t first;
    char32_t last;
};

/** Marks of Latin, Cyrillic, Hebrew, Arabic and Thai, and what takes no place. */
constexpr std::array<Range, 14> marks = {{{0x0300, 0x036F},
                                          {0x0483, 0x0489},
                                          {0x0591, 0x05BD},
                                          {0x05BF, 0x05BF},
                                          {0x05C1, 0x05C2},
                                          {0x0610, 0x061A},
                                          {0x064B, 0x065F},
                                          {0x0670, 0x0670},
                                          {0x0E31, 0x0E31},
                                          {0x0E34, 0x0E3A},
                                          {0x0E47, 0x0E4E},
                                          {0x200B, 0x200F},
                                          {0x202A, 0x202E},
                                          {0x2066, 0x2069}}};

/** Hangul, kana, ideographs and their signs. */
constexpr std::array<Range, 8> wide = {{{0x1100, 0x115F},
                                        {0x2E80, 0x303E},
                                        {0x3041, 0xA4CF},
                                        {0xAC00, 0xD7A3},
                                        {0xF900, 0xFAFF},
                                        {0xFE30, 0xFE6F},
                                        {0xFF00, 0xFF60},
                                        {0x20000, 0x3FFFD}}};

template <class Ranges> bool isIn(const Ranges& ranges, char32_t character)
{
    return std::any_of(ranges.begin(), ranges.end(), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

std::size_t widthOf(char32_t character)
{
    return isIn(marks, character) ? 0 : isIn(wide, character) ? 2 : 1;
}

/** The bytes of the beginning that is no wider. */
std::size_t bytesWithin(std::string_view text, std::size_t width)
{
    std::size_t bytes = 0;
    for (std::size_t taken = 0; bytes < text.size();) {
        const files::DecodedCharacter character = files::firstOfUtf8(text.substr(bytes));
        taken += widthOf(character.value);
        if (taken > width) {
            break;
        }
        bytes += character.bytes;
    }
    return bytes;
}

} // namespace

std::size_t widthOf(const std::string& text)
{
    std::size_t width = 0;
    for (const char32_t character : files::charactersOf(text)) {
        width += widthOf(character);
    }
    return width;
}

std::string shortened(const std::string& text, std::size_t width)
{
    constexpr std::string_view dots = "...";
    if (widthOf(text) <= width) {
        return text;
    }
    const std::size_t left = width - std::min(width, dots.size());
    return text.substr(0, bytesWithin(text, left)).append(dots);
}

std::string cell(const std::string& text, std::size_t width)
{
    return std::string(width - std::min(width, widthOf(text)), ' ') + text;
}

std::string leftCell(const std::string& text, std::size_t width)
{
    const std::string shown = shortened(text, width);
    return shown + std::string(width - std::min(width, widthOf(shown)), ' ');
}

std::string line(std::string name, const std::string& text)
{
    constexpr std::size_t nameWidth = 12;
    name.resize(std::max(name.size() + 1, nameWidth), ' ');
    return name + text + "\n";
}

} // namespace zarngi
