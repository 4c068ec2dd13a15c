#include "search.h"

#include <algorithm>
#include <cmath>

#include "doseGrid.h"
#include "gammaTerm.h"
#include "paths/vectorPath.h"
#include "rotation.h"
#include "watch.h"

namespace zarngi::engine
{

namespace
{

bool isInBox(const SearchCriteria& criteria, const vec3dRT& p)
{
    for (int k = 0; k < 3; ++k) {
        if (p[k] < criteria.boxBegin[k] || p[k] > criteria.boxEnd[k]) {
            return false;
        }
    }
    return true;
}

} // namespace

std::size_t workerCount()
{
    const std::size_t useful = std::max<std::size_t>(activeVoxels.size(), 1);
    return std::min(static_cast<std::size_t>(pthreads_max_num), useful);
}

ShellPass* shellPass = nullptr;

LatticePass::LatticePass(const SearchPass& pass, const std::vector<SearchMemory>& memories)
    : pass_(pass), search_(vectorPath().latticeSearch)
{
    scratch_.reserve(memories.size());
    for (const SearchMemory& memory : memories) {
        scratch_.emplace_back(pass_, memory);
    }
}

void LatticePass::search(std::size_t worker, const VoxelGroup& group)
{
    if (leavesRest()) {
        return;
    }
    SearchScratch& scratch = scratch_[worker];
    search_(pass_, scratch, group);
    if (pass_.leavesVoxels && scratch.leftOpen) {
        leftOpen_.store(true, std::memory_order_relaxed);
    }
}

void ListedPass::search(std::size_t /*worker*/, const VoxelGroup& group)
{
    for (int v = 0; v < group.count; ++v) {
        searchPoints(*group.voxels[v]);
    }
}

/** Visits the points around a voxel. */
void ListedPass::searchPoints(ActiveVoxel& voxel) const
{
    if (groups_ && vectorPath().pointSearch(*groups_, voxel)) {
        return;
    }
    const DoseGrid& reference = criteria_.reference;
    const vec3dRT node = nodePosition(voxel.ivxl, reference.x0, reference.h, reference.n);
    for (const vec3dRT& offset : ptsSob_vox) {
        searchAround(voxel, node + offset);
        if (criteria_.passRateMode && voxel.passed) {
            return;
        }
    }
}

/** Visits the shell around one reference point, nearest point first. */
void ListedPass::searchAround(ActiveVoxel& voxel, const vec3dRT& refPos) const
{
    const Reader reader = criteria_.reader;
    const float IntRefDose = doseAt(criteria_.reference, refPos, reader);
    const float delta =
        doseCriterion(criteria_.localDD, IntRefDose, criteria_.dd, criteria_.ddValue);
    constexpr std::size_t stride = 4096; // points between two looks whether to go on
    std::size_t visited = 0;
    for (vec3dRT sphPos : points_) {
        if (++visited % stride == 0 && watch::isStopped()) {
            return;
        }
        if (criteria_.randomRotation) {
            applyRotation(Rot, sphPos);
        }
        const vec3dRT evPos = refPos + sphPos;
        if (!isInBox(criteria_, evPos)) {
            continue;
        }
        const float DDterm = doseAt(criteria_.evaluation, evPos, reader) - IntRefDose;
        const float r2_now = dot(sphPos, sphPos);
        const float distance = distanceTerm(r2_now, criteria_.dta);
        const float Gammasq = gammaSquared(DDterm, delta, distance);
        if (voxel.gammasq > Gammasq) {
            voxel.gammasq = Gammasq;
            voxel.distanceMinGamma = std::sqrt(r2_now);
        }
        if (Gammasq <= 1.0F) {
            voxel.passed = true;
        }
        if (distance >= voxel.gammasq) {
            voxel.stopSearching = true;
            return;
        }
        if (criteria_.passRateMode && voxel.passed) {
            return;
        }
    }
}

void searchVoxels(std::size_t worker, const VoxelGroup& group)
{
    // A store in every group would take the cache line from all other workers each time.
    if (trilinDebug.load(std::memory_order_relaxed)) {
        trilinDebug.store(false, std::memory_order_relaxed);
    }
    if (shellPass != nullptr) {
        shellPass->search(worker, group);
    } else {
        ListedPass(readSearchCriteria(), *evalPoints).search(worker, group);
    }
}

bool restIsLeft()
{
    return shellPass != nullptr && shellPass->leavesRest();
}

} // namespace zarngi::engine
