#include "paths/vectorPath.h"

#include <algorithm>
#include <iterator>

namespace zarngi::engine
{

namespace
{

const VectorPath* forcedPath = nullptr;

const VectorPath& fastestPath()
{
    return *std::find_if(std::rbegin(vectorPaths), std::rend(vectorPaths),
                         [](const VectorPath& path) { return path.supported(); });
}

} // namespace

const VectorPath vectorPaths[vectorPathCount] = {
    {"portable", [] { return true; }, latticeSearchPortable, pointSearchPortable},
#if defined(__x86_64__)
    {"SSE2", [] { return true; }, latticeSearchSse2, pointSearchSse2},
    {"AVX2",
     [] { return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0; },
     latticeSearchAvx2, pointSearchAvx2},
    {"AVX-512", [] { return __builtin_cpu_supports("avx512f") != 0; }, latticeSearchAvx512,
     pointSearchAvx512},
#endif
};

const VectorPath& vectorPath()
{
    static const VectorPath& fastest = fastestPath();
    return forcedPath != nullptr ? *forcedPath : fastest;
}

void forceVectorPath(const VectorPath* path)
{
    forcedPath = path;
}

} // namespace zarngi::engine
