/**
 * @file columns.h
 * Texts in columns, for a terminal.
 */
#ifndef ZARNGI_CLI_OUTPUT_COLUMNS_H
#define ZARNGI_CLI_OUTPUT_COLUMNS_H

#include <algorithm>
#include <cstddef>
#include <string>

namespace zarngi
{

/** Right-aligned text of a fixed width. */
inline std::string cell(const std::string& text, std::size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

/** A line of a name and what there is to say. */
inline std::string line(std::string name, const std::string& text)
{
    constexpr std::size_t nameWidth = 12;
    name.resize(std::max(name.size() + 1, nameWidth), ' ');
    return name + text + "\n";
}

} // namespace zarngi

#endif
