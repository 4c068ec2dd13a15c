#include "rotated/groupSearch.h"

bool pointSearchAvx512(const RotatedPoints& points, ActiveVoxel& voxel)
{
    return RotatedSearch(points, voxel).run();
}
