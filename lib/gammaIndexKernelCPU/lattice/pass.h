/**
 * @file pass.h
 * The search of one shell of the lattice around voxels: what it reads, and its vector paths.
 *
 * The search gives the bits of visiting every lattice point of the shell in the specified order of
 * operations, but visits almost none of them: docs/performance.md explains why that is exact.
 */
#ifndef ZARNGI_LATTICE_PASS_H
#define ZARNGI_LATTICE_PASS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "lattice/axes.h"
#include "lattice/radiusGaps.h"
#include "searchCriteria.h"
#include "shellLattice.h"

/** The radius at which shell `ishell` (the first is 1) ends, mm. */
float outerRadius(int ishell);
/** The points of shell `ishell`. */
ShellLattice shellLattice(int ishell);

/** What one pass over a shell of the unrotated lattice reads. */
struct SearchPass : SearchCriteria {
    /**
     * The pass of shell `ishell` (the first is 1), `last` if no pass follows it; `earlierGaps` are
     * those of the shells before, `searched` the numbers of those that had a pass.
     */
    SearchPass(const LatticeAxes& latticeAxes, int ishell, bool last, const RadiusGaps& earlierGaps,
               const std::vector<int>& searched);

    /** Whether this shell or an earlier one enumerates the lattice point. */
    [[nodiscard]] bool isEnumerated(std::int64_t i, std::int64_t j, std::int64_t k) const;
    /** Whether they do for every point of a squared radius in steps, as far as is known here. */
    [[nodiscard]] bool isCertain(std::int64_t squared) const;

private:
    void findFarPoint();

public:
    const LatticeAxes* axes;
    int shellNumber;
    const std::vector<int>* earlierShells; ///< that had a pass, in increasing order
    bool isLast;
    bool leavesVoxels; ///< to the next pass, once one stays open: that finds what this one would
    ShellLattice shell;
    Reader reader;
    float stepsPerMmSquared;   ///< 1 / mm^2
    float stepsPerDTA;         ///< lattice steps per DTA
    std::int32_t outerIndex;   ///< largest lattice index of the shell
    float outerSquared;        ///< outer squared radius in steps
    float outerWhole;          ///< a whole number: no point has a larger squared radius
    float outerRim;            ///< raised by the rounding of sums of squares beyond 4096 steps
    float outerRoot;           ///< its square root
    float largestDistanceTerm; ///< gamma^2: no distance term of the shell exceeds it
    std::int32_t farPoint[3];  ///< a point of the shell that is nearly or quite the farthest one
    float farDistanceTerm;     ///< gamma^2, its distance term; -1: unknown
    float thresholdPerLimit;   ///< squared steps per gamma^2, raised by the error of the search
    float voxelsPerStep[3];    ///< evaluation voxels per lattice step; 0 on an axis of one voxel
    // Of the evaluation voxels and the cells between them, along x and y.
    float cellWidth[2]; ///< steps
    float cellsPerStep[2];
    float cellSlack[2];        ///< steps, rounding of positions
    bool edgesAreKnown;        ///< no two lattice points are within it of one place
    RadiusGaps gaps;           ///< of the earlier shells
    std::int64_t wholeSquared; ///< up to this squared radius no point but those in gaps is left out
    bool isRagged; ///< beyond that, this shell leaves out some: outerIndex^2 is wholeSquared then
};

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
template <class T> struct Room {
    T* items = nullptr;
    std::int32_t count = 0;

    [[nodiscard]] const T* begin() const { return items; }
    [[nodiscard]] const T* end() const { return items + count; }
};

/** The interpolated lattice points along z around one reference index, by cells. */
struct AxisWindow {
    std::int32_t referenceIndex = -1; ///< the index the window was made for; -1: none
    Room<CellRun> runs;
};

/** The lattice points on one axis around one reference index, by voxels. */
struct AxisVoxels {
    std::int32_t referenceIndex = -1; ///< the index they were found for; -1: none
    Room<VoxelRun> runs;
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
        std::size_t room = size + alignment;
        return std::align(alignment, size, begin, room);
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

/** Up to this many voxels are searched at once. */
constexpr int maxVoxels = 32;

/** Some voxels of one worker, at most maxVoxels. */
struct VoxelGroup {
    ActiveVoxel* voxels[maxVoxels];
    int count = 0;
};

/** Searches the pass's shell around some voxels: lowers their gammasq, marks those that are final.
 */
using LatticeSearch = void (*)(const SearchPass&, SearchScratch&, const VoxelGroup&);

void latticeSearchBaseline(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);
void latticeSearchAvx2(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);
void latticeSearchAvx512(const SearchPass& pass, SearchScratch& scratch, const VoxelGroup& group);

/**
 * Whether the shells so far hold a point inside the evaluation box whose distance term alone
 * reaches a voxel's gammasq: no point farther out can lower it then.
 *
 * Visiting the points in order of distance ends the voxel's search at the first such point. Whether
 * there is one does not depend on the order: the distance term never decreases along the list, and
 * gammasq is final once all points of the shell have been taken into account. Earlier shells matter
 * to voxels that their passes have left to this one.
 *
 * `index` is that of the voxel on each axis of the reference grid.
 */
bool isFinal(const SearchPass& pass, const std::int32_t (&index)[3], float gammasq);

#endif
