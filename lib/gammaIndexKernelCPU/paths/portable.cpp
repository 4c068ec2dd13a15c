// Also where the processor has vectors with a file of their own.
#define ZARNGI_PORTABLE_LANES

#include "lattice/stages/group.h"
#include "paths/vectorPath.h"
#include "rotated/groupSearch.h"

namespace zarngi::engine
{

void latticeSearchPortable(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    searchGroup(pass, scratch, group);
}

bool pointSearchPortable(const RotatedPoints& points, ActiveVoxel& voxel)
{
    return RotatedSearch(points, voxel).run();
}

} // namespace zarngi::engine
