#include "latticeSearchPath.h"

void latticeSearchAvx512(const SearchPass& pass, SearchScratch& scratch, ActiveVoxel& voxel)
{
    VoxelSearch(pass, scratch, voxel).run();
}
