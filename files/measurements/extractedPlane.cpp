#include <algorithm>
#include <optional>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/tableUnits.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr std::string_view corner = "*Y\\X";

/** The one value of a head line "*Key:", if there is one. */
std::optional<std::string> entryOf(const std::vector<TextLine>& head, const std::string& key)
{
    std::optional<std::string> entry;
    for (const TextLine& line : head) {
        if (line.text.starts_with("*" + key + ":")) {
            const std::string value = trimmed(line.text.substr(key.size() + 2));
            if (entry && *entry != value) {
                refuseDamaged("gives \"" + key + "\" twice");
            }
            entry = value;
        }
    }
    return entry;
}

std::string need(const std::vector<TextLine>& head, const std::string& key)
{
    const std::optional<std::string> entry = entryOf(head, key);
    if (!entry) {
        refuseDamaged("tells no \"" + key + "\"");
    }
    return *entry;
}

/** The units stand alone in their lines. */
ToldUnits unitsOf(const std::vector<TextLine>& head)
{
    const std::string dose = need(head, "Dose Units");
    const std::string length = need(head, "Coordinate Units");
    ToldUnits units = unitNamed(dose).value_or(ToldUnits{});
    if (!units.gray) {
        refuseUnsupported("has Dose Units of \"" + excerpt(dose) + "\" (accepted: Gy, cGy)");
    }
    units.millimetres = unitNamed(length).value_or(ToldUnits{}).millimetres;
    if (!units.millimetres) {
        refuseUnsupported("has Coordinate Units of \"" + excerpt(length) + "\" (accepted: mm, cm)");
    }
    return units;
}

MatrixRules rulesOf(const std::vector<TextLine>& head)
{
    const ToldUnits units = unitsOf(head);
    MatrixRules rules;
    rules.gray = *units.gray;
    rules.millimetres = *units.millimetres;
    const std::string hole = entryOf(head, "Hole Value").value_or("None");
    if (lowerCase(hole) != "none") {
        const double value = parseNumber(hole);
        if (value != value) {
            refuseDamaged("has a Hole Value of \"" + excerpt(hole) + "\", which is no number");
        }
        rules.isHole = [value](double dose) { return dose == value; };
    }
    return rules;
}

} // namespace

DoseImage readExtractedPlane(ByteView file)
{
    const std::vector<TextLine> lines = textLines(file);
    const auto top = std::find_if(lines.begin(), lines.end(), [](const TextLine& line) {
        return line.text.starts_with(corner);
    });
    if (top == lines.end()) {
        refuseDamaged("has no line of columns that begins with *Y\\X");
    }
    const std::vector<TextLine> head(lines.begin(), top);
    MatrixRows matrix(Separator::tab, rulesOf(head));
    auto columns = cellsOf(top->text, Separator::tab);
    columns.erase(columns.begin());
    matrix.setColumns(columns, *top);
    std::for_each(top + 1, lines.end(), [&matrix](const TextLine& line) { matrix.addRow(line); });
    return planeOf(matrix.take());
}

} // namespace files
