/**
 * @file codedSets.h
 * Sets of characters that stand beside one another in a text, as ISO 2022 has it: each is called by
 * an escape sequence to the bytes without (lower) or with their highest bit (upper).
 */
#ifndef ZARNGI_FILES_CHARACTERS_CODEDSETS_H
#define ZARNGI_FILES_CHARACTERS_CODEDSETS_H

#include <cstddef>
#include <string_view>

namespace files
{

struct CodedSet {
    std::string_view number; ///< of its registration, ISO-IR; 13 has a lower and an upper set
    std::string_view call;   ///< the escape sequence without ESC
    bool isUpper;
    std::size_t bytes; ///< of a character: one or two
    /** The character of bytes that lie in the set's half; 0: none. */
    char32_t (*character)(unsigned first, unsigned second);
};

/** The set that a text calls behind ESC, or null. */
const CodedSet* calledSet(std::string_view behindEscape);

/** The set of a number and a half, or null. */
const CodedSet* codedSet(std::string_view number, bool isUpper);

} // namespace files

#endif
