/**
 * @file contourRegion.h
 * The inside of contours.
 */
#ifndef ZARNGI_FILES_STRUCTURES_CONTOURREGION_H
#define ZARNGI_FILES_STRUCTURES_CONTOURREGION_H

#include "files/structures/planes.h"
#include "files/structures/region.h"

namespace files
{

class ContourRegion : public Region
{
public:
    /**
     * @param sliceDistance       micrometres, of this structure.
     * @param distanceOfOthers    micrometres, of all structures of the file together.
     */
    ContourRegion(Planes planes, std::int64_t sliceDistance, std::int64_t distanceOfOthers);

    Runs pointsIn(const Raster& raster) const override;
    OutsideGrid outside(const Geometry& grid) const override;
    double volume() const override;
    std::size_t planes() const override { return planes_.list.size(); }
    std::size_t repeatedContours() const override { return planes_.repeated; }
    std::vector<std::string> notes() const override;

private:
    std::size_t slabAt(std::int64_t height) const;

    Planes planes_;
    std::int64_t sliceDistance_;
    std::int64_t distanceOfOthers_;
    std::vector<Slab> slabs_;
};

} // namespace files

#endif
