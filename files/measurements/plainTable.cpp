#include <algorithm>
#include <optional>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/pixelMatrix.h"
#include "files/measurements/scorerText.h"
#include "files/measurements/tableColumns.h"
#include "files/measurements/tableUnits.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Where the head ends, and what the table is. */
struct Layout {
    std::size_t head = 0; ///< lines of it
    Separator separator = Separator::tab;
    bool isMatrix = false;
    bool hasCorner =
        false; ///< the line of the columns has a cell above the coordinates of the rows
    std::string_view noCorner; ///< a text where a corner might be
    bool isOfPixels = false;   ///< a matrix without coordinates
    Columns columns;
    ToldUnits units;
    bool tellsLength = false;    ///< it or who gave it
    bool placesTellUnit = false; ///< the names of the columns or the corner
};

bool areNumbers(const Cells& cells, std::size_t from, Separator separator)
{
    return cells.size() > from &&
           std::all_of(cells.begin() + static_cast<std::ptrdiff_t>(from), cells.end(),
                       [separator](std::string_view cell) { return isNumber(cell, separator); });
}

/** How the cells of the rows are set apart, which the last line tells: it is no head. */
Separator separatorOfRows(const std::vector<TextLine>& lines)
{
    const std::optional<Separator> separator = separatorOf(lines.back().text);
    if (!separator) {
        refuseUnsupported("is no table of doses: its last line is no row of numbers");
    }
    return *separator;
}

/** What is told beside the coordinates themselves. */
void addOwnUnits(Layout& layout, const ToldUnits& units)
{
    layout.placesTellUnit = units.millimetres.has_value();
    layout.units.add(units);
}

/** Whether a line with a text before its numbers is the top of a matrix. */
bool hasCornerOfMatrix(Layout& layout, std::string_view corner)
{
    const std::optional<ToldUnits> units = unitsOfCorner(corner);
    if (!units) { // "Field size" before 10 and 20
        layout.noCorner = corner;
        return false;
    }
    addOwnUnits(layout, *units);
    layout.isMatrix = layout.hasCorner = true;
    return true;
}

/** Whether the row is that of a matrix without a corner, which is one cell shorter. */
bool hasNoCorner(const Layout& layout, const std::vector<TextLine>& lines, std::size_t cells)
{
    const bool isShort = layout.separator == Separator::blank && layout.head + 1 < lines.size() &&
                         cells > 1 &&
                         cellsOf(lines[layout.head + 1].text, layout.separator).size() == cells + 1;
    if (isShort && cells == 2) {
        refuseUnsupported("has two numbers above rows of three (" + placeOf(lines[layout.head]) +
                          "), which may be sizes; write y\\x before those of a matrix");
    }
    return isShort;
}

/** No line above the rows of pixels is one of them: most of its cells would be numbers. */
void checkHoldsNoRow(const std::vector<TextLine>& head, Separator separator, std::size_t columns)
{
    for (const TextLine& line : head) {
        const Cells cells = cellsOfRow(line.text, separator);
        const auto isOther = [separator](std::string_view cell) {
            return !isNumber(cell, separator);
        };
        const auto others =
            static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), isOther));
        if (!isComment(line.text) && 2 * (cells.size() - others) > columns) {
            refuseDamaged("has \"" + excerpt(*std::find_if(cells.begin(), cells.end(), isOther)) +
                          "\" where a number should be (" + placeOf(line) + ")");
        }
    }
}

/** What rows are whose columns nobody names: those of a matrix, or coordinates and a dose. */
void setRows(Layout& layout, const std::vector<TextLine>& lines, std::size_t cells,
             const TableUnits& given)
{
    const std::vector<TextLine> head(lines.begin(),
                                     lines.begin() + static_cast<std::ptrdiff_t>(layout.head));
    layout.isMatrix = hasNoCorner(layout, lines, cells);
    layout.isOfPixels = !layout.isMatrix && given.pixelSize && cells >= fewestPixelColumns;
    if (!layout.isMatrix && !layout.isOfPixels && !layout.noCorner.empty()) {
        refuseUnsupported(
            "has \"" + excerpt(layout.noCorner) +
            "\" where the corner of a matrix is; write y\\x there, or name the columns");
    }
    if (layout.isOfPixels) {
        checkHoldsNoRow(head, layout.separator, cells);
        checkNamesNoColumns(cells, head, layout.separator);
    } else if (!layout.isMatrix) {
        layout.columns = usualColumns(cells, head, layout.separator);
    }
}

/** Whether a line is the first of the table; sets what it tells. */
bool beginsTable(Layout& layout, const std::vector<TextLine>& lines, std::size_t index,
                 const TableUnits& given)
{
    const TextLine& line = lines[index];
    if (auto named = columnsNamed(line, layout.separator)) {
        layout.columns = *named;
        const bool hasUnits = index + 1 < lines.size() &&
                              takesUnits(layout.columns, lines[index + 1], layout.separator);
        addOwnUnits(layout, layout.columns.units);
        layout.head = index + (hasUnits ? 2 : 1);
        return true;
    }
    if (isComment(line.text)) {
        return false;
    }
    layout.head = index;
    const Cells cells = cellsOfRow(line.text, layout.separator);
    if (cells.size() > 2 && !isNumber(cells[0], layout.separator) &&
        areNumbers(cells, 1, layout.separator)) {
        return hasCornerOfMatrix(layout, cells[0]);
    }
    if (!areNumbers(cells, 0, layout.separator)) {
        return false;
    }
    setRows(layout, lines, cells.size(), given);
    return true;
}

