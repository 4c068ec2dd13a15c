#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/planeHead.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

/** The sections of a file, each between <its name> and </its name>. */
struct Sections {
    PlaneHead head;
    std::optional<PlaneHead> device; ///< what a section of its own tells of it
    std::vector<std::vector<TextLine>> bodies;
};

/** Notes are the last entry of a head, over any number of lines. */
void addToHead(PlaneHead& head, const std::vector<TextLine>& lines)
{
    for (const TextLine& line : lines) {
        if (lowerCase(stripped(line.text)).starts_with("operators note")) {
            return;
        }
        head.add(line, ':');
    }
}

void addSection(Sections& sections, const std::string& name, std::vector<TextLine> lines,
                const TextLine& first)
{
    if (name == "<asciibody>") {
        sections.bodies.push_back(std::move(lines));
    } else if (name == "<asciiheader>") {
        addToHead(sections.head, lines);
    } else if (name == "<asciiheaderext>") {
        addToHead(sections.device ? *sections.device : sections.device.emplace(), lines);
    } else {
        refuseDamaged("has \"" + excerpt(first.text) + "\" where a section should begin (" +
                      placeOf(first) + ")");
    }
}

Sections sectionsOf(const std::vector<TextLine>& lines)
{
    const auto tagOf = [](const TextLine& line) { return lowerCase(stripped(line.text)); };
    if (lines.empty() || tagOf(lines.front()) != "<opimrtascii>") {
        refuseDamaged("does not begin with <opimrtascii>");
    }
    Sections sections;
    auto line = lines.begin() + 1;
    for (; line != lines.end() && tagOf(*line) != "</opimrtascii>"; ++line) {
        const TextLine& first = *line;
        const std::string name = tagOf(first);
        const std::string last = "</" + name.substr(1);
        std::vector<TextLine> content;
        for (++line; line != lines.end() && tagOf(*line) != last; ++line) {
            content.push_back(*line);
        }
        if (line == lines.end()) {
            break;
        }
        addSection(sections, name, std::move(content), first);
    }
    if (line == lines.end()) {
        refuseDamaged(
            "is cut short or damaged: a section does not end, or </opimrtascii> is missing");
    }
    if (line + 1 != lines.end()) {
        refuseDamaged("goes on behind </opimrtascii> (" + placeOf(*(line + 1)) + ")");
    }
    return sections;
}

std::string lowerEntry(const PlaneHead& head, std::string_view key)
{
    const std::string* const entry = head.find(key);
    return entry == nullptr ? std::string() : lowerCase(*entry);
}

bool contains(const std::string& text, std::string_view word)
{
    return text.find(word) != std::string::npos;
}

/** Refuses, by its kind, what is no dose. */
void checkIsDose(const PlaneHead& head)
{
    const std::string type = lowerEntry(head, "Data Type");
    const std::string unit = lowerEntry(head, "Data Unit");
    if (contains(type, "count") || unit == "cnt") {
        refuseUnsupported(
            "is an IBA plane of counts; calibrate it to dose and export absolute doses");
    }
    if (type.starts_with("rel") || contains(unit, "%")) {
        refuseUnsupported(
            "is an IBA plane of doses relative to one that it does not tell; export absolute "
            "doses");
    }
}

void checkPlane(const Sections& sections)
{
    const std::string& plane = sections.head.need("Plane");
    if (lowerCase(plane) != "xy") {
        refuseUnsupported("is an IBA file of the plane " + excerpt(plane) +
                          "; export its plane XY");
    }
    const std::size_t bodies = sections.bodies.size();
    const std::size_t told =
        sections.head.find("Number of Bodies") ? sections.head.count("Number of Bodies") : bodies;
    if (told != bodies) {
        refuseDamaged("tells " + grouped(told) + " planes, but holds " + grouped(bodies));
    }
    if (bodies != 1) {
        refuseUnsupported("is an IBA file of " + grouped(bodies) + " planes; export one alone");
    }
    const char* const rotation = "Device Rotation";
    if (sections.device && sections.device->find(rotation) &&
        sections.device->number(rotation) != 0) {
        refuseUnsupported("is measured by a rotated device (Device Rotation " +
                          number(sections.device->number(rotation)) +
                          "); export it without rotation");
    }
}

Separator separatorTold(const PlaneHead& head)
{
    std::string told = lowerCase(head.need("Separator"));
    std::erase(told, '"');
    constexpr std::array<std::pair<std::string_view, Separator>, 3> separators{
        {{"[tab]", Separator::tab}, {",", Separator::comma}, {";", Separator::semicolon}}};
    for (const auto& [name, separator] : separators) {
        if (told == name) {
            return separator;
        }
    }
    refuseUnsupported("has a Separator of \"" + excerpt(told) +
                      "\" (accepted: [TAB], comma, semicolon)");
}

