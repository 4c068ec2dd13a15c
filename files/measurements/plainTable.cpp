#include <algorithm>
#include <array>
#include <optional>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

using Cells = std::vector<std::string_view>;

/** Which cell of a row holds x, y, z and the dose. */
struct Columns {
    std::array<std::optional<std::size_t>, 4> cells; ///< z may be missing
    std::size_t count = 0;

    bool hasZ() const { return cells[2].has_value(); }
};

/** Where the head ends, and what the table is. */
struct Layout {
    std::size_t head = 0; ///< lines of it
    Separator separator = Separator::tab;
    bool isMatrix = false;
    bool hasCorner =
        false; ///< the line of the columns has a cell above the coordinates of the rows
    Columns columns;
    ToldUnits units;
};

bool isComment(std::string_view line)
{
    return line.starts_with('#') || line.starts_with('%') || line.starts_with("//");
}

std::string_view withoutMark(std::string_view line)
{
    return isComment(line) ? line.substr(std::min(line.find_first_not_of("#%/ \t"), line.size()))
                           : line;
}

/** The column that a head names: "x", "Y [mm]", "dose (cGy)"; 4: none of them. */
std::size_t columnNamed(std::string_view cell)
{
    static constexpr std::array<std::string_view, 4> names = {"x", "y", "z", "dose"};
    const auto end = std::min(cell.find_first_of(" [(/_"), cell.size());
    const std::string name = lowerCase(cell.substr(0, end));
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

/** The columns that a line names, if it names x, y and dose. */
std::optional<Columns> namedColumns(const Cells& cells, const TextLine& line)
{
    Columns columns;
    columns.count = cells.size();
    std::string_view other;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::size_t column = columnNamed(cells[i]);
        if (column == columns.cells.size()) {
            other = cells[i];
            continue;
        }
        if (columns.cells[column]) {
            refuse("names a column twice (" + placeOf(line) + ")");
        }
        columns.cells[column] = i;
    }
    if (!columns.cells[0] || !columns.cells[1] || !columns.cells[3]) {
        return {};
    }
    if (!other.empty()) {
        refuse("has a column \"" + excerpt(other) + "\" (accepted: x, y, z, dose)");
    }
    return columns;
}

/** Columns that nobody names: x, y[, z], dose. */
Columns usualColumns(std::size_t count)
{
    constexpr std::size_t three = 3;
    constexpr std::size_t four = 4;
    Columns columns;
    columns.count = count;
    if (count == three) {
        columns.cells = {0, 1, std::nullopt, 2};
    } else if (count == four) {
        columns.cells = {0, 1, 2, 3};
    } else {
        refuse("is no table of doses: its first row of numbers has " + grouped(count) +
               " cells (accepted: columns x, y[, z], dose, or a matrix with coordinates along its "
               "top and left edges)");
    }
    return columns;
}

bool areNumbers(const Cells& cells, std::size_t from, Separator separator)
{
    return cells.size() > from &&
           std::all_of(cells.begin() + static_cast<std::ptrdiff_t>(from), cells.end(),
                       [separator](std::string_view cell) { return isNumber(cell, separator); });
}

Cells withoutEmptyEnd(Cells cells)
{
    if (cells.size() > 1 && cells.back().empty()) {
        cells.pop_back();
    }
    return cells;
}

/** Columns of other names than those of doses are not taken for them. */
void checkNamesNothing(const TextLine& before, std::size_t columns, Separator separator)
{
    const Cells cells = withoutEmptyEnd(cellsOf(withoutMark(before.text), separator));
    if (cells.size() == columns) {
        refuse("has columns named \"" +
               excerpt(join(std::vector<std::string>(cells.begin(), cells.end()), "\", \"")) +
               "\" (accepted: x, y[, z], dose)");
    }
}

/** How the cells of the rows are set apart, which the last line tells: it is no head. */
Separator separatorOfRows(const std::vector<TextLine>& lines)
{
    const std::optional<Separator> separator = separatorOf(lines.back().text);
    if (!separator) {
        refuse("is no table of doses: its last line is no row of numbers");
    }
    return *separator;
}

