/**
 * @file maskRegion.h
 * The voxels of a label in a mask.
 */
#ifndef ZARNGI_FILES_STRUCTURES_MASKREGION_H
#define ZARNGI_FILES_STRUCTURES_MASKREGION_H

#include <map>

#include "files/structures/region.h"

namespace files
{

/** Voxels of a grid, from the first one to before the end along each axis. */
struct VoxelBox {
    std::array<int, 3> begin;
    std::array<int, 3> end;
};

/** Around all voxels of each label. */
std::map<std::int32_t, VoxelBox> boxesOf(const LabelGrid& grid);

/** A point belongs to the voxel whose lower face is at or below it and whose upper one is above. */
class MaskRegion : public Region
{
public:
    MaskRegion(LabelRegion region, const VoxelBox& box);

    Runs pointsIn(const Raster& raster) const override;
    OutsideGrid outside(const Geometry& grid) const override;
    double volume() const override;
    std::size_t planes() const override { return 0; }
    std::vector<std::string> notes() const override { return {}; }

private:
    std::vector<int> voxelsOf(const Raster& raster, std::size_t axis) const;
    Runs rowOf(int y, int z, const std::vector<int>& xs) const;
    double volumeWithin(const Geometry& grid) const;
    double lowerFace(std::size_t axis, int index) const;
    template <class Use> void forEachVoxel(const Use& use) const;

    LabelRegion region_;
    VoxelBox box_;
};

} // namespace files

#endif
