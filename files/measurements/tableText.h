/**
 * @file tableText.h
 * Texts of doses as lines and cells.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_TABLETEXT_H
#define ZARNGI_FILES_MEASUREMENTS_TABLETEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/bytes.h"

namespace files
{

/** A line that is not blank. */
struct TextLine {
    std::size_t number = 0; ///< from 1 on
    std::string_view text;  ///< without its end
};

/** "line 7", for messages. */
std::string placeOf(const TextLine& line);

/** The lines of a text. @throws Refusal when it holds characters that no text has. */
std::vector<TextLine> textLines(ByteView file);

/** How the cells of a line are set apart. A blank: any number of blanks. */
enum class Separator : char { tab = '\t', semicolon = ';', comma = ',', blank = ' ' };

/** The cells of a line, without the blanks around them. */
std::vector<std::string_view> cellsOf(std::string_view line, Separator separator);

/** Whether a cell is a number; a comma is taken for its point unless it sets cells apart. */
bool isNumber(std::string_view cell, Separator separator);

/** The separator by which most of a line is numbers, two of them at least, if there is one. */
std::optional<Separator> separatorOf(std::string_view line);

/** Reads the numbers of a table, which has decimal points or decimal commas, not both. */
class TableNumbers
{
public:
    explicit TableNumbers(Separator separator) : separator_(separator) {}

    /** @param line that holds the cell. @throws Refusal when it is no finite number. */
    double read(std::string_view cell, const TextLine& line);

private:
    Separator separator_;
    bool hasPoint_ = false;
    bool hasComma_ = false;
};

} // namespace files

#endif
