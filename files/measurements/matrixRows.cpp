#include "files/measurements/matrixRows.h"

#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/text.h"

namespace files
{

float toGray(double dose, double gray)
{
    // Of units that are a whole part of one (cGy, mGy), dose / 100 is rounded once, where 0.01 is
    // rounded before.
    const double parts = std::round(1 / gray);
    return static_cast<float>(gray == 1 / parts ? dose / parts : dose * gray);
}

double lastDigit(std::string_view number)
{
    const auto point = number.find_first_of(".,");
    double unit = 1;
    for (auto i = point; i < number.size() && i + 1 < number.size(); ++i) {
        unit /= 10;
    }
    return unit;
}

/** Rounding is that of the coordinate with most digits: others may be written in short. */
double MatrixRows::coordinate(std::string_view cell, const TextLine& line, double& rounding)
{
    const double value = numbers_.read(cell, line) * rules_.millimetres;
    if (rules_.isRounded) {
        constexpr double slack = 1.001; // what is off by just one digit is not quite so in binary
        const double digit = lastDigit(cell) * rules_.millimetres * slack;
        rounding = rounding == 0 ? digit : std::min(rounding, digit);
    }
    return value;
}

void MatrixRows::setColumns(const std::vector<std::string_view>& cells, const TextLine& line)
{
    const bool hasEmptyEnd = !cells.empty() && cells.back().empty();
    const std::size_t count = cells.size() - (hasEmptyEnd ? 1U : 0U);
    for (std::size_t i = 0; i < count; ++i) {
        matrix_.x.push_back(coordinate(cells[i], line, matrix_.roundingX));
    }
}

void MatrixRows::addRow(const TextLine& line)
{
    const std::vector<std::string_view> cells = cellsOf(line.text, separator_);
    const std::size_t before = 1 + rules_.cellsBefore;
    const std::size_t columns = matrix_.x.size();
    const std::size_t whole = before + columns;
    const bool hasEmptyEnd = cells.size() == whole + 1 && cells.back().empty();
    if (cells.size() != whole && !hasEmptyEnd) {
        refuseDamaged("has " + grouped(columns) + " columns, but " +
                      grouped(cells.size() > before ? cells.size() - before : 0) + " doses in " +
                      placeOf(line));
    }
    matrix_.y.push_back(coordinate(cells[0], line, matrix_.roundingY));
    for (std::size_t i = before; i < whole; ++i) {
        addDose(cells[i], line);
    }
}

void MatrixRows::addDose(std::string_view cell, const TextLine& line)
{
    const bool isEmpty = rules_.emptyIsHole && cell.empty();
    const double dose = isEmpty ? 0 : numbers_.read(cell, line);
    const bool isHole = isEmpty || (rules_.isHole && rules_.isHole(dose));
    matrix_.values.push_back(isHole ? 0 : toGray(dose * rules_.factor, rules_.gray));
    matrix_.isMeasured.push_back(isHole ? 0 : 1);
}

} // namespace files
