/**
 * @file raster.h
 * Points at even distances in a dose grid: the centres of its voxels, or of their parts.
 */
#ifndef ZARNGI_FILES_STRUCTURES_RASTER_H
#define ZARNGI_FILES_STRUCTURES_RASTER_H

#include <array>
#include <cstdint>

#include "files/doseImage.h"

namespace files
{

/** The points of a grid; an index counts them along its axis, over all voxels. */
struct Raster {
    Geometry grid;
    std::array<int, 3> parts{1, 1, 1}; ///< of a voxel, along each axis

    std::int64_t size(std::size_t axis) const
    {
        return std::int64_t{grid.size[axis]} * parts[axis];
    }

    /** mm. Point i * p + q of p parts lies at origin + (i + ((q + 0.5) / p - 0.5)) * spacing. */
    double position(std::size_t axis, std::int64_t index) const;

    /** The first index, 0 to size(), whose position is `limit` or more. */
    std::int64_t firstFrom(std::size_t axis, double limit) const;

    /** mm^3 */
    double volumeOfPart() const;
};

/** The centres of the voxels. */
inline Raster voxelCentres(const Geometry& grid)
{
    return {grid, {1, 1, 1}};
}

/** The centres of parts that are at most 1 mm wide, but no more than 8 along an axis. */
Raster finestRaster(const Geometry& grid);

/** One part less along each axis that has more than one. @return false where none has. */
bool coarsen(Raster& raster);

} // namespace files

#endif
