#include <algorithm>
#include <cmath>
#include <optional>

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
using Cells = std::vector<std::string_view>;

/** A section: rows "Ycm ROW numbers", then the lines COL and Xcm of its columns. */
struct Section {
    std::string head;
    Lines rows;
    TextLine columns; ///< Xcm
};

constexpr std::size_t cellsBefore = 2; // Ycm and ROW, or a blank and Xcm

bool isHead(const TextLine& line, std::string_view head)
{
    return trimmed(line.text) == head;
}

bool endsRows(const TextLine& line)
{
    return line.text.starts_with("\tCOL\t");
}

Section sectionAt(const Lines& lines, Place head)
{
    const std::string name = trimmed(head->text);
    const Place names = head + 1;
    if (names == lines.end() || !names->text.starts_with("Ycm\tROW")) {
        refuseDamaged("has a section \"" + name + "\" that does not begin with Ycm and ROW");
    }
    const Place rows = names + 1;
    const Place end = std::find_if(rows, lines.end(), endsRows);
    if (end == lines.end() || end + 1 == lines.end() || !(end + 1)->text.starts_with("\tXcm\t")) {
        refuseDamaged("is cut short: its section \"" + name + "\" does not end with COL and Xcm");
    }
    return {name, {rows, end}, *(end + 1)};
}

/** The section of that head, if there is one. */
std::optional<Section> findSection(const Lines& lines, std::string_view head)
{
    const auto isIt = [head](const TextLine& line) { return isHead(line, head); };
    const Place found = std::find_if(lines.begin(), lines.end(), isIt);
    if (found == lines.end()) {
        return {};
    }
    if (std::find_if(found + 1, lines.end(), isIt) != lines.end()) {
        refuseDamaged("has two sections \"" + std::string(head) + "\"");
    }
    return sectionAt(lines, found);
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
        refuseDamaged("tells " + std::string(key) + " " + excerpt(told) + ", but its doses have " +
                      grouped(count));
    }
}

