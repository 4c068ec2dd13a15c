/**
 * @file utf8.h
 * Texts in UTF-8, character by character.
 */
#ifndef ZARNGI_FILES_CHARACTERS_UTF8_H
#define ZARNGI_FILES_CHARACTERS_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace files
{

/** Stands for bytes that are no character. */
inline constexpr char32_t noCharacter = 0xFFFD;

/** A character, a scalar value of Unicode, and the bytes that it takes in a text. */
struct DecodedCharacter {
    char32_t value = noCharacter;
    std::size_t bytes = 1;
    bool isValid = false; ///< else the bytes can begin none, or what should follow them is missing
};

/** The first character of a text that is not empty. */
DecodedCharacter firstOfUtf8(std::string_view text);

bool isUtf8(std::string_view text);

/** Whether all bytes are those of ASCII, as they are in most texts. */
bool isAscii(std::string_view text);

void appendUtf8(std::string& text, char32_t character);

/** The characters of a text, one for each part of it that is none. */
std::u32string charactersOf(std::string_view text);

/** The text where it is in UTF-8; else each of its bytes is taken as a character of Latin-1. */
std::string utf8OrLatin1(std::string_view text);

/** C0 and C1, which a terminal takes for commands. */
bool isControl(char32_t character);

/** The small letter of a capital one, Latin, Greek or Cyrillic; all others stay. */
char32_t smallLetter(char32_t character);

/** The text in small letters; each takes as many bytes as the capital one. */
std::string inSmallLetters(std::string_view text);

} // namespace files

#endif
