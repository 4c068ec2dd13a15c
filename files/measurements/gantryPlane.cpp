#include "files/measurements/gantryPlane.h"

#include <cmath>
#include <numbers>

namespace files
{

namespace
{

constexpr double fineness = 0x1p20;

double rounded(double value, double steps)
{
    return std::round(value * steps) / steps + 0.0; // no minus before a zero
}

} // namespace

PlanePlace gantryPlane(const Vec3& at, double degrees)
{
    constexpr double steps = 0x1p40; // where the last bits of sine and cosine do not show
    const double angle = std::fmod(degrees, 360.0) * std::numbers::pi / 180;
    return {at, {rounded(std::cos(angle), steps), rounded(std::sin(angle), steps), 0}, {0, 0, 1}};
}

Vec3 inSpace(const PlanePlace& plane, double x, double y)
{
    Vec3 place{};
    for (std::size_t i = 0; i < 3; ++i) {
        place[i] = rounded(plane.at[i] + x * plane.right[i] + y * plane.up[i], fineness);
    }
    return place;
}

} // namespace files
