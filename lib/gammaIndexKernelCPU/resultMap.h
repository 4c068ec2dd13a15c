/**
 * @file resultMap.h
 * Writing maps of what came out, by several threads and with each part of the memory gone through
 * once.
 */
#ifndef ZARNGI_RESULTMAP_H
#define ZARNGI_RESULTMAP_H

#include <algorithm>
#include <cstddef>
#include <new>

#include "engineState.h"
#include "shares.h"
#include "testedPlanes.h"

namespace zarngi::engine
{

/** Writes some elements of a map, piece by piece: those of a piece are still in the cache. */
template <class Value, class ValueOf>
void writePart(Value* map, std::size_t first, std::size_t last, Value untested, ValueOf valueOf)
{
    constexpr std::size_t piece = 4096;
    const auto liesBefore = [](const ActiveVoxel& voxel, std::size_t i) {
        return static_cast<std::size_t>(voxel.ivxl) < i;
    };
    auto voxel = std::lower_bound(activeVoxels.begin(), activeVoxels.end(), first, liesBefore);
    for (; first < last; first += piece) {
        const std::size_t end = std::min(first + piece, last);
        std::fill(map + first, map + end, untested);
        for (; voxel != activeVoxels.end() && liesBefore(*voxel, end); ++voxel) {
            map[voxel->ivxl] = valueOf(*voxel);
        }
    }
}

/**
 * Writes a map of the reference grid, in the planes that are tested: valueOf(voxel) in the voxels
 * of activeVoxels. It never fails: where there is no memory for threads, the calling one writes it.
 * @param untested in all other voxels.
 */
template <class Value, class ValueOf> void writeMap(Value* map, Value untested, ValueOf valueOf)
{
    const VoxelRange range = testedVoxels();
    const auto write = [&](std::size_t first, std::size_t last) {
        writePart(map, range.first + first, range.first + last, untested, valueOf);
    };
    try {
        forShares(static_cast<std::size_t>(Env->num_threads), range.size(), write);
    } catch (const std::bad_alloc&) {
        write(0, range.size());
    }
}

} // namespace zarngi::engine

#endif
