#include "comparison/doseSampling.h"

#include <algorithm>

namespace zarngi
{

AxisPlace placeOf(const Geometry& grid, std::size_t axis, double position)
{
    const int last = grid.size[axis] - 1;
    const double index = (position - grid.origin[axis]) / grid.spacing[axis];
    AxisPlace place;
    place.isInside = index >= -0.5 && index <= last + 0.5;
    const double limited = std::clamp(index, 0.0, static_cast<double>(last));
    place.lower = static_cast<int>(limited);
    place.upper = std::min(place.lower + 1, last);
    place.fraction = limited - place.lower;
    return place;
}

DoseView viewOf(const Image& image)
{
    return {image.geometry, image.values};
}

} // namespace zarngi
