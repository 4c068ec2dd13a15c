#include "bookkeeping.h"

#include <algorithm>

#include "engineState.h"

int getNumPassed()
{
    return static_cast<int>(std::count_if(activeVoxels.begin(), activeVoxels.end(),
                                          [](const ActiveVoxel& v) { return v.passed; }));
}

float getGammaPassRate()
{
    return static_cast<float>(getNumPassed() * 100.0 / static_cast<double>(activeVoxels.size()));
}

bool keepSearching()
{
    return std::any_of(activeVoxels.begin(), activeVoxels.end(),
                       [](const ActiveVoxel& v) { return !v.stopSearching; });
}
