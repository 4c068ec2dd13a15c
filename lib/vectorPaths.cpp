// The calls that tell and take sets of instructions.
#include "gammaIndexKernelCPU/paths/vectorPath.h"
#include "libZarnGI.h"

using namespace zarngi::engine;

int zarnGI_getVectorPath(int number, const char** name, int* isSupported)
{
    if (name == nullptr || isSupported == nullptr) {
        return ZARNGI_NULL_POINTER;
    }
    if (number < 0 || number >= vectorPathCount) {
        return ZARNGI_OUT_OF_RANGE;
    }
    *name = vectorPaths[number].name;
    *isSupported = vectorPaths[number].supported() ? 1 : 0;
    return ZARNGI_OK;
}

int zarnGI_setVectorPath(int number)
{
    constexpr int fastest = -1;
    if (number < fastest || number >= vectorPathCount ||
        (number != fastest && !vectorPaths[number].supported())) {
        return ZARNGI_OUT_OF_RANGE;
    }
    forceVectorPath(number == fastest ? nullptr : &vectorPaths[number]);
    return ZARNGI_OK;
}
