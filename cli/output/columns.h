/**
 * @file columns.h
 * Texts in columns, for a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_COLUMNS_H
#define ZARNGI_CLI_OUTPUT_COLUMNS_H

#include <cstddef>
#include <string>

namespace zarngi
{

/** The columns that a text in UTF-8 takes: two for each wide character of East Asia, none for marks
 * that stand on the character before them. */
std::size_t widthOf(const std::string& text);

/** The text, where it is wider its beginning with dots; narrower by one where a wide one is cut. */
std::string shortened(const std::string& text, std::size_t width);

/** Right-aligned text of a fixed width. */
std::string cell(const std::string& text, std::size_t width);

/** Left-aligned text of a fixed width, shortened where it is wider. */
std::string leftCell(const std::string& text, std::size_t width);

/** A line of a name and what there is to say. */
std::string line(std::string name, const std::string& text);

} // namespace zarngi

#endif
