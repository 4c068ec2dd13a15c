#include "files/measurements/pixelPlane.h"

#include <utility>

#include "files/error.h"

namespace files
{

StoredGeometry pixelGeometry(std::int64_t columns, std::int64_t rows, double size)
{
    if (columns < 2 || rows < 2) {
        refuseUnsupported(std::string("has fewer than two ") + (columns < 2 ? "columns" : "rows"));
    }
    StoredGeometry stored;
    stored.size = {columns, rows, 1};
    stored.spacing = {size, size, planeThickness};
    stored.axes = {{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}};
    stored.origin = {-static_cast<double>(columns - 1) * size / 2,
                     static_cast<double>(rows - 1) * size / 2, 0};
    checkGeometry(stored);
    return stored;
}

DoseImage pixelPlane(const StoredGeometry& stored, LargeVector<float> values)
{
    DoseImage dose;
    dose.image = toPatientAxes(stored, std::move(values));
    dose.measurement.emplace();
    dose.tellsPosition = false;
    dose.tellsOrientation = false;
    dose.warnings.emplace_back("tells no position; its middle is put at 0, 0");
    dose.warnings.emplace_back("tells no orientation; its first row is taken for the upper edge");
    return dose;
}

} // namespace files
