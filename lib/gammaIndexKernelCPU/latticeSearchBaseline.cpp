#include "lattice/stages/group.h"

void latticeSearchBaseline(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    searchGroup(pass, scratch, group);
}
