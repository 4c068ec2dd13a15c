/**
 * @file passedMap.h
 * Which voxels passed, as a map.
 */
#ifndef ZARNGI_PASSEDMAP_H
#define ZARNGI_PASSEDMAP_H

namespace zarngi::engine
{

/**
 * Writes ZARNGI_PASSED or ZARNGI_FAILED for each voxel of activeVoxels, ZARNGI_NOT_TESTED for the
 * others.
 * @param passed a byte per reference voxel.
 */
void writePassed(unsigned char* passed);

/** Whether the last computation tested a voxel. */
bool testsAnything();

} // namespace zarngi::engine

#endif
