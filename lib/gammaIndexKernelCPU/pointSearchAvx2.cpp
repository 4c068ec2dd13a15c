#include "rotated/groupSearch.h"

bool pointSearchAvx2(const RotatedPoints& points, ActiveVoxel& voxel)
{
    return RotatedSearch(points, voxel).run();
}
