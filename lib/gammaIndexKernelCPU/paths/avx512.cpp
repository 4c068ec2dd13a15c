#include "lattice/stages/group.h"
#include "paths/vectorPath.h"
#include "rotated/groupSearch.h"

namespace zarngi::engine
{

void latticeSearchAvx512(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    searchGroup(pass, scratch, group);
}

bool pointSearchAvx512(const RotatedPoints& points, ActiveVoxel& voxel)
{
    return RotatedSearch(points, voxel).run();
}

} // namespace zarngi::engine
