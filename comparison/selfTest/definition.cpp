#include "comparison/selfTest/definition.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include "gammaIndexKernelCPU.h"
#include "generatePointsInShell.h"

namespace zarngi::definition
{

namespace
{

float dose(const float* map, const vec3dRT& p, const float* x0, const float* h, const int* n)
{
    if (Env->lNoInterpolation) {
        return VoxelValue(map, p.v, x0, h, n);
    }
    return Env->gammaindex2D ? BilinearInterp(map, p.v, x0, h, n, 2)
                             : TrilinearInterp(map, p.v, x0, h, n);
}

float referenceDose(const vec3dRT& p)
{
    return dose(Env->map_ref, p, Env->xmin_ref, Env->hs_ref, Env->nn_ref);
}

float evaluationDose(const vec3dRT& p)
{
    return dose(Env->map_eval, p, Env->xmin_eval, Env->hs_eval, Env->nn_eval);
}

float normalisation()
{
    return Env->global_normalisation > 0
               ? Env->global_normalisation
               : *std::max_element(Env->map_ref, Env->map_ref + Env->N_ref);
}

float globalCriterion()
{
    const double criterion =
        static_cast<double>(Env->DD) / 100 * static_cast<double>(normalisation());
    return static_cast<float>(criterion);
}

std::vector<DefinedVoxel> testedVoxels()
{
    std::vector<DefinedVoxel> voxels;
    const float cutoff = Env->DCO / 100 * normalisation();
    const float DDvalue = globalCriterion();
    for (int i = 0; i < static_cast<int>(Env->N_ref); ++i) {
        const float d = Env->map_ref[i];
        if (!(d > cutoff)) {
            continue;
        }
        bool passed = false;
        if (Env->passRateMode) {
            const vec3dRT centre = centerPosition(i, Env->xmin_ref, Env->hs_ref, Env->nn_ref);
            const float criterion = Env->globalDD ? DDvalue : d * Env->DD / 100;
            passed = std::fabs(d - evaluationDose(centre)) <= criterion;
        }
        voxels.push_back({i, passed, false, 1e20F, 0});
    }
    return voxels;
}

bool outsideBox(const vec3dRT& p)
{
    for (int k = 0; k < 3; ++k) {
        if (p[k] < Env->xmin_eval[k] || p[k] > Env->xmax_eval[k]) {
            return true;
        }
    }
    return false;
}

vec3dRT samplePoint(int ivxl)
{
    return nodePosition(ivxl, Env->xmin_ref, Env->hs_ref, Env->nn_ref) +
           vec3dRT(0.5F * Env->hs_ref[0], 0.5F * Env->hs_ref[1], 0.5F * Env->hs_ref[2]);
}

void searchAround(DefinedVoxel& voxel, const std::vector<vec3dRT>& points, float DDvalue)
{
    const vec3dRT refPos = samplePoint(voxel.ivxl);
    const float refDose = referenceDose(refPos);
    const float delta = Env->globalDD ? DDvalue : refDose * Env->DD / 100;
    for (vec3dRT offset : points) {
        if (Env->randomRotation) {
            applyRotation(Rot, offset);
        }
        const vec3dRT evPos = refPos + offset;
        if (outsideBox(evPos)) {
            continue;
        }
        const float difference = evaluationDose(evPos) - refDose;
        const float r2 = offset.x * offset.x + offset.y * offset.y + offset.z * offset.z;
        const float distanceTerm = (r2 / Env->DTA) / Env->DTA;
        const float gammasq = ((difference * difference) / delta) / delta + distanceTerm;
        if (voxel.gammasq > gammasq) {
            voxel.gammasq = gammasq;
            voxel.distance = std::sqrt(r2);
        }
        voxel.passed = voxel.passed || gammasq <= 1.0F;
        if (distanceTerm >= voxel.gammasq) {
            voxel.stopped = true;
            return;
        }
        if (Env->passRateMode && voxel.passed) {
            return;
        }
    }
}

bool settled(const DefinedVoxel& voxel)
{
    return Env->passRateMode ? voxel.passed : voxel.stopped;
}

/** The part of one pass that a thread does: every `threads`-th voxel. */
void searchShare(std::vector<DefinedVoxel>& voxels, const std::vector<vec3dRT>& points,
                 std::size_t thread, std::size_t threads)
{
    const float DDvalue = globalCriterion();
    for (std::size_t i = thread; i < voxels.size(); i += threads) {
        if (!settled(voxels[i])) {
            searchAround(voxels[i], points, DDvalue);
        }
    }
}

/** The largest |i| with position + i * step inside the evaluation box on an axis; -1: none. */
int farthestIndex(float position, int axis)
{
    const float low = Env->xmin_eval[axis];
    const float high = Env->xmax_eval[axis];
    const float extent = std::max(std::fabs(low - position), std::fabs(high - position));
    const float steps = extent / Env->stepSize;
    const int most = (steps < 1e5F ? static_cast<int>(steps) : 100000) + 2;
    const auto isInside = [&](int i) {
        const float p = position + static_cast<float>(i) * Env->stepSize;
        return !(p < low || p > high);
    };
    for (int i = most; i >= 0; --i) {
        if (isInside(i) || isInside(-i)) {
            return i;
        }
    }
    return -1;
}

/** Tells for which voxels no lattice point beyond a radius lies in the evaluation box. */
class Reach
{
public:
    Reach()
    {
        for (int a = 0; a < 3; ++a) {
            for (int index = 0; index < Env->nn_ref[a]; ++index) {
                const int first[3] = {1, Env->nn_ref[0], Env->nn_ref[0] * Env->nn_ref[1]};
                farthest_[a].push_back(farthestIndex(samplePoint(index * first[a])[a], a));
            }
        }
    }

