#include "testedPlanes.h"

#include "libZarnGI.h"

namespace zarngi::engine
{

namespace
{

int firstPlane = 0;
int planes = 0; ///< 0: all

} // namespace

void setTestedPlanes(int first, int count)
{
    firstPlane = first;
    planes = count;
}

VoxelRange testedVoxels()
{
    if (planes == 0) {
        return {0, Env->N_ref};
    }
    const std::size_t plane =
        static_cast<std::size_t>(Env->nn_ref[0]) * static_cast<std::size_t>(Env->nn_ref[1]);
    const std::size_t first = static_cast<std::size_t>(firstPlane) * plane;
    return {first, first + static_cast<std::size_t>(planes) * plane};
}

} // namespace zarngi::engine