void checkIsCalibrated(const Lines& lines)
{
    if (parseNumber(entryOf(lines, "Dose per Count:")) == 0) {
        refuseUnsupported(
            "is a detector array that is not calibrated to dose (Dose per Count is 0); "
            "calibrate it in its program and export it anew");
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

/** The cells of a line of numbers; behind the last one a separator may follow. */
Cells cellsOfRow(const TextLine& line)
{
    Cells cells = cellsOf(line.text, Separator::tab);
    if (cells.back().empty()) {
        cells.pop_back();
    }
    return cells;
}

Cells columnsOf(const Section& section)
{
    Cells columns = cellsOfRow(section.columns);
    columns.erase(columns.begin(), columns.begin() + cellsBefore);
    return columns;
}

std::vector<Cells> rowsOf(const Section& section)
{
    std::vector<Cells> rows(section.rows.size());
    std::transform(section.rows.begin(), section.rows.end(), rows.begin(), cellsOfRow);
    return rows;
}

DoseMatrix dosesOf(const Section& doses)
{
    MatrixRules rules;
    rules.millimetres = 10; // Xcm, Ycm
    rules.gray = 1.0 / 100;
    rules.cellsBefore = cellsBefore - 1;
    MatrixRows matrix(Separator::tab, rules);
    matrix.setColumns(columnsOf(doses), doses.columns);
    for (const TextLine& line : doses.rows) {
        matrix.addRow(line);
    }
    return matrix.take();
}

/** Whether the first `count` cells are the same numbers. */
bool areAlike(const Cells& a, const Cells& b, std::size_t count)
{
    const auto isSame = [](std::string_view x, std::string_view y) {
        return parseNumber(x) == parseNumber(y);
    };
    return a.size() == b.size() && a.size() >= count &&
           std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(count), b.begin(), isSame);
}

/** The cells of a section that must lie in the places of the doses. */
std::vector<Cells> rowsLike(const Section& doses, const Section& section)
{
    const std::vector<Cells> expected = rowsOf(doses);
    std::vector<Cells> rows = rowsOf(section);
    const Cells columns = columnsOf(doses);
    if (!areAlike(columnsOf(section), columns, columns.size()) ||
        !std::equal(rows.begin(), rows.end(), expected.begin(), expected.end(),
                    [](const Cells& a, const Cells& b) { return areAlike(a, b, cellsBefore); })) {
        refuseDamaged("has a section \"" + section.head + "\" of other places than \"" +
                      doses.head + "\"");
    }
    return rows;
}

/** Bit 0 of a flag names a detector: one may read 0, and all that reads is one. */
void setMeasured(DoseMatrix& matrix, const Section& doses, const Section& flags)
{
    constexpr double most = 65535;
    TableNumbers numbers(Separator::tab);
    const std::vector<Cells> rows = rowsLike(doses, flags);
    const std::size_t columns = matrix.x.size();
    for (std::size_t i = 0; i < matrix.values.size(); ++i) {
        const TextLine& line = flags.rows[i / columns];
        const double flag = numbers.read(rows[i / columns][i % columns + cellsBefore], line);
        if (!(flag >= 0 && flag <= most && flag == std::floor(flag))) {
            refuseDamaged("has a flag of " + number(flag) + " (" + placeOf(line) + ")");
        }
        const bool isDetector = static_cast<unsigned>(flag) % 2 == 1;
        if (!isDetector && matrix.values[i] != 0) {
            refuseDamaged("has a dose where its Data Flags name no detector (" +
                          placeOf(doses.rows[i / columns]) + ")");
        }
        matrix.isMeasured[i] = isDetector ? 1 : 0;
    }
}

/** Without flags, what reads 0 counts as no detector. */
void leaveOutZeros(DoseMatrix& matrix)
{
    for (std::size_t i = 0; i < matrix.values.size(); ++i) {
        matrix.isMeasured[i] = matrix.values[i] == 0 ? 0 : 1;
    }
}

/** One of the last digit of the numbers that are written with most digits. */
double finestDigit(const std::vector<Cells>& rows)
{
    double finest = 1;
    for (const Cells& cells : rows) {
        for (std::size_t i = cellsBefore; i < cells.size(); ++i) {
            finest = std::min(finest, lastDigit(cells[i]));
        }
    }
    return finest;
}

/** A dose is its corrected count times the dose of a count, as far as digits are written. */
void checkProducts(const Section& doses, const Section& counts, const std::string& dosePerCount)
{
    constexpr double single = 1e-6;   // that programs in single precision may be off
    constexpr double coarsest = 2e-4; // a factor of few digits is thought to have more
    const double factor = parseNumber(dosePerCount);
    const double factorDigit = std::min(lastDigit(dosePerCount), coarsest * std::fabs(factor));
    const std::vector<Cells> rows = rowsOf(doses);
    const std::vector<Cells> others = rowsLike(doses, counts);
    const double digits = finestDigit(rows) + finestDigit(others) * std::fabs(factor);
    TableNumbers numbers(Separator::tab);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = cellsBefore; j < rows[i].size(); ++j) {
            const double dose = numbers.read(rows[i][j], doses.rows[i]);
            const double count = numbers.read(others[i][j], counts.rows[i]);
            const double tolerance =
                (digits + factorDigit * std::fabs(count)) / 2 + single * std::fabs(dose);
            if (!(std::fabs(dose - count * factor) <= tolerance)) {
                refuseDamaged("has a dose of \"" + excerpt(rows[i][j]) +
                              "\", which is not its corrected count times Dose per Count (" +
                              placeOf(doses.rows[i]) + ")");
            }
        }
    }
}

} // namespace

DoseImage readDetectorArray(ByteView file)
{
    const Lines lines = textLines(file);
    checkIsCalibrated(lines);
    const std::optional<Section> doses = findSection(lines, "Dose Counts");
    if (!doses) {
        refuseUnsupported("is a detector array without a section \"Dose Counts\"");
    }
    DoseMatrix matrix = dosesOf(*doses);
    checkCount(lines, "Rows:", matrix.y.size());
    checkCount(lines, "Cols:", matrix.x.size());
    const std::optional<Section> flags = findSection(lines, "Data Flags");
    if (flags) {
        setMeasured(matrix, *doses, *flags);
    } else {
        leaveOutZeros(matrix);
    }
    const std::optional<Section> counts = findSection(lines, "Corrected Counts");
    const std::string dosePerCount = entryOf(lines, "Dose per Count:");
    if (counts && !dosePerCount.empty()) {
        checkProducts(*doses, *counts, dosePerCount);
    }
    DoseImage dose = planeOf(std::move(matrix));
    if (!flags && dose.measurement->gaps > 0) {
        dose.warnings.emplace_back("has no section Data Flags; places that read 0 are taken for "
                                   "places without a detector");
    }
    warnOf(dose, lines);
    return dose;
}

} // namespace files
