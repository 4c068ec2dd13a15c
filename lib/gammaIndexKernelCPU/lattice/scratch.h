/**
 * @file scratch.h
 * The working memory of the workers of a pass.
 */
#ifndef ZARNGI_LATTICE_SCRATCH_H
#define ZARNGI_LATTICE_SCRATCH_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "lattice/pass.h"

namespace zarngi::engine
{

/** Lattice points on one axis whose dose is interpolated between the same voxel centres. */
struct CellRun {
    std::int32_t first;
    std::int32_t last;
    std::int32_t lower; ///< voxel below
    std::int32_t upper; ///< voxel above; `lower` where the dose does not change along the run
    float offset;       ///< the fraction between them is offset + slope * index ...
    float slope;
    float deviation; ///< ... up to this much
};

/** Lattice points on one axis that lie in the same voxel and the same zone. */
struct VoxelRun {
    std::int32_t first;
    std::int32_t last;
    std::int32_t nearest; ///< the index of the run nearest to 0
    AxisPoint point;
};

/** A lattice point, by its indices. */
struct LatticePoint {
    float index[3];
};

/** Items in memory that somebody else owns, filled from the front. */
template <class T> struct BorrowedList {
    T* items = nullptr;
    std::int32_t count = 0;

    [[nodiscard]] const T* begin() const { return items; }
    [[nodiscard]] const T* end() const { return items + count; }
};

/** The interpolated lattice points along z around one reference index, by cells. */
struct AxisWindow {
    std::int32_t referenceIndex = -1; ///< the index the window was made for; -1: none
    BorrowedList<CellRun> runs;
};

/** The lattice points on one axis around one reference index, by voxels. */
struct AxisVoxels {
    std::int32_t referenceIndex = -1; ///< the index they were found for; -1: none
    BorrowedList<VoxelRun> runs;
};

/**
 * Uninitialized memory for the structures of a worker's search, kept from pass to pass: on the
 * stack of a new thread its pages would be fetched from the system again in each of them.
 */
class SearchMemory
{
public:
    SearchMemory() : bytes_(new std::byte[size + alignment]) {}

    [[nodiscard]] void* aligned() const
    {
        void* begin = bytes_.get();
        std::size_t space = size + alignment;
        return std::align(alignment, size, begin, space);
    }

    static constexpr std::size_t size = 128 << 10;

private:
    static constexpr std::size_t alignment = 64;

    std::unique_ptr<std::byte[]> bytes_;
};

/**
 * The working memory of one worker, made before the pass: workers allocate nothing. The vector
 * paths see pointers only: code of the standard library compiled for one path must not be merged
 * with that of another.
 */
class alignas(64) SearchScratch // workers write theirs side by side
{
public:
    SearchScratch(const SearchPass& pass, const SearchMemory& memory);

    void* structures; ///< SearchMemory::size bytes for what a group is searched with

    bool leftOpen = false;    ///< it has left a voxel open: another pass follows, if any can
    int groupsToSkip = 0;     ///< before it may pay again to look at the doses near voxels first
    int pause = 0;            ///< so many groups, last time; longer each time it does not pay
    AxisWindow window;        ///< along z
    LatticePoint* bestPoints; ///< of the last voxel searched at each index along x
    AxisVoxels voxelRuns[3];

private:
    std::vector<LatticePoint> bestPoints_;
    std::vector<CellRun> cellRuns_;
    std::vector<VoxelRun> voxelRuns_[3];
};

} // namespace zarngi::engine

#endif
