/**
 * @file decimal.h
 * Numbers in decimal notation: the standard's from_chars() and to_chars(), which not every host's
 * library has for them. The host says how.
 */
#ifndef ZARNGI_FILES_DECIMAL_H
#define ZARNGI_FILES_DECIMAL_H

#include <charconv>

namespace files
{

/** In the general format of the standard: rounded to nearest, without a plus sign. */
std::from_chars_result fromDecimal(const char* first, const char* last, double& value);
std::from_chars_result fromDecimal(const char* first, const char* last, float& value);

/** The fewest digits that give the value back, in the shorter one of both notations. */
std::to_chars_result toDecimal(char* first, char* last, double value);

} // namespace files

#endif
