#include "rotated/groupSearch.h"

bool pointSearchBaseline(const RotatedPoints& points, ActiveVoxel& voxel)
{
    return RotatedSearch(points, voxel).run();
}
