/**
 * @file region.h
 * Which points of a dose grid belong to a structure.
 *
 * Contours keep their vertices as written. Heights are whole micrometres. A plane of contours
 * governs from halfway to its lower neighbour up to halfway to its upper neighbour; where that is
 * farther away than 1.5 times the slice distance of the structure, or missing, half the slice
 * distance. Within a plane a point is inside if an odd number of edges cross the ray from it
 * towards smaller x.
 */
#ifndef ZARNGI_FILES_STRUCTURES_REGION_H
#define ZARNGI_FILES_STRUCTURES_REGION_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "files/structures/raster.h"
#include "files/structures/runs.h"
#include "files/structures/structureSet.h"

namespace files
{

/** How much of a structure no point of a grid can stand for. */
struct OutsideGrid {
    std::size_t contours = 0; ///< wholly beside or beyond the faces of the grid
    std::size_t planes = 0;   ///< whose slice lies wholly below or above the grid
    double share = 0;         ///< of the structure's volume, 0 to 1
};

/** A structure ready to be asked. */
class Region
{
public:
    virtual ~Region() = default;

    virtual Runs pointsIn(const Raster& raster) const = 0;
    virtual OutsideGrid outside(const Geometry& grid) const = 0;

    /** cc: contour area times governed thickness, or voxels of the mask. */
    virtual double volume() const = 0;

    /** Planes of contours; 0 for a mask. */
    virtual std::size_t planes() const = 0;

    /** Contours that another one of their plane repeats; they count for nothing. */
    virtual std::size_t repeatedContours() const { return 0; }

    /** What a person should know of it: gaps, contours given twice... continues "NAME: ". */
    virtual std::vector<std::string> notes() const = 0;
};

/**
 * A region for each structure of a set, null where the structure's contours cannot be taken.
 * @param gridSpacing mm, of the dose grid along z: the slice distance where no structure of the
 *                    file has two planes.
 */
std::vector<std::unique_ptr<Region>> regionsOf(const StructureSet& set, double gridSpacing);

} // namespace files

#endif
