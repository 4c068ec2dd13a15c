#include "files/measurements/pixelMatrix.h"

#include <cmath>
#include <utility>

#include "files/error.h"
#include "files/measurements/matrixRows.h"
#include "files/measurements/pixelPlane.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Whether numbers rise or fall evenly, as coordinates do and measured doses do not. */
bool areEven(const std::vector<double>& numbers)
{
    constexpr std::size_t fewest = 4;
    constexpr double tolerance = 1e-3; // of a step
    if (numbers.size() < fewest) {
        return false;
    }
    const double step =
        (numbers.back() - numbers.front()) / static_cast<double>(numbers.size() - 1);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const double expected = numbers.front() + step * static_cast<double>(i);
        if (std::fabs(numbers[i] - expected) > tolerance * std::fabs(step)) {
            return false;
        }
    }
    return step != 0;
}

/** So many values from one on, a stride apart. */
std::vector<double> valuesOf(const LargeVector<float>& values, std::size_t first,
                             std::size_t stride, std::size_t count)
{
    std::vector<double> list;
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back(static_cast<double>(values[first + i * stride]));
    }
    return list;
}

} // namespace

void PixelMatrix::addRow(const std::vector<std::string_view>& cells, const TextLine& line)
{
    width_ = values_.empty() ? cells.size() : width_;
    if (cells.size() != width_) {
        refuseDamaged("has " + grouped(width_) + " columns, but " + grouped(cells.size()) +
                      " doses in " + placeOf(line));
    }
    for (const std::string_view cell : cells) {
        values_.push_back(toGray(numbers_.read(cell, line), gray_));
    }
}

DoseImage PixelMatrix::plane(double pixelSize)
{
    const std::size_t rows = values_.size() / width_;
    const StoredGeometry stored = pixelGeometry(static_cast<std::int64_t>(width_),
                                                static_cast<std::int64_t>(rows), pixelSize);
    // The first number of both is that of a corner, if they are coordinates.
    const bool isRowEven = areEven(valuesOf(values_, 1, 1, width_ - 1));
    if (isRowEven || areEven(valuesOf(values_, width_, width_, rows - 1))) {
        refuseUnsupported(std::string("has a first ") + (isRowEven ? "row" : "column") +
                          " of evenly spaced numbers, as coordinates are: write y\\x in the corner "
                          "of a matrix that has them");
    }
    return pixelPlane(stored, std::move(values_));
}

} // namespace files
