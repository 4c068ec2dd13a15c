#include "passedMap.h"

#include "resultMap.h"

namespace zarngi::engine
{

void writePassed(unsigned char* passed)
{
    writeMap(passed, static_cast<unsigned char>(ZARNGI_NOT_TESTED), [](const ActiveVoxel& voxel) {
        return static_cast<unsigned char>(voxel.passed ? ZARNGI_PASSED : ZARNGI_FAILED);
    });
}

bool testsAnything()
{
    return !activeVoxels.empty();
}

} // namespace zarngi::engine
