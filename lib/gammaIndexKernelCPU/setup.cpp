#include "setup.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "doseGrid.h"
#include "engineState.h"
#include "gammaTerm.h"

namespace
{

/** The largest value, as std::max_element finds it: a leading not-a-number stays the largest. */
float largestDose(const float* map, std::size_t count)
{
    // Independent running maxima keep the loop free of a chain of dependent comparisons.
    constexpr std::size_t lanes = 64;
    float largest[lanes];
    std::fill(largest, largest + lanes, map[0]);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        for (std::size_t k = 0; k < lanes; ++k) {
            largest[k] = largest[k] < map[i + k] ? map[i + k] : largest[k];
        }
    }
    for (; i < count; ++i) {
        largest[0] = largest[0] < map[i] ? map[i] : largest[0];
    }
    const float result = *std::max_element(largest, largest + lanes);
    // Zeros of both signs are equal: the first one in the map is the largest.
    return result == 0 ? *std::find(map, map + count, result) : result;
}

/** Whether some dose is above the cut-off. */
bool anyAbove(const float* first, const float* last, float cutoff)
{
    int above = 0;
    for (; first != last; ++first) {
        above |= *first > cutoff ? 1 : 0;
    }
    return above != 0;
}

bool agreesAtCentre(int ivxl, float referenceDose)
{
    const vec3dRT pos = centerPosition(ivxl, Env->xmin_ref, Env->hs_ref, Env->nn_ref);
    const float Dev = doseAt(evaluationGrid(), pos);
    const float criterion = doseCriterion(localDD, referenceDose, DD, DDvalue);
    return std::fabs(referenceDose - Dev) <= criterion;
}

} // namespace

void takeOverCriteria()
{
    DD = Env->DD;
    DTA = Env->DTA;
    DCO = Env->DCO;
    localDD = !Env->globalDD;
}

void seedRandomGenerator()
{
    constexpr int discardedDraws = 100;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    for (int i = 0; i < discardedDraws; ++i) {
        static_cast<void>(std::rand());
    }
}

void buildReferenceSampleOffsets()
{
    ptsSob_vox.clear();
    ptsSob_vox.resize(static_cast<std::size_t>(nC), 0.5F * vec3dRT(Env->hs_ref));
}

float largestEvaluationDose()
{
    return largestDose(Env->map_eval, Env->N_eval);
}

DoseLevels findDoseLevels()
{
    DoseLevels levels{};
    levels.maxDose = largestDose(Env->map_ref, Env->N_ref);
    levels.globalReferenceDose =
        Env->global_normalisation > 0 ? Env->global_normalisation : levels.maxDose;
    levels.cutoff = DCO / 100 * levels.globalReferenceDose;
    levels.countActiveVoxel = static_cast<std::size_t>(
        std::count_if(Env->map_ref, Env->map_ref + Env->N_ref,
                      [cutoff = levels.cutoff](float dose) { return dose > cutoff; }));
    return levels;
}

void setGlobalDoseDifference(const DoseLevels& levels)
{
    DDvalue = static_cast<float>(static_cast<double>(DD) / 100 *
                                 static_cast<double>(levels.globalReferenceDose));
}

std::size_t fillActiveVoxels(const DoseLevels& levels)
{
    activeVoxels.resize(levels.countActiveVoxel);
    std::size_t skimmed = 0;
    std::int32_t k = 0;
    constexpr std::int32_t blockSize = 64; // most blocks lie outside the irradiated volume
    const auto count = static_cast<std::int32_t>(Env->N_ref);
    for (std::int32_t block = 0; block < count; block += std::min(blockSize, count - block)) {
        const std::int32_t end = block + std::min(blockSize, count - block);
        if (!anyAbove(Env->map_ref + block, Env->map_ref + end, levels.cutoff)) {
            continue;
        }
        for (std::int32_t i = block; i < end; ++i) {
            const float dose = Env->map_ref[i];
            if (!(dose > levels.cutoff)) {
                continue;
            }
            ActiveVoxel& voxel = activeVoxels[static_cast<std::size_t>(k)];
            voxel.ivxl = i;
            voxel.passed = Env->passRateMode && agreesAtCentre(i, dose);
            voxel.stopSearching = false;
            voxel.ichk = 0;
            voxel.irefvxl = k;
            voxel.gammasq = gammasqNotFound;
            skimmed += voxel.passed ? 1 : 0;
            ++k;
        }
    }
    return skimmed;
}
