/**
 * @file vectorPath.h
 * The sets of instructions the search is compiled for, and the choice among them.
 */
#ifndef ZARNGI_VECTORPATH_H
#define ZARNGI_VECTORPATH_H

#include "lattice/voxelGroup.h"
#include "rotated/pointGroups.h"

/** The searches of one set of instructions. */
struct VectorPath {
    const char* name;
    bool (*supported)(); ///< whether this CPU runs it
    LatticeSearch latticeSearch;
    PointSearch pointSearch;
};

/** All paths, the slowest first; the first one runs on every x86-64 CPU. */
extern const VectorPath vectorPaths[3];

/** The path in use: the fastest one this CPU runs, unless another is forced. */
const VectorPath& vectorPath();

/** Makes the searches use a path that this CPU supports; null: the fastest one. */
void forceVectorPath(const VectorPath* path);

#endif
