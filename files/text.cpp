#include "files/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>

#include "files/characters/utf8.h"
#include "files/decimal.h"

namespace files
{

namespace
{

template <class... Arguments> std::string formatted(const char* format, Arguments... arguments)
{
    std::array<char, 400> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, arguments...);
    return buffer.data();
}

/** Around excerpts, in which no control character stands. */
constexpr char excerptBegin = '\x02';
constexpr char excerptEnd = '\x03';

std::string printable(std::string_view text)
{
    constexpr std::size_t longest = 60;
    std::string result;
    for (std::size_t count = 0; !text.empty(); ++count) {
        if (count == longest) {
            return result + "...";
        }
        const DecodedCharacter character = firstOfUtf8(text);
        const bool isShown = character.isValid && !isControl(character.value);
        result += isShown ? text.substr(0, character.bytes) : "?";
        text.remove_prefix(character.bytes);
    }
    return result;
}

} // namespace

std::string number(double value, int digits)
{
    return formatted("%.*g", digits, value);
}

std::string exactNumber(double value)
{
    std::array<char, 64> buffer{};
    const auto end = toDecimal(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return {buffer.data(), end};
}

std::string fixed(double value, int decimals)
{
    return formatted("%.*f", decimals, value);
}

std::string grouped(std::uint64_t value)
{
    std::string text = std::to_string(value);
    for (std::size_t end = text.size(); end > 3; end -= 3) {
        text.insert(end - 3, 1, ' ');
    }
    return text;
}

std::string trimmed(std::string_view text)
{
    constexpr std::string_view blanks(" \t\r\n\0", 5);
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const auto end = std::min(text.find(separator), text.size());
        pieces.push_back(trimmed(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

double parseNumber(std::string_view text)
{
    if (text.size() > 1 && text.front() == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    double value = 0;
    const auto [end, error] = fromDecimal(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? value : std::numeric_limits<double>::quiet_NaN();
}

std::string oneLine(std::string_view text)
{
    std::string line;
    while (!text.empty()) {
        const DecodedCharacter character = firstOfUtf8(text);
        if (character.isValid && isControl(character.value)) {
            line += ' ';
        } else {
            line += text.substr(0, character.bytes);
        }
        text.remove_prefix(character.bytes);
    }
    return trimmed(line);
}

std::string excerpt(std::string_view text)
{
    return excerptBegin + printable(text) + excerptEnd;
}

std::string told(std::string_view message, bool quotes)
{
    std::string plain;
    bool isInExcerpt = false;
    for (const char c : message) {
        if (c == excerptBegin || c == excerptEnd) {
            isInExcerpt = c == excerptBegin;
            plain += isInExcerpt && !quotes ? "..." : "";
        } else if (quotes || !isInExcerpt) {
            plain += c;
        }
    }
    return plain;
}

} // namespace files
