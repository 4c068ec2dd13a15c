#include "bookkeeping.h"

#include <algorithm>

#include "engineState.h"

int getNumPassed()
{
    return static_cast<int>(std::count_if(activeVoxels.begin(), activeVoxels.end(),
                                          [](const ActiveVoxel& v) { return v.passed; }));
}

float passRateOf(int passed)
{
    return static_cast<float>(passed * 100.0 / static_cast<double>(activeVoxels.size()));
}

float getGammaPassRate()
{
    return passRateOf(getNumPassed());
}

bool keepSearching()
{
    return std::any_of(activeVoxels.begin(), activeVoxels.end(),
                       [](const ActiveVoxel& v) { return !v.stopSearching; });
}
