#include "bookkeeping.h"

#include <algorithm>

#include "engineState.h"
#include "statistics.h"

using namespace zarngi::engine;

int getNumPassed()
{
    return static_cast<int>(std::count_if(activeVoxels.begin(), activeVoxels.end(),
                                          [](const ActiveVoxel& v) { return v.passed; }));
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
