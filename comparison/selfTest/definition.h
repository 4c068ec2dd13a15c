/**
 * @file definition.h
 * The gamma search as it is defined, one lattice point after another: what the library is held to.
 */
#ifndef ZARNGI_COMPARISON_SELFTEST_DEFINITION_H
#define ZARNGI_COMPARISON_SELFTEST_DEFINITION_H

#include <cstddef>
#include <vector>

namespace zarngi::definition
{

/** One tested voxel. */
struct DefinedVoxel {
    int ivxl;
    bool passed;
    bool stopped;
    float gammasq;
    float distance;
};

/**
 * The search of the grids and parameters in `Env`, over at most `shells` shells, with the current
 * rotation of the library where one is asked for. Uses the library's dose readers and lattice.
 * Each of the threads searches every `threads`-th voxel. It ends with the shell in which the last
 * voxel is stopped: `*searched`, if given, is set to the number of shells. A voxel is also stopped
 * where no point beyond a shell lies in the evaluation box (of a rotated lattice that is not told).
 */
std::vector<DefinedVoxel> searchByDefinition(int shells, std::size_t threads = 1,
                                             int* searched = nullptr);

/** The gamma map that belongs to these voxels. */
std::vector<float> mapByDefinition(const std::vector<DefinedVoxel>& voxels);

} // namespace zarngi::definition

#endif
