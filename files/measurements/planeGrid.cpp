#include "files/measurements/planeGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "files/error.h"
#include "files/orientation.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr double evenness = 1e-3;     // of a step
constexpr double mostRounding = 0.02; // of a step
constexpr double samePosition = 1e-4; // mm
constexpr std::array<Vec3, 3> ownAxes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

/** The step of positions in their order, negative where they fall; it spans them from end to end.
 */
double evenStep(const std::vector<double>& positions, double rounding, const char* what)
{
    if (positions.size() < 2) {
        refuseUnsupported(std::string("has fewer than two ") + what);
    }
    const double step =
        (positions.back() - positions.front()) / static_cast<double>(positions.size() - 1);
    const double tolerance =
        std::max(evenness * std::fabs(step), std::min(rounding, mostRounding * std::fabs(step)));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const double expected = positions.front() + step * static_cast<double>(i);
        if (!(std::fabs(positions[i] - expected) <= tolerance) || step == 0) {
            refuseUnsupported(std::string("has ") + what + " that are not evenly spaced (" +
                              number(positions[i]) + " mm)");
        }
    }
    return step;
}

std::size_t gapsOf(const std::vector<unsigned char>& isMeasured)
{
    return static_cast<std::size_t>(std::count(isMeasured.begin(), isMeasured.end(), 0));
}

void setGaps(Measurement& measurement, std::vector<unsigned char> isMeasured)
{
    measurement.gaps = gapsOf(isMeasured);
    if (measurement.gaps == isMeasured.size()) {
        refuseUnsupported("holds no dose");
    }
    if (measurement.gaps > 0) {
        measurement.isMeasured = std::move(isMeasured);
    }
}

template <class Values> void turnRows(Values& values, std::size_t width)
{
    const std::size_t rows = values.size() / width;
    const auto row = [&](std::size_t i) {
        return values.begin() + static_cast<std::ptrdiff_t>(i * width);
    };
    for (std::size_t i = 0; i < rows / 2; ++i) {
        std::swap_ranges(row(i), row(i + 1), row(rows - 1 - i));
    }
}

template <class Values> void turnColumns(Values& values, std::size_t width)
{
    for (auto row = values.begin(); row != values.end();
         row += static_cast<std::ptrdiff_t>(width)) {
        std::reverse(row, row + static_cast<std::ptrdiff_t>(width));
    }
}

void checkGrid(const Geometry& geometry)
{
    StoredGeometry stored;
    std::copy(geometry.size.begin(), geometry.size.end(), stored.size.begin());
    stored.spacing = geometry.spacing;
    stored.origin = geometry.origin;
    stored.axes = ownAxes;
    checkGeometry(stored);
}

/** Positions along an axis, if they lie on a raster. */
struct RasterAxis {
    std::size_t size = 0;
    double first = 0;
    double step = 0; ///< 0: all in one place

    std::size_t indexOf(double position) const
    {
        return step == 0 ? 0 : static_cast<std::size_t>(std::llround((position - first) / step));
    }
};

std::vector<double> differentPositions(const DosePoints& points, std::size_t axis)
{
    std::vector<double> positions;
    positions.reserve(points.places.size());
    for (const Vec3& place : points.places) {
        positions.push_back(place[axis]);
    }
    std::sort(positions.begin(), positions.end());
    const double closest = std::max(samePosition, points.rounding);
    const auto isSame = [closest](double a, double b) { return b - a <= closest; };
    positions.erase(std::unique(positions.begin(), positions.end(), isSame), positions.end());
    return positions;
}

std::optional<RasterAxis> rasterOf(const DosePoints& points, std::size_t axis)
{
    constexpr double most = 1e5; // steps
    const std::vector<double> positions = differentPositions(points, axis);
    const double first = positions.front();
    const double length = positions.back() - first;
    if (positions.size() == 1) {
        return RasterAxis{1, first, 0};
    }
    double step = length;
    for (std::size_t i = 1; i < positions.size(); ++i) {
        step = std::min(step, positions[i] - positions[i - 1]);
    }
    const double steps = std::round(length / step);
    if (steps > most) {
        return {};
    }
    step = length / steps;
    const double tolerance = std::max(evenness, points.rounding / step);
    for (const double position : positions) {
        const double index = (position - first) / step;
        if (std::fabs(index - std::round(index)) > tolerance) {
            return {};
        }
    }
    return RasterAxis{static_cast<std::size_t>(steps) + 1, first, step};
}

using Raster = std::array<RasterAxis, 3>;

/** The raster of the places, if they fill a good part of one. */
std::optional<Raster> rasterOf(const DosePoints& points)
{
    constexpr std::size_t sparsest = 16; // places of the raster for each point
    Raster raster;
    std::size_t places = 1;
    std::size_t longest = 1;
    int singles = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::optional<RasterAxis> found = rasterOf(points, axis);
        if (!found) {
            return {};
        }
        raster[axis] = *found;
        singles += found->step == 0 ? 1 : 0;
        longest = std::max(longest, found->size);
        places *= found->size; // at most 1e5 each: no overflow
    }
    // Two points always lie on some raster; on a true one, points share their coordinates.
    if (singles > 1 || points.places.size() <= longest ||
        places / points.places.size() > sparsest) {
        return {};
    }
    return raster;
}

