/**
 * @file maskRuns.h
 * The voxels of a mask as runs along its rows.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_MASKRUNS_H
#define ZARNGI_COMPARISON_STRUCTURES_MASKRUNS_H

#include <span>

#include "comparison/doseImage.h"
#include "files/structures/runs.h"

namespace zarngi
{

/** @param mask for each voxel of the grid not 0: it belongs to it */
files::Runs runsOf(const Geometry& grid, std::span<const unsigned char> mask);

} // namespace zarngi

#endif
