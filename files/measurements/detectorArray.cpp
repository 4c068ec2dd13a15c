#include <algorithm>
#include <array>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

using Lines = std::vector<TextLine>;
using Place = Lines::const_iterator;

/** The section of that head; its rows stand behind its line "Ycm ROW". */
Place rowsOf(const Lines& lines, std::string_view head)
{
    const auto isHead = [head](const TextLine& line) { return trimmed(line.text) == head; };
    const auto found = std::find_if(lines.begin(), lines.end(), isHead);
    if (found == lines.end()) {
        refuse("is a detector array without a section \"" + std::string(head) + "\"");
    }
    if (std::find_if(found + 1, lines.end(), isHead) != lines.end()) {
        refuse("has two sections \"" + std::string(head) + "\"");
    }
    const Place names = found + 1;
    if (names == lines.end() || !names->text.starts_with("Ycm\tROW")) {
        refuse("has a section \"" + std::string(head) + "\" that does not begin with Ycm and ROW");
    }
    return names + 1;
}

bool endsRows(const TextLine& line)
{
    return line.text.starts_with("\tCOL\t");
}

/** What the head tells under a key, if it does. */
std::string entryOf(const Lines& lines, std::string_view key)
{
    for (const TextLine& line : lines) {
        if (line.text.starts_with(key)) {
            return trimmed(line.text.substr(key.size()));
        }
    }
    return {};
}

void checkCount(const Lines& lines, std::string_view key, std::size_t count)
{
    const std::string told = entryOf(lines, key);
    if (!told.empty() && parseNumber(told) != static_cast<double>(count)) {
        refuse("tells " + std::string(key) + " " + excerpt(told) + ", but its doses have " +
               grouped(count));
    }
}

void warnOf(DoseImage& dose, const Lines& lines)
{
    for (const std::string key : {"Shift X:", "Shift Y:", "Shift Z:", "Rotation X:", "Rotation Y:",
                                  "Rotation Z:", "Overrange Error:"}) {
        const std::string entry = entryOf(lines, key);
        const double value = parseNumber(entry.substr(0, entry.find('\t')));
        if (value != 0 && !entry.empty()) {
            dose.warnings.push_back("tells \"" + key + " " + excerpt(oneLine(entry)) +
                                    "\", which is not taken into account");
        }
    }
}

} // namespace

DoseImage readDetectorArray(ByteView file)
{
    const Lines lines = textLines(file);
    const Place rows = rowsOf(lines, "Dose Counts");
    const Place end = std::find_if(rows, lines.end(), endsRows);
    if (end == lines.end() || end + 1 == lines.end() || !(end + 1)->text.starts_with("\tXcm\t")) {
        refuse("is cut short: its section \"Dose Counts\" does not end with COL and Xcm");
    }
    MatrixRules rules;
    rules.millimetres = 10; // Xcm, Ycm
    rules.gray = 1.0 / 100;
    rules.isHole = [](double dose) { return dose == 0; };
    rules.cellsBefore = 1; // the number of the row
    MatrixRows matrix(Separator::tab, rules);
    auto columns = cellsOf((end + 1)->text, Separator::tab);
    columns.erase(columns.begin(), columns.begin() + 2);
    matrix.setColumns(columns, *(end + 1));
    std::for_each(rows, end, [&matrix](const TextLine& line) { matrix.addRow(line); });
    DoseMatrix doses = matrix.take();
    checkCount(lines, "Rows:", doses.y.size());
    checkCount(lines, "Cols:", doses.x.size());
    DoseImage dose = planeOf(std::move(doses));
    warnOf(dose, lines);
    return dose;
}

} // namespace files
