/**
 * @file testedPlanes.h
 * Which part of the reference grid computations test: all of it, or some planes of constant z.
 */
#ifndef ZARNGI_TESTEDPLANES_H
#define ZARNGI_TESTEDPLANES_H

#include <cstddef>

namespace zarngi::engine
{

/** Voxels of the reference map from one on, before another. */
struct VoxelRange {
    std::size_t first;
    std::size_t last;

    [[nodiscard]] std::size_t size() const { return last - first; }
};

/** Restricts computations to planes that lie in the reference grid; 0 of them: to all. */
void setTestedPlanes(int first, int count);

/** What is tested, and the part of each map of results that is written or handed out. */
VoxelRange testedVoxels();

} // namespace zarngi::engine

#endif
