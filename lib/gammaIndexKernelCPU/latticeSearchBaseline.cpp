#include "latticeSearchPath.h"

void latticeSearchBaseline(const SearchPass& pass, SearchScratch& scratch, ActiveVoxel& voxel)
{
    VoxelSearch(pass, scratch, voxel).run();
}
