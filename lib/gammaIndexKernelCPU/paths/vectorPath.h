/**
 * @file vectorPath.h
 * The sets of instructions the search is compiled for, and the choice among them.
 */
#ifndef ZARNGI_VECTORPATH_H
#define ZARNGI_VECTORPATH_H

#include "lattice/voxelGroup.h"
#include "rotated/pointGroups.h"

namespace zarngi::engine
{

/** The searches of one set of instructions. */
struct VectorPath {
    const char* name;
    bool (*supported)(); ///< whether this CPU runs it
    LatticeSearch latticeSearch;
    PointSearch pointSearch;
};

#if defined(__x86_64__)
constexpr int vectorPathCount = 4;
#else
constexpr int vectorPathCount = 1;
#endif

/**
 * All paths, the slowest first. The first one is compiled for every processor; the second one runs
 * on every x86-64 CPU.
 */
extern const VectorPath vectorPaths[vectorPathCount];

/** The path in use: the fastest one this CPU runs, unless another is forced. */
const VectorPath& vectorPath();

/** Makes the searches use a path that this CPU supports; null: the fastest one. */
void forceVectorPath(const VectorPath* path);

// What each path compiles.
void latticeSearchPortable(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);
bool pointSearchPortable(const RotatedPoints& points, ActiveVoxel& voxel);
void latticeSearchSse2(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);
bool pointSearchSse2(const RotatedPoints& points, ActiveVoxel& voxel);
void latticeSearchAvx2(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);
bool pointSearchAvx2(const RotatedPoints& points, ActiveVoxel& voxel);
void latticeSearchAvx512(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);
bool pointSearchAvx512(const RotatedPoints& points, ActiveVoxel& voxel);

} // namespace zarngi::engine

#endif
