#include "latticeCandidates.h"
#include "latticeCells.h"
#include "latticeVoxels.h"

void latticeSearchAvx2(const SearchPass& pass, SearchScratch& scratch, ActiveVoxel& voxel)
{
    VoxelSearch(pass, scratch, voxel).run();
}
