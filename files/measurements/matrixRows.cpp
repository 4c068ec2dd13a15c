#include "files/measurements/matrixRows.h"

#include "files/error.h"
#include "files/text.h"

namespace files
{

float toGray(double dose, double gray)
{
    constexpr double centigray = 1.0 / 100;
    // cGy / 100 is rounded once, where 0.01 is rounded before.
    return static_cast<float>(gray == centigray ? dose / 100 : dose * gray);
}

void MatrixRows::setColumns(const std::vector<std::string_view>& cells, const TextLine& line)
{
    const bool hasEmptyEnd = !cells.empty() && cells.back().empty();
    const std::size_t count = cells.size() - (hasEmptyEnd ? 1U : 0U);
    for (std::size_t i = 0; i < count; ++i) {
        matrix_.x.push_back(numbers_.read(cells[i], line) * rules_.millimetres);
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
        refuse("has " + grouped(columns) + " columns, but " +
               grouped(cells.size() > before ? cells.size() - before : 0) + " doses in " +
               placeOf(line));
    }
    matrix_.y.push_back(numbers_.read(cells[0], line) * rules_.millimetres);
    for (std::size_t i = before; i < whole; ++i) {
        addDose(cells[i], line);
    }
}

void MatrixRows::addDose(std::string_view cell, const TextLine& line)
{
    const bool isEmpty = rules_.emptyIsHole && cell.empty();
    const double dose = isEmpty ? 0 : numbers_.read(cell, line);
    const bool isHole = isEmpty || (rules_.isHole && rules_.isHole(dose));
    matrix_.values.push_back(isHole ? 0 : toGray(dose, rules_.gray));
    matrix_.isMeasured.push_back(isHole ? 0 : 1);
}

} // namespace files
