#include "files/measurements/tableColumns.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

/** The cells of a line of names; where blanks set them apart, units in brackets belong to them. */
Cells namesOf(const TextLine& line, Separator separator)
{
    Cells names;
    bool isInBrackets = false;
    for (std::string_view cell : cellsOfRow(withoutMark(line.text), separator)) {
        const bool hasEnd = cell.ends_with(',') || cell.ends_with(';');
        cell.remove_suffix(separator == Separator::blank && hasEnd && cell.size() > 1 ? 1 : 0);
        const bool opens = cell.starts_with('(') || cell.starts_with('[');
        const bool closes = cell.ends_with(')') || cell.ends_with(']');
        const bool goesOn = separator == Separator::blank && (opens || isInBrackets);
        if (!goesOn || names.empty()) {
            names.push_back(cell);
        } else {
            const char* const start = names.back().data();
            names.back() = {start, static_cast<std::size_t>(cell.data() + cell.size() - start)};
        }
        isInBrackets = (isInBrackets || opens) && !closes;
    }
    return names;
}

void refuseNames(const Cells& cells)
{
    refuseUnsupported(
        "has columns named \"" +
        excerpt(join(std::vector<std::string>(cells.begin(), cells.end()), "\", \"")) +
        "\" (accepted: x, y[, z], dose)");
}

/** Which of the names is which column; none where x, y or dose is missing. */
std::optional<Columns> columnsAmong(const Cells& names, const TextLine& line)
{
    Columns columns;
    columns.count = names.size();
    columns.areNamed = true;
    std::size_t named = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::size_t column = columnNamed(names[i]);
        if (column < columns.cells.size()) {
            columns.cells[column] = i;
            ++named;
        }
    }
    if (!columns.cells[0] || !columns.cells[1] || !columns.cells[3]) {
        return {};
    }
    if (named != (columns.hasZ() ? 4 : 3)) {
        refuseDamaged("names a column twice (" + placeOf(line) + ")");
    }
    return columns;
}

std::vector<double> differentPositions(const std::vector<Vec3>& places, std::size_t axis)
{
    std::vector<double> positions;
    positions.reserve(places.size());
    for (const Vec3& place : places) {
        positions.push_back(place[axis]);
    }
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
}

/** Whether positions are whole numbers that count from 0 or 1. */
bool mayCount(const std::vector<double>& positions)
{
    const double first = positions.front();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (positions[i] != first + static_cast<double>(i)) {
            return false;
        }
    }
    return first == 0 || first == 1;
}

} // namespace

bool isComment(std::string_view line)
{
    return line.starts_with('#') || line.starts_with('%') || line.starts_with("//");
}

std::string_view withoutMark(std::string_view line)
{
    return isComment(line) ? line.substr(std::min(line.find_first_not_of("#%/ \t"), line.size()))
                           : line;
}

Cells cellsOfRow(std::string_view line, Separator separator)
{
    Cells cells = cellsOf(line, separator);
    if (cells.size() > 1 && cells.back().empty()) {
        cells.pop_back();
    }
    return cells;
}

std::optional<Columns> columnsNamed(const TextLine& line, Separator separator)
{
    const Cells names = namesOf(line, separator);
    std::optional<Columns> columns = columnsAmong(names, line);
    if (!columns) {
        return {};
    }
    for (const std::string_view name : names) {
        if (columnNamed(name) == columns->cells.size()) {
            refuseUnsupported("has a column \"" + excerpt(name) + "\" (accepted: x, y, z, dose)");
        }
        const std::optional<ToldUnits> units = unitsOfName(name);
        if (!units) {
            refuseUnsupported("has a column \"" + excerpt(name) +
                              "\" (accepted: x, y, z in mm or cm, dose in Gy or cGy)");
        }
        columns->units.add(*units);
    }
    return columns;
}

bool takesUnits(Columns& columns, const TextLine& below, Separator separator)
{
    Cells cells = cellsOf(withoutMark(below.text), separator);
    if (cells.size() == columns.count + 1 && cells.back().empty()) {
        cells.pop_back();
    }
    std::vector<ToldUnits> told;
    for (const std::string_view cell : cells) {
        const std::optional<ToldUnits> units = unitsAlone(cell);
        if (!units) {
            return false;
        }
        told.push_back(*units);
    }
    const bool isDose = columns.cells[3] && *columns.cells[3] < told.size();
    if (cells.size() != columns.count || !isDose || !told[*columns.cells[3]].gray) {
        return false;
    }
    for (std::size_t i = 0; i < told.size(); ++i) {
        if (i == *columns.cells[3] ? told[i].millimetres.has_value() : told[i].gray.has_value()) {
            refuseUnsupported("has units below its columns (" + placeOf(below) +
                              ") that are not those of positions and a dose");
        }
        columns.units.add(told[i]);
    }
    return true;
}

void checkNamesNoColumns(std::size_t count, const std::vector<TextLine>& head, Separator separator)
{
    for (auto line = head.rbegin(); line != head.rend(); ++line) {
        const Cells names = namesOf(*line, separator);
        const bool isNearest = line == head.rbegin();
        const bool mayName = isNearest || separator != Separator::blank || !isComment(line->text);
        if (mayName && names.size() == count) {
            refuseNames(names);
        }
        if (!unitsAlone(withoutMark(line->text))) {
            break;
        }
    }
}

Columns usualColumns(std::size_t count, const std::vector<TextLine>& head, Separator separator)
{
    constexpr std::size_t three = 3;
    constexpr std::size_t four = 4;
    if (count != three && count != four) {
        refuseUnsupported(
            "is no table of doses: its first row of numbers has " + grouped(count) +
            " cells (accepted: columns x, y[, z], dose, a matrix with coordinates along its top "
            "and left edges, or one of five columns or more whose pixel size is given)");
    }
    checkNamesNoColumns(count, head, separator);
    const auto other = std::find_if(head.begin(), head.end(), [](const TextLine& line) {
        return namesInOtherOrder(line.text);
    });
    if (other != head.end()) {
        refuseUnsupported(
            "has columns without names below words in another order than x, y, dose (" +
            placeOf(*other) + "); name the columns in a line with cells like those of the rows");
    }
    Columns columns;
    columns.count = count;
    columns.cells = {0, 1, count == four ? std::optional<std::size_t>(2) : std::nullopt, count - 1};
    return columns;
}

void checkAreCoordinates(const DosePoints& points, bool tellsLength)
{
    constexpr std::size_t fewest = 6;
    const std::size_t count = points.places.size();
    if (count == 1 && tellsLength) { // no matrix
        return;
    }
    std::uint64_t places = 1;
    std::size_t longAxes = 0;
    bool mayAllCount = true;
    for (std::size_t axis = 0; axis < 3 && places <= count; ++axis) {
        const std::vector<double> positions = differentPositions(points.places, axis);
        places *= positions.size();
        longAxes += positions.size() > 1 ? 1U : 0U;
        mayAllCount = mayAllCount && (positions.size() == 1 || mayCount(positions));
    }
    if (longAxes < 2 || places != count || count < fewest) {
        refuseUnsupported(
            "has columns without names, which fill no raster like coordinates: name them, as in "
            "x (mm), y (mm), dose (Gy), or give a matrix its coordinates along its top and left "
            "edges");
    }
    if (mayAllCount && !tellsLength) {
        refuseUnsupported(
            "has columns without names that may count rows and columns: name them, as in x "
            "(mm), y (mm), dose (Gy)");
    }
}

} // namespace files
