/**
 * @file tableColumns.h
 * Which column of a table holds what, and by which evidence.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_TABLECOLUMNS_H
#define ZARNGI_FILES_MEASUREMENTS_TABLECOLUMNS_H

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "files/measurements/planeGrid.h"
#include "files/measurements/tableText.h"
#include "files/measurements/tableUnits.h"

namespace files
{

using Cells = std::vector<std::string_view>;

/** Which cell of a row holds x, y, z and the dose. */
struct Columns {
    std::array<std::optional<std::size_t>, 4> cells; ///< z may be missing
    std::size_t count = 0;
    bool areNamed = false;
    ToldUnits units; ///< in their names

    bool hasZ() const { return cells[2].has_value(); }
};

bool isComment(std::string_view line);

/** A line without what makes it a comment. */
std::string_view withoutMark(std::string_view line);

/** The cells of a row, behind whose last one a separator may follow. */
Cells cellsOfRow(std::string_view line, Separator separator);

/**
 * The columns that a line names, if it names x, y and dose.
 * @throws Refusal when it names others, too, one twice, or a unit that is none of ours.
 */
std::optional<Columns> columnsNamed(const TextLine& line, Separator separator);

/**
 * Whether the line below the names holds a unit for the dose and units or nothing for the others,
 * which become those of the columns. @throws Refusal when they fit not.
 */
bool takesUnits(Columns& columns, const TextLine& below, Separator separator);

/** @param head the lines above so many columns. @throws Refusal when one of them names these */
void checkNamesNoColumns(std::size_t count, const std::vector<TextLine>& head, Separator separator);

/**
 * Columns that nobody names: x, y[, z], dose.
 * @param head the lines above. @throws Refusal when they name others.
 */
Columns usualColumns(std::size_t count, const std::vector<TextLine>& head, Separator separator);

/**
 * Numbers that nobody calls coordinates must behave like such: a matrix of three columns of doses
 * is no list of points.
 * @param tellsLength whether their unit of length is told. @throws Refusal
 */
void checkAreCoordinates(const DosePoints& points, bool tellsLength);

} // namespace files

#endif