/** The units of a line of the head, if it tells nothing else. */
ToldUnits unitsOfLine(std::string_view line)
{
    // A per cent sign begins a comment, unless it is one of the units of a list.
    const auto next = line.starts_with('%') ? line.find_first_not_of(" \t", 1) : line.size();
    const bool isPercent = next < line.size() && (line[next] == ',' || line[next] == ';');
    return unitsAlone(isPercent ? line : withoutMark(line)).value_or(ToldUnits{});
}

Layout layoutOf(const std::vector<TextLine>& lines, const TableUnits& given)
{
    Layout layout;
    layout.separator = separatorOfRows(lines);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (beginsTable(layout, lines, i, given)) {
            return layout;
        }
        layout.units.add(unitsOfLine(lines[i].text));
    }
    refuseUnsupported("is no table of doses: it has no row of numbers");
}

/** A word of the head that may be the unit of coordinates is not passed over. */
void checkNoOtherLength(const std::vector<TextLine>& lines, const Layout& layout)
{
    for (std::size_t i = 0; i < layout.head; ++i) {
        if (const auto word = doubtfulLength(withoutMark(lines[i].text))) {
            refuseUnsupported("tells no unit of length, but has \"" + excerpt(*word) +
                              "\" among the words of its head (" + placeOf(lines[i]) +
                              "): name the columns as in x (mm), or give the unit");
        }
    }
}

void checkCountsNothing(const std::vector<TextLine>& lines, const Layout& layout)
{
    const auto end = lines.begin() + static_cast<std::ptrdiff_t>(layout.head);
    const auto bins = std::find_if(lines.begin(), end, tellsBins);
    if (bins != end && !layout.placesTellUnit) {
        refuseBins(*bins);
    }
}

/** Fills in what the table does not tell. */
void complete(Layout& layout, const TableUnits& given, const std::vector<TextLine>& lines,
              DoseImage& dose)
{
    checkCountsNothing(lines, layout);
    ToldUnits& told = layout.units;
    if (!told.gray) {
        told.gray = given.gray;
    }
    if (!told.gray) {
        refuseUnsupported(
            "tells no unit of dose: a column's name, as in dose (Gy), or a line of its own must "
            "say Gy or cGy, or the unit be given");
    }
    if (!told.millimetres) {
        told.millimetres = given.millimetres;
    }
    layout.tellsLength = told.millimetres.has_value();
    if (!layout.tellsLength && !layout.isOfPixels) {
        checkNoOtherLength(lines, layout);
        told.millimetres = 1;
        dose.warnings.emplace_back("tells no unit of length; its coordinates are taken for mm");
    }
}

DoseImage readMatrix(const std::vector<TextLine>& lines, const Layout& layout)
{
    MatrixRules rules;
    rules.gray = *layout.units.gray;
    rules.millimetres = *layout.units.millimetres;
    rules.emptyIsHole = true;
    MatrixRows matrix(layout.separator, rules);
    Cells columns = cellsOf(lines[layout.head].text, layout.separator);
    if (layout.hasCorner) {
        columns.erase(columns.begin());
    }
    matrix.setColumns(columns, lines[layout.head]);
    for (std::size_t i = layout.head + 1; i < lines.size(); ++i) {
        matrix.addRow(lines[i]);
    }
    return planeOf(matrix.take());
}

DoseImage readPixels(const std::vector<TextLine>& lines, const Layout& layout, double pixelSize)
{
    PixelMatrix matrix(layout.separator, *layout.units.gray);
    for (std::size_t i = layout.head; i < lines.size(); ++i) {
        matrix.addRow(cellsOfRow(lines[i].text, layout.separator), lines[i]);
    }
    return matrix.plane(pixelSize);
}

DoseImage readColumns(const std::vector<TextLine>& lines, const Layout& layout)
{
    const Columns& columns = layout.columns;
    TableNumbers numbers(layout.separator);
    DosePoints points;
    points.isInSpace = columns.hasZ();
    for (std::size_t i = layout.head; i < lines.size(); ++i) {
        const Cells cells = cellsOfRow(lines[i].text, layout.separator);
        if (cells.size() != columns.count) {
            refuseDamaged("has " + grouped(columns.count) + " columns, but " +
                          grouped(cells.size()) + " cells in " + placeOf(lines[i]));
        }
        Vec3 place{};
        for (std::size_t axis = 0; axis < place.size(); ++axis) {
            if (columns.cells[axis]) {
                place[axis] =
                    numbers.read(cells[*columns.cells[axis]], lines[i]) * *layout.units.millimetres;
            }
        }
        points.places.push_back(place);
        points.values.push_back(
            toGray(numbers.read(cells[*columns.cells[3]], lines[i]), *layout.units.gray));
    }
    if (!columns.areNamed) {
        checkAreCoordinates(points, layout.tellsLength);
    }
    return gridOf(std::move(points));
}

} // namespace

DoseImage readPlainTable(ByteView file, const TableUnits& units)
{
    const std::vector<TextLine> lines = textLines(file);
    if (isTextOfScorer(lines)) {
        refuseScorer();
    }
    Layout layout = layoutOf(lines, units);
    DoseImage told;
    complete(layout, units, lines, told);
    DoseImage dose = layout.isMatrix     ? readMatrix(lines, layout)
                     : layout.isOfPixels ? readPixels(lines, layout, *units.pixelSize)
                                         : readColumns(lines, layout);
    dose.warnings.insert(dose.warnings.begin(), told.warnings.begin(), told.warnings.end());
    return dose;
}

} // namespace files