/** The cells of a line of names; where blanks set them apart, units in brackets belong to them. */
Cells namesOf(const TextLine& line, Separator separator)
{
    Cells names;
    bool isInBrackets = false;
    for (const std::string_view cell :
         withoutEmptyEnd(cellsOf(withoutMark(line.text), separator))) {
        const bool opens = cell.starts_with('(') || cell.starts_with('[');
        const bool closes = cell.ends_with(')') || cell.ends_with(']');
        if (separator != Separator::blank || (!opens && !isInBrackets)) {
            names.push_back(cell);
        }
        isInBrackets = (isInBrackets || opens) && !closes;
    }
    return names;
}

/** Whether a line is the first of the table; sets what it tells. */
bool beginsTable(Layout& layout, const std::vector<TextLine>& lines, std::size_t index)
{
    const TextLine& line = lines[index];
    const Cells cells = withoutEmptyEnd(cellsOf(withoutMark(line.text), layout.separator));
    if (const auto named = namedColumns(namesOf(line, layout.separator), line)) {
        layout.columns = *named;
        layout.head = index + 1;
        return true;
    }
    if (isComment(line.text)) {
        return false;
    }
    const bool hasCorner = !cells.empty() && !isNumber(cells[0], layout.separator);
    if (hasCorner && cells.size() > 2 && areNumbers(cells, 1, layout.separator)) {
        layout.units.lookInto(cells[0]);
        layout.isMatrix = layout.hasCorner = true;
        layout.head = index;
        return true;
    }
    if (!areNumbers(cells, 0, layout.separator)) {
        return false;
    }
    layout.head = index;
    const bool isShort =
        index + 1 < lines.size() && cells.size() > 1 &&
        cellsOf(lines[index + 1].text, layout.separator).size() == cells.size() + 1;
    if (layout.separator == Separator::blank && isShort) {
        layout.isMatrix = true;
        return true;
    }
    layout.columns = usualColumns(cells.size());
    if (index > 0) {
        checkNamesNothing(lines[index - 1], cells.size(), layout.separator);
    }
    return true;
}

Layout layoutOf(const std::vector<TextLine>& lines)
{
    Layout layout;
    layout.separator = separatorOfRows(lines);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool isFirst = beginsTable(layout, lines, i);
        if (isFirst && layout.head == i) { // the line holds numbers, no words
            return layout;
        }
        layout.units.lookInto(lines[i].text);
        if (isFirst) {
            return layout;
        }
    }
    refuse("is no table of doses: it has no row of numbers");
}

/** Fills in what the table does not tell. */
void complete(ToldUnits& told, const TableUnits& given, DoseImage& dose)
{
    if (!told.gray) {
        told.gray = given.gray;
    }
    if (!told.gray) {
        refuse("tells no unit of dose: its head must say Gy or cGy, or the unit be given");
    }
    if (!told.millimetres) {
        told.millimetres = given.millimetres;
    }
    if (!told.millimetres) {
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

DoseImage readColumns(const std::vector<TextLine>& lines, const Layout& layout)
{
    const Columns& columns = layout.columns;
    TableNumbers numbers(layout.separator);
    DosePoints points;
    points.isInSpace = columns.hasZ();
    for (std::size_t i = layout.head; i < lines.size(); ++i) {
        const Cells cells = withoutEmptyEnd(cellsOf(lines[i].text, layout.separator));
        if (cells.size() != columns.count) {
            refuse("has " + grouped(columns.count) + " columns, but " + grouped(cells.size()) +
                   " cells in " + placeOf(lines[i]));
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
    return gridOf(std::move(points));
}

} // namespace

DoseImage readPlainTable(ByteView file, const TableUnits& units)
{
    const std::vector<TextLine> lines = textLines(file);
    Layout layout = layoutOf(lines);
    DoseImage told;
    complete(layout.units, units, told);
    DoseImage dose = layout.isMatrix ? readMatrix(lines, layout) : readColumns(lines, layout);
    dose.warnings = std::move(told.warnings);
    return dose;
}

} // namespace files
