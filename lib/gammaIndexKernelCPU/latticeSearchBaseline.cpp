#include "latticeGroup.h"

void latticeSearchBaseline(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group)
{
    searchGroup(pass, scratch, group);
}
