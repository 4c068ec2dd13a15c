#include "passedMap.h"

#include "engineState.h"

namespace zarngi::engine
{

void writePassed(unsigned char* passed)
{
    for (const ActiveVoxel& voxel : activeVoxels) {
        passed[voxel.ivxl] = voxel.passed ? ZARNGI_PASSED : ZARNGI_FAILED;
    }
}

} // namespace zarngi::engine
