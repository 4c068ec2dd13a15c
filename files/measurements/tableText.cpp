#include "files/measurements/tableText.h"

#include <algorithm>
#include <cmath>

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

/** How many cells of a line are numbers, and how many are neither that nor empty. */
struct CellCounts {
    std::size_t numbers = 0;
    std::size_t others = 0;
};

CellCounts countsOf(std::string_view line, Separator separator)
{
    CellCounts counts;
    for (const std::string_view cell : cellsOf(line, separator)) {
        const bool isOne = isNumber(cell, separator);
        counts.numbers += isOne ? 1U : 0U;
        counts.others += isOne || cell.empty() ? 0U : 1U;
    }
    return counts;
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
            refuseDamaged("is no text: line " + std::to_string(number) +
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
    for (const Separator separator :
         {Separator::tab, Separator::semicolon, Separator::comma, Separator::blank}) {
        const CellCounts counts = countsOf(line, separator);
        if (counts.numbers < 2 || counts.others > 1) {
            continue;
        }
        // "1,25 10 96,875": decimal commas between blanks.
        const bool isDecimal = separator == Separator::comma && counts.others == 1 &&
                               countsOf(line, Separator::blank).others == 0;
        return isDecimal ? Separator::blank : separator;
    }
    return {};
}

double TableNumbers::read(std::string_view cell, const TextLine& line)
{
    const double value = parseNumber(withPoint(cell, separator_));
    if (!std::isfinite(value)) {
        refuseDamaged("has \"" + excerpt(cell) + "\" where a number should be (" + placeOf(line) +
                      ")");
    }
    hasPoint_ = hasPoint_ || cell.find('.') != std::string_view::npos;
    hasComma_ = hasComma_ || cell.find(',') != std::string_view::npos;
    if (hasPoint_ && hasComma_) {
        refuseDamaged("has decimal points and decimal commas (" + placeOf(line) + ")");
    }
    return value;
}

} // namespace files
