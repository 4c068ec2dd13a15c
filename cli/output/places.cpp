#include "cli/output/places.h"

#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Of the axes along which there are places: all of a grid with gaps, two of a plane. */
template <class Values> std::string ofPlaces(const DoseImage& dose, const Values& values)
{
    std::string text;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (!dose.isPlane() || axis != dose.measurement->normal) {
            text += (text.empty() ? "" : " x ") + asText(values[axis]);
        }
    }
    return text;
}

} // namespace

std::string describePlaces(const DoseImage& dose)
{
    const Geometry& grid = dose.image.geometry;
    if (dose.isPoints()) {
        return grouped(dose.image.values.size()) + " points";
    }
    if (!dose.measurement) {
        return join(grid.size, " x ") + " voxels of " + join(grid.spacing, " x ") + " mm";
    }
    const std::size_t gaps = dose.measurement->gaps;
    return ofPlaces(dose, grid.size) + " places of " + ofPlaces(dose, grid.spacing) + " mm" +
           (gaps > 0 ? ", " + std::to_string(dose.image.values.size() - gaps) + " measured"
                     : std::string());
}

std::string describePlacing(const PlacedDoses& placed)
{
    std::string text;
    switch (placed.space) {
    case SearchSpace::volume:
        break;
    case SearchSpace::plane:
        return "in their plane";
    case SearchSpace::points:
        text = "point by point";
        break;
    case SearchSpace::pointsInPlane:
        return "point by point, in the plane";
    }
    if (placed.place) {
        text += (text.empty() ? "" : ", ") + std::string("plane ") + placed.placeName +
                " through " + join(placed.place->at, ", ") + " mm";
    }
    return text;
}

} // namespace zarngi
