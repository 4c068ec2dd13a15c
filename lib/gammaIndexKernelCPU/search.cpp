#include "search.h"

#include <algorithm>
#include <cmath>

#include "doseGrid.h"
#include "gammaTerm.h"
#include "rotation.h"
#include "vectorPath.h"
#include "watch.h"

namespace
{

bool insideEvaluationBox(const vec3dRT& p)
{
    for (int k = 0; k < 3; ++k) {
        if (p[k] < Env->xmin_eval[k] || p[k] > Env->xmax_eval[k]) {
            return false;
        }
    }
    return true;
}

/** Visits the current shell around one reference point, nearest point first. */
void searchAround(ActiveVoxel& voxel, const vec3dRT& refPos)
{
    const float IntRefDose = doseAt(referenceGrid(), refPos);
    const float delta = doseCriterion(localDD, IntRefDose, DD, DDvalue);
    constexpr std::size_t stride = 4096; // points between two looks whether to go on
    std::size_t visited = 0;
    for (vec3dRT sphPos : *evalPoints) {
        if (++visited % stride == 0 && watch::isStopped()) {
            return;
        }
        if (Env->randomRotation) {
            applyRotation(Rot, sphPos);
        }
        const vec3dRT evPos = refPos + sphPos;
        if (!insideEvaluationBox(evPos)) {
            continue;
        }
        const float DDterm = doseAt(evaluationGrid(), evPos) - IntRefDose;
        const float r2_now = dot(sphPos, sphPos);
        const float distance = distanceTerm(r2_now, DTA);
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
        if (Env->passRateMode && voxel.passed) {
            return;
        }
    }
}

/** Visits the points of evalPoints around a voxel. */
void searchPoints(ActiveVoxel& voxel)
{
    if (rotatedPoints != nullptr && vectorPath().pointSearch(*rotatedPoints, voxel)) {
        return;
    }
    const vec3dRT node = nodePosition(voxel.ivxl, Env->xmin_ref, Env->hs_ref, Env->nn_ref);
    for (const vec3dRT& offset : ptsSob_vox) {
        searchAround(voxel, node + offset);
        if (Env->passRateMode && voxel.passed) {
            return;
        }
    }
}

} // namespace

std::size_t workerCount()
{
    const std::size_t useful = std::max<std::size_t>(activeVoxels.size(), 1);
    return std::min(static_cast<std::size_t>(pthreads_max_num), useful);
}

LatticePass* latticePass = nullptr;
const RotatedPoints* rotatedPoints = nullptr;

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

void searchVoxels(std::size_t worker, const VoxelGroup& group)
{
    // A store in every group would take the cache line from all other workers each time.
    if (trilinDebug.load(std::memory_order_relaxed)) {
        trilinDebug.store(false, std::memory_order_relaxed);
    }
    if (evalPoints == nullptr) {
        latticePass->search(worker, group);
        return;
    }
    for (int v = 0; v < group.count; ++v) {
        searchPoints(*group.voxels[v]);
    }
}

bool restIsLeft()
{
    return evalPoints == nullptr && latticePass->leavesRest();
}
