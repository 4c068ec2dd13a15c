/**
 * @file text.h
 * Numbers and lists as text.
 */
#ifndef ZARNGI_FILES_TEXT_H
#define ZARNGI_FILES_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace files
{

/** The number in its shortest form of up to `digits` significant digits. */
std::string number(double value, int digits = 6);

/** The number in its shortest form that tells it from all others. */
std::string exactNumber(double value);

/** The number with a fixed count of decimals. */
std::string fixed(double value, int decimals);

/** An integer with groups of three digits set apart: 1 234 567. */
std::string grouped(std::uint64_t value);

/** The text without leading and trailing blanks, line ends and NULs. */
std::string trimmed(std::string_view text);

/** The pieces between separators, trimmed; no piece for an empty text. */
std::vector<std::string> split(std::string_view text, char separator);

/** The text with the letters A to Z in lower case, whatever the locale. */
std::string lowerCase(std::string_view text);

/** The number that is the whole of the text, or not-a-number. */
double parseNumber(std::string_view text);

/** The text on one line: control characters become blanks. */
std::string oneLine(std::string_view text);

/**
 * A text out of a file for a message: characters of UTF-8, "?" for all else, not too long, between
 * marks that told() takes out. All that a message tells of a file in the file's own words comes
 * from here.
 */
std::string excerpt(std::string_view text);

/**
 * A message as it leaves the readers.
 * @param quotes whether its excerpts are shown, or "..." in their place: a name may stand where a
 *               number should be, and some messages are kept where no name may be
 */
std::string told(std::string_view message, bool quotes);

inline std::string asText(const std::string& text)
{
    return text;
}

template <class Number> std::string asText(Number value)
{
    if constexpr (std::is_integral_v<Number>) {
        return std::to_string(value);
    } else {
        return number(value);
    }
}

/** The items as text with a separator between them. */
template <class List> std::string join(const List& items, std::string_view separator)
{
    std::string text;
    for (const auto& item : items) {
        text += text.empty() ? "" : separator;
        text += asText(item);
    }
    return text;
}

} // namespace files

#endif
