/**
 * @file passedMap.h
 * Which voxels passed, as a map.
 */
#ifndef ZARNGI_PASSEDMAP_H
#define ZARNGI_PASSEDMAP_H

namespace zarngi::engine
{

/**
 * Writes ZARNGI_PASSED or ZARNGI_FAILED for each voxel of activeVoxels.
 * @param passed a byte per reference voxel; those of other voxels stay as they are.
 */
void writePassed(unsigned char* passed);

} // namespace zarngi::engine

#endif
