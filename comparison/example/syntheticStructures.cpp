#include "comparison/example/syntheticStructures.h"

#include <cmath>
#include <numbers>

namespace zarngi
{

namespace
{

using files::Contour;
using files::Structure;

constexpr double planeDistance = 3; // mm

struct Ellipse {
    double x; // centre, mm
    double y;
    double halfX;
    double halfY;
};

Contour contourOf(const Ellipse& ellipse, double z)
{
    constexpr int vertices = 72;
    Contour contour;
    for (int i = 0; i < vertices; ++i) {
        const double angle = 2 * std::numbers::pi * i / vertices;
        contour.vertices.push_back({ellipse.x + ellipse.halfX * std::cos(angle),
                                    ellipse.y + ellipse.halfY * std::sin(angle), z});
    }
    return contour;
}

/** Planes from -`planes` to +`planes`; the ends of a rounded structure are narrower. */
std::vector<Contour> tube(const Ellipse& ellipse, int planes, bool isRounded)
{
    std::vector<Contour> contours;
    for (int plane = -planes; plane <= planes; ++plane) {
        const double height = static_cast<double>(plane) / (planes + 1);
        const double width = isRounded ? std::sqrt(1 - height * height) : 1;
        contours.push_back(
            contourOf({ellipse.x, ellipse.y, ellipse.halfX * width, ellipse.halfY * width},
                      plane * planeDistance));
    }
    return contours;
}

Structure structure(int number, const char* name, const char* type,
                    const std::array<std::uint8_t, 3>& colour, std::vector<Contour> contours)
{
    Structure made;
    made.name = name;
    made.number = number;
    made.colour = colour;
    made.type = type;
    made.contours = std::move(contours);
    return made;
}

} // namespace

files::StructureSet syntheticStructures()
{
    std::vector<Contour> target = tube({0, 5, 34, 26}, 12, true);
    for (Contour& hole : tube({8, 5, 8, 8}, 8, false)) {
        target.push_back(std::move(hole));
    }
    files::StructureSet set;
    set.label = "DEMO";
    set.sopInstance = "2.25.20240229";
    set.structures = {
        structure(1, "Body", "EXTERNAL", {0, 160, 90}, tube({0, 0, 150, 105}, 39, false)),
        structure(2, "PTV", "PTV", {220, 40, 40}, std::move(target)),
        structure(3, "Organ", "ORGAN", {60, 120, 220}, tube({-56, 12, 16, 20}, 11, true))};
    return set;
}

} // namespace zarngi
