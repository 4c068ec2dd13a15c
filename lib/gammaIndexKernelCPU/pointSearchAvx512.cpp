#include "pointSearchPath.h"

bool pointSearchAvx512(const RotatedPoints& points, ActiveVoxel& voxel)
{
    return RotatedSearch(points, voxel).run();
}
