/**
 * @file gb18030.h
 * Texts in GB 18030 and in its older part, GBK.
 */
#ifndef ZARNGI_FILES_CHARACTERS_GB18030_H
#define ZARNGI_FILES_CHARACTERS_GB18030_H

#include <string_view>

#include "files/characters/utf8.h"

namespace files
{

/** The first character of a text that is not empty: of one, two or four bytes. */
DecodedCharacter firstOfGb18030(std::string_view text);

/** The character of a pair; 0: none. */
char32_t characterOfGb18030(unsigned lead, unsigned trail);

} // namespace files

#endif
