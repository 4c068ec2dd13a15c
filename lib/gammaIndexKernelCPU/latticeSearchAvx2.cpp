#include "latticeSearchPath.h"

void latticeSearchAvx2(const SearchPass& pass, SearchScratch& scratch, ActiveVoxel& voxel)
{
    VoxelSearch(pass, scratch, voxel).run();
}
