/**
 * @file header.h
 * The header of a NRRD file: its lines, and the words of an entry.
 */
#ifndef ZARNGI_FILES_FORMATS_NRRD_HEADER_H
#define ZARNGI_FILES_FORMATS_NRRD_HEADER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "files/bytes.h"
#include "files/formats/textHeader.h"

namespace files::nrrd
{

struct Header : TextHeader {
    std::size_t length = 0;                      ///< bytes up to the first byte behind the header
    std::vector<std::string_view> keysAndValues; ///< lines "key:=value"
};

/** @throws Refusal when a line is none of NRRD, or the header has no end. */
Header parseHeader(ByteView file);

/** The words of an entry; a word in quotes or parentheses may have blanks in it. */
std::vector<std::string> itemsOf(std::string_view entry, char open, char close);

} // namespace files::nrrd

#endif