std::string describe(const Vec3& place)
{
    return join(place, ", ");
}

DoseImage onRaster(const DosePoints& points, const Raster& raster)
{
    Geometry geometry{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const bool isSingle = raster[axis].step == 0;
        geometry.size[axis] = static_cast<int>(raster[axis].size);
        geometry.spacing[axis] = isSingle ? planeThickness : raster[axis].step;
        geometry.origin[axis] = raster[axis].first;
    }
    checkGrid(geometry);
    DoseImage dose;
    dose.image.geometry = geometry;
    LargeVector<float> values(geometry.voxels(), 0.0F); // of the gaps
    std::vector<unsigned char> isMeasured(geometry.voxels());
    for (std::size_t i = 0; i < points.places.size(); ++i) {
        const Vec3& place = points.places[i];
        const std::size_t index =
            (raster[2].indexOf(place[2]) * raster[1].size + raster[1].indexOf(place[1])) *
                raster[0].size +
            raster[0].indexOf(place[0]);
        if (isMeasured[index] != 0) {
            refuseDamaged("has two doses in one place (" + describe(place) + ")");
        }
        isMeasured[index] = 1;
        values[index] = points.values[i];
    }
    dose.image.values = std::move(values);
    const auto flat = std::find_if(raster.begin(), raster.end(),
                                   [](const RasterAxis& axis) { return axis.step == 0; });
    Measurement& measurement = dose.measurement.emplace();
    measurement.kind = Measurement::Kind::grid;
    if (flat != raster.end()) {
        measurement.kind = Measurement::Kind::plane;
        measurement.normal = static_cast<std::size_t>(flat - raster.begin());
    }
    measurement.isInSpace = points.isInSpace;
    setGaps(measurement, std::move(isMeasured));
    return dose;
}

void checkDifferent(const std::vector<Vec3>& places)
{
    std::vector<Vec3> sorted = places;
    std::sort(sorted.begin(), sorted.end());
    const auto same = std::adjacent_find(sorted.begin(), sorted.end());
    if (same != sorted.end()) {
        refuseDamaged("has two doses in one place (" + describe(*same) + ")");
    }
}

DoseImage scattered(DosePoints points)
{
    if (points.places.size() > mostPoints) {
        refuseUnsupported("has " + grouped(points.places.size()) +
                          " points that form no raster; up to 10 000 are searched one by one");
    }
    checkDifferent(points.places);
    DoseImage dose;
    dose.image.geometry = {{static_cast<int>(points.values.size()), 1, 1}, {1, 1, 1}, {0, 0, 0}};
    dose.image.values = std::move(points.values);
    Measurement& measurement = dose.measurement.emplace();
    measurement.kind = Measurement::Kind::points;
    measurement.isInSpace = points.isInSpace;
    measurement.points = std::move(points.places);
    return dose;
}

void checkPlaces(const std::vector<Vec3>& places)
{
    constexpr double farthest = 1e5; // mm, as that of grids
    for (const Vec3& place : places) {
        for (const double position : place) {
            if (!(std::fabs(position) <= farthest)) {
                refuseDamaged("has a position of " + number(position) +
                              " mm, which is no sensible one");
            }
        }
    }
}

} // namespace

DoseImage planeOf(DoseMatrix matrix)
{
    const std::size_t width = matrix.x.size();
    const double stepX = evenStep(matrix.x, matrix.roundingX, "columns");
    const double stepY = evenStep(matrix.y, matrix.roundingY, "rows");
    if (stepX < 0) {
        turnColumns(matrix.values, width);
        turnColumns(matrix.isMeasured, width);
    }
    if (stepY < 0) {
        turnRows(matrix.values, width);
        turnRows(matrix.isMeasured, width);
    }
    DoseImage dose;
    dose.image.geometry = {{static_cast<int>(width), static_cast<int>(matrix.y.size()), 1},
                           {std::fabs(stepX), std::fabs(stepY), planeThickness},
                           {std::min(matrix.x.front(), matrix.x.back()),
                            std::min(matrix.y.front(), matrix.y.back()), 0}};
    checkGrid(dose.image.geometry);
    dose.image.values = std::move(matrix.values);
    setGaps(dose.measurement.emplace(), std::move(matrix.isMeasured));
    return dose;
}

DoseImage gridOf(DosePoints points)
{
    if (points.places.empty()) {
        refuseUnsupported("holds no dose");
    }
    checkPlaces(points.places);
    const std::optional<Raster> raster = rasterOf(points);
    return raster ? onRaster(points, *raster) : scattered(std::move(points));
}

} // namespace files