double grayTold(const PlaneHead& head, const TableUnits& given)
{
    const std::string* const unit = head.find("Data Unit");
    if (unit == nullptr) {
        if (!given.gray) {
            refuseUnsupported(
                "is an IBA plane that tells no Data Unit: it must be Gy, cGy, mGy or uGy, or "
                "the unit of dose be given");
        }
        return *given.gray;
    }
    constexpr std::array<std::pair<std::string_view, double>, 6> units{{{"gy", 1},
                                                                        {"cgy", 100},
                                                                        {"mgy", 1000},
                                                                        {"ugy", 1e6},
                                                                        {"\xB5gy", 1e6},
                                                                        {"\xC2\xB5gy", 1e6}}};
    for (const auto& [name, parts] : units) {
        if (lowerCase(*unit) == name) {
            return 1 / parts;
        }
    }
    refuseUnsupported("has a Data Unit of \"" + excerpt(*unit) +
                      "\" (accepted: Gy, cGy, mGy, uGy)");
}

/** A dose is number * factor * unit. Where neither stands there, the unit given is of the number.
 */
double factorTold(const PlaneHead& head)
{
    if (!head.find("Data Unit") && !head.find("Data Factor")) {
        return 1;
    }
    const double factor = head.number("Data Factor");
    if (!(factor > 0)) {
        refuseDamaged("has a Data Factor of " + number(factor));
    }
    return factor;
}

double millimetresTold(const PlaneHead& head)
{
    const std::string& unit = head.need("Length Unit");
    if (lowerCase(unit) != "mm" && lowerCase(unit) != "cm") {
        refuseUnsupported("has a Length Unit of \"" + excerpt(unit) + "\" (accepted: mm, cm)");
    }
    return lowerCase(unit) == "mm" ? 1 : 10;
}

/** Whether a line begins with the name of an axis in the unit that the head tells: "X[mm]". */
bool isAxis(const TextLine& line, const std::string& name, const PlaneHead& head)
{
    const std::string start = lowerCase(stripped(line.text));
    return start.starts_with(name + "[" + lowerEntry(head, "Length Unit") + "]");
}

DoseMatrix matrixOf(const Sections& sections, MatrixRules rules)
{
    const PlaneHead& head = sections.head;
    const Separator separator = separatorTold(head);
    const std::vector<TextLine>& body = sections.bodies.front();
    auto line = body.begin();
    if (line != body.end() && lowerCase(line->text).starts_with("plane position")) {
        ++line;
    }
    if (body.end() - line < 2 || !isAxis(*line, "x", head) || !isAxis(*(line + 1), "y", head)) {
        refuseDamaged(
            "has a plane without its lines X and Y, in the unit of length that its head tells");
    }
    MatrixRows rows(separator, std::move(rules));
    auto columns = cellsOf(line->text, separator);
    columns.erase(columns.begin());
    rows.setColumns(columns, *line);
    std::for_each(line + 2, body.end(), [&rows](const TextLine& row) { rows.addRow(row); });
    DoseMatrix matrix = rows.take();
    if (matrix.x.size() != head.count("No. of Columns") ||
        matrix.y.size() != head.count("No. of Rows")) {
        refuseDamaged("has " + grouped(matrix.x.size()) + " columns and " +
                      grouped(matrix.y.size()) + " rows, but tells others");
    }
    return matrix;
}

/** The corners of the 32 x 32 places of a MatriXX have no chamber: they hold what lies around. */
void leaveOutCorners(DoseMatrix& matrix)
{
    constexpr std::size_t side = 32;
    if (matrix.x.size() != side || matrix.y.size() != side) {
        return;
    }
    for (const std::size_t corner :
         {std::size_t{0}, side - 1, side * (side - 1), side * side - 1}) {
        matrix.values[corner] = 0;
        matrix.isMeasured[corner] = 0;
    }
}

} // namespace

DoseImage readIbaPlane(ByteView file, const TableUnits& given)
{
    const Sections sections = sectionsOf(textLines(file));
    const PlaneHead& head = sections.head;
    checkIsDose(head);
    checkPlane(sections);
    const std::string* const told =
        sections.device ? sections.device->find("Device Type") : nullptr;
    const std::string device = told ? *told : std::string();
    const bool isStar = contains(lowerCase(device), "startrack");
    MatrixRules rules;
    rules.millimetres = millimetresTold(head);
    rules.factor = factorTold(head);
    rules.gray = grayTold(head, given);
    rules.isRounded = true;
    if (isStar) { // places between the arms of its star
        rules.isHole = [](double dose) { return dose == 0; };
    }
    DoseMatrix matrix = matrixOf(sections, std::move(rules));
    const bool isMatrix = contains(lowerCase(device), "matrixx");
    if (isMatrix) {
        leaveOutCorners(matrix);
    }
    DoseImage dose = planeOf(std::move(matrix));
    if (sections.device && !isStar && !isMatrix) {
        dose.warnings.push_back("is measured by a device \"" + excerpt(device) +
                                "\", of which it is not known which places have no detector; all "
                                "count");
    }
    return dose;
}

} // namespace files
