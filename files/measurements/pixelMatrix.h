/**
 * @file pixelMatrix.h
 * A matrix of doses that tells no coordinates: a number for each pixel.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_PIXELMATRIX_H
#define ZARNGI_FILES_MEASUREMENTS_PIXELMATRIX_H

#include <string_view>
#include <vector>

#include "files/doseImage.h"
#include "files/measurements/tableText.h"

namespace files
{

/** Fewer columns may as well be coordinates and a dose. */
constexpr std::size_t fewestPixelColumns = 5;

class PixelMatrix
{
public:
    /** @param gray of one unit of dose */
    PixelMatrix(Separator separator, double gray) : numbers_(separator), gray_(gray) {}

    /** @throws Refusal when a cell is no number, or they are more or fewer than in the row before
     */
    void addRow(const std::vector<std::string_view>& cells, const TextLine& line);

    /** @param pixelSize mm. @throws Refusal when its first row or column may be coordinates */
    DoseImage plane(double pixelSize);

private:
    TableNumbers numbers_;
    double gray_;
    std::size_t width_ = 0;
    LargeVector<float> values_; // Gy
};

} // namespace files

#endif
