/**
 * @file shells.h
 * The search of a computation, shell by shell.
 */
#ifndef ZARNGI_SHELLS_H
#define ZARNGI_SHELLS_H

namespace zarngi::engine
{

/**
 * Goes outwards shell by shell until every voxel of activeVoxels is final or the shell limit is
 * reached.
 * @throws watch::Stopped when the host wants to end it.
 * @throws std::domain_error or std::length_error when the search lattice cannot be searched.
 */
void searchShells();

} // namespace zarngi::engine

#endif
