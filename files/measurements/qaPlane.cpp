#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/planeHead.h"
#include "files/measurements/tables.h"
#include "files/text.h"

namespace files
{

namespace
{

using Cells = std::vector<std::string_view>;

/** Behind this entry of the head the doses begin. */
constexpr std::string_view lastOfHead = "doseresmm";

Cells cellsTold(const PlaneHead& head, const std::string& key, std::size_t count)
{
    const std::string& entry = head.need(key);
    Cells cells = cellsOf(entry, Separator::comma);
    if (cells.size() != count) {
        refuseDamaged("tells a " + key + " of \"" + excerpt(entry) + "\", which are not " +
                      grouped(count) + " entries");
    }
    return cells;
}

std::array<double, 2> pairTold(const PlaneHead& head, const std::string& key)
{
    std::array<double, 2> pair{};
    const Cells cells = cellsTold(head, key, pair.size());
    std::transform(cells.begin(), cells.end(), pair.begin(), parseNumber);
    if (!std::isfinite(pair[0]) || !std::isfinite(pair[1])) {
        refuseDamaged("tells a " + key + " of \"" + excerpt(head.need(key)) +
                      "\", which are no numbers");
    }
    return pair;
}

/** "DoseUnits, cGy, (100%) , -1.0 cGy, Abs": the unit stands there twice. */
double grayTold(const PlaneHead& head)
{
    constexpr std::size_t count = 4;
    const Cells cells = cellsTold(head, "DoseUnits", count);
    if (lowerCase(cells[3]) != "abs") {
        refuseUnsupported("is a plane of relative doses by XiO or Monaco; export absolute doses");
    }
    const std::string unit = lowerCase(cells[0]);
    if (unit != "gy" && unit != "cgy") {
        refuseUnsupported("has DoseUnits of \"" + excerpt(cells[0]) + "\" (accepted: Gy, cGy)");
    }
    if (!lowerCase(cells[2]).ends_with(" " + unit)) {
        refuseDamaged("tells two units of dose");
    }
    return unit == "gy" ? 1 : 1.0 / 100;
}

/** Positions of an axis, from the first one on. */
std::vector<double> positions(double first, double step, double count)
{
    constexpr double most = 1e5;
    if (!(count >= 2 && count <= most && count == std::floor(count))) {
        refuseDamaged("tells DosePtsxy of " + number(count) +
                      " places along an axis, which is no count");
    }
    std::vector<double> list(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i] = first + static_cast<double>(i) * step;
    }
    return list;
}

/** The grid; its size is told once more in mm. y falls from row to row. */
DoseMatrix gridTold(const PlaneHead& head)
{
    constexpr double tolerance = 0.051; // mm: sizes are rounded to 0.1 mm
    const std::array<double, 2> counts = pairTold(head, "DosePtsxy");
    const std::array<double, 2> first = pairTold(head, "Upperleft");
    const std::array<double, 2> size = pairTold(head, "OutputWidLenQAplane");
    const double step = head.number("DoseResmm");
    if (!(step > 0)) {
        refuseDamaged("tells a DoseResmm of " + number(step));
    }
    DoseMatrix matrix;
    matrix.x = positions(first[0], step, counts[0]);
    matrix.y = positions(first[1], -step, counts[1]);
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const double expected = (counts[axis] - 1) * step;
        if (!(std::fabs(size[axis] - expected) <= tolerance)) {
            refuseDamaged("contradicts itself: " + number(counts[axis]) + " places " +
                          number(step) + " mm apart span " + number(expected) + " mm, not " +
                          number(size[axis]));
        }
    }
    return matrix;
}

void addRow(DoseMatrix& matrix, const TextLine& line, double gray)
{
    Cells cells = cellsOf(line.text, Separator::comma);
    if (cells.size() == matrix.x.size() + 1 && cells.back().empty()) {
        cells.pop_back();
    }
    if (cells.size() != matrix.x.size()) {
        refuseDamaged("tells " + grouped(matrix.x.size()) + " columns, but has " +
                      grouped(cells.size()) + " doses in " + placeOf(line));
    }
    TableNumbers numbers(Separator::comma);
    for (const std::string_view cell : cells) {
        matrix.values.push_back(toGray(numbers.read(cell, line), gray));
    }
}

} // namespace

DoseImage readQaPlane(ByteView file)
{
    const std::vector<TextLine> lines = textLines(file);
    const auto endsHead = [](const TextLine& line) {
        return lowerCase(line.text).starts_with(lastOfHead);
    };
    const auto last = std::find_if(lines.begin(), lines.end(), endsHead);
    if (last == lines.end()) {
        refuseDamaged("is a plane by XiO or Monaco that tells no DoseResmm");
    }
    PlaneHead head;
    std::for_each(lines.begin() + 1, last + 1,
                  [&head](const TextLine& line) { head.add(line, ','); });
    const double gray = grayTold(head);
    DoseMatrix matrix = gridTold(head);
    std::for_each(last + 1, lines.end(), [&](const TextLine& line) { addRow(matrix, line, gray); });
    if (matrix.values.size() != matrix.x.size() * matrix.y.size()) {
        refuseDamaged("tells " + grouped(matrix.y.size()) + " rows, but has " +
                      grouped(matrix.values.size() / matrix.x.size()));
    }
    matrix.isMeasured.assign(matrix.values.size(), 1);
    return planeOf(std::move(matrix));
}

} // namespace files