    [[nodiscard]] bool endsWithin(float radius, int ivxl) const
    {
        const int index[3] = {ivxl % Env->nn_ref[0], ivxl / Env->nn_ref[0] % Env->nn_ref[1],
                              ivxl / Env->nn_ref[0] / Env->nn_ref[1]};
        double squared = 0;
        for (int a = 0; a < 3; ++a) {
            const double farthest = farthest_[a][static_cast<std::size_t>(index[a])];
            if (farthest < 0) {
                return true;
            }
            squared += farthest * farthest;
        }
        // As in the enumeration of the lattice.
        const float steps = (radius * radius / Env->stepSize) / Env->stepSize;
        return squared <= static_cast<double>(steps);
    }

private:
    std::vector<int> farthest_[3];
};

void stopWithin(float radius, const Reach& reach, std::vector<DefinedVoxel>& voxels)
{
    for (DefinedVoxel& voxel : voxels) {
        voxel.stopped = voxel.stopped || reach.endsWithin(radius, voxel.ivxl);
    }
}

} // namespace

std::vector<DefinedVoxel> searchByDefinition(int shells, std::size_t threads, int* searched)
{
    std::vector<DefinedVoxel> voxels = testedVoxels();
    std::vector<vec3dRT> points;
    const Reach reach;
    const int last = Env->passRateMode ? 1 : shells;
    bool open = true;
    for (int shell = 1; open && shell <= last; ++shell) {
        const float outer = static_cast<float>(shell) * Env->DTA;
        generatePointsInShell(points, static_cast<float>(shell - 1) * Env->DTA, outer,
                              Env->stepSize);
        std::vector<std::thread> others;
        for (std::size_t thread = 1; thread < threads; ++thread) {
            others.emplace_back([&, thread] { searchShare(voxels, points, thread, threads); });
        }
        searchShare(voxels, points, 0, threads);
        for (std::thread& other : others) {
            other.join();
        }
        if (shell < last && !Env->randomRotation) {
            stopWithin(outer, reach, voxels);
        }
        open = std::any_of(voxels.begin(), voxels.end(),
                           [](const DefinedVoxel& voxel) { return !voxel.stopped; });
        if (searched != nullptr) {
            *searched = shell;
        }
    }
    return voxels;
}

std::vector<float> mapByDefinition(const std::vector<DefinedVoxel>& voxels)
{
    std::vector<float> gamma(Env->N_ref, -1.0F);
    for (const DefinedVoxel& voxel : voxels) {
        const float result = voxel.passed ? 1.0F : 0.0F;
        gamma[static_cast<std::size_t>(voxel.ivxl)] =
            Env->passRateMode ? result : std::sqrt(voxel.gammasq);
    }
    return gamma;
}

} // namespace zarngi::definition
