#include "setup.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

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

/** Voxels in a block of the reference map: most blocks lie outside the irradiated volume. */
constexpr std::size_t blockSize = 64;

/** The first voxel behind a block. */
std::size_t endOf(std::size_t block)
{
    return std::min((block + 1) * blockSize, Env->N_ref);
}

/** The largest number among some doses; minus infinity if there is none. */
float largestNumber(const float* first, const float* last)
{
    constexpr std::size_t lanes = 16;
    float largest[lanes];
    std::fill(largest, largest + lanes, -std::numeric_limits<float>::infinity());
    for (; last - first >= std::ptrdiff_t{lanes}; first += lanes) {
        for (std::size_t k = 0; k < lanes; ++k) {
            largest[k] = largest[k] < first[k] ? first[k] : largest[k];
        }
    }
    for (; first != last; ++first) {
        largest[0] = largest[0] < *first ? *first : largest[0];
    }
    return *std::max_element(largest, largest + lanes);
}

std::vector<float> largestOfBlocks()
{
    std::vector<float> largest((Env->N_ref + blockSize - 1) / blockSize);
    for (std::size_t block = 0; block < largest.size(); ++block) {
        largest[block] =
            largestNumber(Env->map_ref + block * blockSize, Env->map_ref + endOf(block));
    }
    return largest;
}

/** The largest reference dose, as std::max_element finds it. */
float largestReferenceDose(const std::vector<float>& largestOfBlock)
{
    if (std::isnan(Env->map_ref[0])) {
        return Env->map_ref[0]; // a leading not-a-number stays the largest
    }
    const float result = *std::max_element(largestOfBlock.begin(), largestOfBlock.end());
    // Zeros of both signs are equal: the first one in the map is the largest.
    return result == 0 ? *std::find(Env->map_ref, Env->map_ref + Env->N_ref, result) : result;
}

std::size_t countAbove(float cutoff, const std::vector<float>& largestOfBlock)
{
    std::ptrdiff_t count = 0;
    for (std::size_t block = 0; block < largestOfBlock.size(); ++block) {
        if (largestOfBlock[block] > cutoff) {
            count += std::count_if(Env->map_ref + block * blockSize, Env->map_ref + endOf(block),
                                   [cutoff](float dose) { return dose > cutoff; });
        }
    }
    return static_cast<std::size_t>(count);
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
    levels.largestOfBlock = largestOfBlocks();
    levels.maxDose = largestReferenceDose(levels.largestOfBlock);
    levels.globalReferenceDose =
        Env->global_normalisation > 0 ? Env->global_normalisation : levels.maxDose;
    levels.cutoff = DCO / 100 * levels.globalReferenceDose;
    levels.countActiveVoxel = countAbove(levels.cutoff, levels.largestOfBlock);
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
    for (std::size_t block = 0; block < levels.largestOfBlock.size(); ++block) {
        if (!(levels.largestOfBlock[block] > levels.cutoff)) {
            continue;
        }
        for (std::size_t i = block * blockSize; i < endOf(block); ++i) {
            const float dose = Env->map_ref[i];
            if (!(dose > levels.cutoff)) {
                continue;
            }
            ActiveVoxel& voxel = activeVoxels[static_cast<std::size_t>(k)];
            voxel.ivxl = static_cast<std::int32_t>(i);
            voxel.passed = Env->passRateMode && agreesAtCentre(voxel.ivxl, dose);
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
