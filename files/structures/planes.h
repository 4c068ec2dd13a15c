/**
 * @file planes.h
 * The contours of a structure by their planes, and which heights each plane stands for.
 */
#ifndef ZARNGI_FILES_STRUCTURES_PLANES_H
#define ZARNGI_FILES_STRUCTURES_PLANES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "files/structures/structureSet.h"

namespace files
{

/** Whole micrometres, so that ties have one answer; halves upward. @param z mm */
std::int64_t heightOf(double z);

/** A closed line in a plane, x and y in mm. */
using Loop = std::vector<std::array<double, 2>>;

struct Plane {
    std::int64_t height; ///< micrometres
    std::vector<Loop> loops;
};

/** What a structure consists of. */
struct Planes {
    std::vector<Plane> list; ///< by height
    /** Contours that another one of the plane repeats, from any vertex on, either way round. */
    std::size_t repeated = 0;
};

Planes planesOf(const std::vector<Contour>& contours);

/** Micrometres between neighbours, added to the list. */
void addDistances(const std::vector<Plane>& planes, std::vector<std::int64_t>& distances);

/** The median, of an even number the lower one in the middle. @param distances one or more */
std::int64_t medianOf(std::vector<std::int64_t> distances);

/** The heights that a plane stands for, in quarters of micrometres: halves of halves are whole. */
struct Slab {
    std::int64_t lower; ///< included
    std::int64_t upper; ///< not included

    double thickness() const { return static_cast<double>(upper - lower) / 4000; } ///< mm
};

/** Whether planes are too far apart to be neighbours. */
constexpr bool isGap(std::int64_t distance, std::int64_t sliceDistance)
{
    return 2 * distance > 3 * sliceDistance;
}

/** One for each plane. @param sliceDistance micrometres */
std::vector<Slab> slabsOf(const std::vector<Plane>& planes, std::int64_t sliceDistance);

} // namespace files

#endif
