#include "lattice/stages/group.h"

void latticeSearchAvx512(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    searchGroup(pass, scratch, group);
}
