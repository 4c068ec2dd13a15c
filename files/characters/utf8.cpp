#include "files/characters/utf8.h"

#include <algorithm>

#include "files/characters/tables.h"

namespace files
{

namespace
{

unsigned byteAt(std::string_view text, std::size_t place)
{
    return static_cast<unsigned char>(text[place]);
}

/** What a first byte tells: how many follow, its own bits, and what the second one may be. */
struct Lead {
    std::size_t following = 0; ///< 0: none begins so
    unsigned bits = 0;
    unsigned least = 0x80;
    unsigned most = 0xBF;
};

/** Without the forms that are too long, surrogates, and what lies beyond U+10FFFF. */
Lead leadOf(unsigned byte)
{
    if (byte >= 0xC2 && byte < 0xE0) {
        return {1, byte & 0x1F};
    }
    if (byte >= 0xE0 && byte < 0xF0) {
        return {2, byte & 0x0F, byte == 0xE0 ? 0xA0U : 0x80U, byte == 0xED ? 0x9FU : 0xBFU};
    }
    if (byte >= 0xF0 && byte < 0xF5) {
        return {3, byte & 0x07, byte == 0xF0 ? 0x90U : 0x80U, byte == 0xF4 ? 0x8FU : 0xBFU};
    }
    return {};
}

} // namespace

DecodedCharacter firstOfUtf8(std::string_view text)
{
    const unsigned first = byteAt(text, 0);
    if (first < 0x80) {
        return {first, 1, true};
    }
    const Lead lead = leadOf(first);
    char32_t value = lead.bits;
    for (std::size_t i = 1; i <= lead.following; ++i) {
        const unsigned least = i == 1 ? lead.least : 0x80;
        const unsigned most = i == 1 ? lead.most : 0xBF;
        if (i == text.size() || byteAt(text, i) < least || byteAt(text, i) > most) {
            return {noCharacter, i, false};
        }
        value = value << 6 | (byteAt(text, i) & 0x3F);
    }
    return lead.following == 0 ? DecodedCharacter{}
                               : DecodedCharacter{value, lead.following + 1, true};
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        const DecodedCharacter character = firstOfUtf8(text);
        if (!character.isValid) {
            return false;
        }
        text.remove_prefix(character.bytes);
    }
    return true;
}

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

void appendUtf8(std::string& text, char32_t character)
{
    const auto append = [&text](char32_t bits) { text += static_cast<char>(bits); };
    const auto following = [character](int place) {
        return 0x80 | (character >> (6 * place) & 0x3F);
    };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        append(0xE0 | character >> 12);
        append(following(1));
    } else {
        append(0xF0 | character >> 18);
        append(following(2));
        append(following(1));
    }
    append(following(0));
}

std::u32string charactersOf(std::string_view text)
{
    std::u32string characters;
    while (!text.empty()) {
        const DecodedCharacter character = firstOfUtf8(text);
        characters += character.value;
        text.remove_prefix(character.bytes);
    }
    return characters;
}

std::string utf8OrLatin1(std::string_view text)
{
    if (isUtf8(text)) {
        return std::string(text);
    }
    std::string converted;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned byte = byteAt(text, i);
        appendUtf8(converted, byte < 0x80 || byte >= 0xA0 ? byte : noCharacter);
    }
    return converted;
}

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

char32_t smallLetter(char32_t character)
{
    if (character < 0x80) {
        return character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character;
    }
    const char32_t small = characterOf(characterTables::smallLetters, character);
    return small == 0 ? character : small;
}

std::string inSmallLetters(std::string_view text)
{
    std::string small;
    while (!text.empty()) {
        const DecodedCharacter character = firstOfUtf8(text);
        if (character.isValid) {
            appendUtf8(small, smallLetter(character.value));
        } else {
            small += text.substr(0, character.bytes);
        }
        text.remove_prefix(character.bytes);
    }
    return small;
}

} // namespace files
