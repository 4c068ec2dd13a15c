#include "files/measurements/tableText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "files/error.h"
#include "files/formats/textHeader.h"
#include "files/text.h"

namespace files
{

namespace
{

std::string withPoint(std::string_view cell, Separator separator)
{
    std::string number(cell);
    if (separator != Separator::comma) {
        const auto comma = number.find(',');
        // "1,234.5" and "1,234,567" are no numbers, whatever they mean.
        if (comma != std::string::npos && number.find_first_of(".,", comma + 1) == comma) {
            return number;
        }
        const bool isOnly = std::count_if(number.begin(), number.end(),
                                          [](char c) { return c == ',' || c == '.'; }) == 1;
        if (comma != std::string::npos && isOnly) {
            number[comma] = '.';
        }
    }
    return number;
}

bool isTextCharacter(unsigned char c)
{
    return c == '\t' || c == '\r' || (c >= 0x20 && c != 0x7F);
}

std::vector<std::string_view> wordsOf(std::string_view text)
{
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    std::vector<std::string_view> words;
    for (auto start = std::find_if(text.begin(), text.end(), isLetter); start != text.end();) {
        const auto* const end = std::find_if_not(start, text.end(), isLetter);
        words.emplace_back(start, static_cast<std::size_t>(end - start));
        start = std::find_if(end, text.end(), isLetter);
    }
    return words;
}

void set(std::optional<double>& unit, double value, const char* what)
{
    if (unit && *unit != value) {
        refuse(std::string("tells two units of ") + what);
    }
    unit = value;
}

} // namespace

std::string placeOf(const TextLine& line)
{
    return "line " + std::to_string(line.number);
}

std::vector<TextLine> textLines(ByteView file)
{
    std::vector<TextLine> list;
    Lines lines(file);
    for (std::size_t number = 1; const auto text = lines.next(); ++number) {
        if (!std::all_of(text->begin(), text->end(), isTextCharacter)) {
            refuse("is no text: line " + std::to_string(number) +
                   " holds characters that no text has");
        }
        if (text->find_first_not_of(" \t\r") != std::string_view::npos) {
            list.push_back({number, *text});
        }
    }
    constexpr std::string_view mark = "\xEF\xBB\xBF"; // of UTF-8
    if (!list.empty() && list.front().text.starts_with(mark)) {
        list.front().text.remove_prefix(mark.size());
    }
    return list;
}

std::vector<std::string_view> cellsOf(std::string_view line, Separator separator)
{
    std::vector<std::string_view> cells;
    if (separator == Separator::blank) {
        constexpr std::string_view blanks = " \t";
        for (auto start = line.find_first_not_of(blanks); start != std::string_view::npos;) {
            const auto end = std::min(line.find_first_of(blanks, start), line.size());
            cells.push_back(line.substr(start, end - start));
            start = line.find_first_not_of(blanks, end);
        }
        return cells;
    }
    for (std::size_t start = 0; start <= line.size();) {
        const auto end = std::min(line.find(static_cast<char>(separator), start), line.size());
        cells.push_back(stripped(line.substr(start, end - start)));
        start = end + 1;
    }
    return cells;
}

bool isNumber(std::string_view cell, Separator separator)
{
    return std::isfinite(parseNumber(withPoint(cell, separator)));
}

std::optional<Separator> separatorOf(std::string_view line)
{
    constexpr std::size_t fewest = 2;
    for (const Separator separator :
         {Separator::tab, Separator::semicolon, Separator::comma, Separator::blank}) {
        const auto cells = cellsOf(line, separator);
        const auto numbers =
            std::count_if(cells.begin(), cells.end(),
                          [separator](std::string_view cell) { return isNumber(cell, separator); });
        const auto others =
            std::count_if(cells.begin(), cells.end(), [separator](std::string_view cell) {
                return !cell.empty() && !isNumber(cell, separator);
            });
        if (static_cast<std::size_t>(numbers) >= fewest && others <= 1) {
            return separator;
        }
    }
    return {};
}

double TableNumbers::read(std::string_view cell, const TextLine& line)
{
    const double value = parseNumber(withPoint(cell, separator_));
    if (!std::isfinite(value)) {
        refuse("has \"" + excerpt(cell) + "\" where a number should be (" + placeOf(line) + ")");
    }
    hasPoint_ = hasPoint_ || cell.find('.') != std::string_view::npos;
    hasComma_ = hasComma_ || cell.find(',') != std::string_view::npos;
    if (hasPoint_ && hasComma_) {
        refuse("has decimal points and decimal commas (" + placeOf(line) + ")");
    }
    return value;
}

void ToldUnits::lookInto(std::string_view text)
{
    static constexpr std::array<std::pair<std::string_view, double>, 2> doses{
        {{"gy", 1}, {"cgy", 100}}};
    static constexpr std::array<std::pair<std::string_view, double>, 2> lengths{
        {{"mm", 1}, {"cm", 10}}};
    for (const std::string_view word : wordsOf(text)) {
        const std::string lower = lowerCase(word);
        for (const auto& [name, divisor] : doses) {
            if (lower == name) {
                set(gray, 1 / divisor, "dose");
            }
        }
        for (const auto& [name, factor] : lengths) {
            if (lower == name) {
                set(millimetres, factor, "length");
            }
        }
    }
}

} // namespace files
