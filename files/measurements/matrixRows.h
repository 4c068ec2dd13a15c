/**
 * @file matrixRows.h
 * The rows of a matrix of doses: a coordinate, and a dose for each column.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_MATRIXROWS_H
#define ZARNGI_FILES_MEASUREMENTS_MATRIXROWS_H

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "files/measurements/planeGrid.h"
#include "files/measurements/tableText.h"

namespace files
{

/**
 * How the numbers of a matrix become mm and Gy, and which of them are no dose. A dose is the number
 * times the factor, then toGray(): two steps in double precision, and one rounding to a float.
 */
struct MatrixRules {
    double millimetres = 1;                  ///< of one unit of length
    double factor = 1;                       ///< of the numbers, in units of dose
    double gray = 1;                         ///< of one unit of dose
    std::function<bool(double)> isHole = {}; ///< a number that stands for no dose; may be empty
    bool emptyIsHole = false;                ///< else an empty cell is refused
    std::size_t cellsBefore = 0;             ///< between the coordinate and the doses, not read
    bool isRounded = false; ///< evenly spaced coordinates may be rounded to their last digit
};

/** dose * gray, rounded to a float; divided where that is exact. */
float toGray(double dose, double gray);

/** One of the last digit that a number is written with. */
double lastDigit(std::string_view number);

class MatrixRows
{
public:
    MatrixRows(Separator separator, MatrixRules rules)
        : separator_(separator), numbers_(separator), rules_(std::move(rules))
    {
    }

    /** The coordinates of the columns; behind the last one a separator may follow. @throws Refusal
     */
    void setColumns(const std::vector<std::string_view>& cells, const TextLine& line);

    /** @throws Refusal when it has not one number for each column. */
    void addRow(const TextLine& line);

    DoseMatrix take() { return std::move(matrix_); }

private:
    double coordinate(std::string_view cell, const TextLine& line, double& rounding);
    void addDose(std::string_view cell, const TextLine& line);

    Separator separator_;
    TableNumbers numbers_;
    MatrixRules rules_;
    DoseMatrix matrix_;
};

} // namespace files

#endif
