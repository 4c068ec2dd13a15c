#include "setup.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <vector>

#include "doseGrid.h"
#include "engineState.h"
#include "gammaTerm.h"
#include "largePages.h"
#include "randomNumbers/randomNumbers.h"
#include "shares.h"
#include "testedPlanes.h"

namespace zarngi::engine
{

namespace
{

/**
 * Voxels in a block: most blocks lie outside the irradiated volume, and are gone past after the one
 * pass that finds their largest doses.
 */
constexpr std::size_t blockSize = 512;

/** The largest of some doses; -infinity if none of them is a number. */
float largestOf(const float* first, const float* last)
{
    // Independent running maxima keep the loop free of a chain of dependent comparisons.
    constexpr std::ptrdiff_t lanes = 64;
    float largest[lanes];
    std::fill(largest, largest + lanes, -std::numeric_limits<float>::infinity());
    for (; last - first >= lanes; first += lanes) {
        for (std::ptrdiff_t k = 0; k < lanes; ++k) {
            largest[k] = largest[k] < first[k] ? first[k] : largest[k];
        }
    }
    for (; first != last; ++first) {
        largest[0] = largest[0] < *first ? *first : largest[0];
    }
    for (std::ptrdiff_t half = lanes / 2; half > 0; half /= 2) {
        for (std::ptrdiff_t k = 0; k < half; ++k) {
            largest[k] = largest[k] < largest[k + half] ? largest[k + half] : largest[k];
        }
    }
    return largest[0];
}

std::vector<float> largestOfBlocks(const float* map, std::size_t count)
{
    std::vector<float> result((count + blockSize - 1) / blockSize);
    static_assert(shareUnit % blockSize == 0);
    forShares(static_cast<std::size_t>(Env->num_threads), count,
              [&](std::size_t first, std::size_t last) {
                  for (; first < last; first += blockSize) {
                      result[first / blockSize] =
                          largestOf(map + first, map + std::min(first + blockSize, last));
                  }
              });
    return result;
}

/** The largest value, as std::max_element finds it: a leading not-a-number stays the largest. */
float largestDose(const float* map, std::size_t count, const std::vector<float>& blocks)
{
    if (std::isnan(map[0])) {
        return map[0];
    }
    const float result = *std::max_element(blocks.begin(), blocks.end());
    // Zeros of both signs are equal: the first one in the map is the largest.
    return result == 0 ? *std::find(map, map + count, result) : result;
}

/** Calls visit(ivxl) for every voxel to test above the cut-off, in increasing order. */
template <class Visit> void visitAboveCutoff(const DoseLevels& levels, Visit visit)
{
    const VoxelRange range = testedVoxels();
    // What visits write could be these, for all that a compiler knows.
    const float* const map = Env->map_ref;
    const float cutoff = levels.cutoff;
    for (std::size_t block = 0; block < levels.largestOfBlocks.size(); ++block) {
        if (!(levels.largestOfBlocks[block] > cutoff)) {
            continue;
        }
        const std::size_t begin = range.first + block * blockSize;
        const std::size_t end = std::min(begin + blockSize, range.last);
        for (std::size_t i = begin; i < end; ++i) {
            if (map[i] > cutoff) {
                visit(static_cast<std::int32_t>(i));
            }
        }
    }
}

/** An empty list for so many voxels, whose memory is not written before they are. */
void makeRoom(std::size_t voxels)
{
    activeVoxels.clear();
    if (voxels > activeVoxels.capacity()) {
        // In parts of a grid, of which the next one may have more: what all of its voxels need.
        const std::size_t range = testedVoxels().size();
        const std::size_t room = range < Env->N_ref ? range : voxels;
        activeVoxels.shrink_to_fit(); // what is outgrown need not stand beside what follows
        activeVoxels.reserve(room);
        adviseLargePages(activeVoxels.data(), room * sizeof(ActiveVoxel));
    }
}

bool agreesAtCentre(int ivxl, float referenceDose)
{
    const vec3dRT pos = centerPosition(ivxl, Env->xmin_ref, Env->hs_ref, Env->nn_ref);
    const float Dev = doseAt(evaluationGrid(), pos, selectedReader());
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
    seedRandomNumbers(static_cast<unsigned>(std::time(nullptr)));
    for (int i = 0; i < discardedDraws; ++i) {
        static_cast<void>(nextRandomNumber());
    }
}

void buildReferenceSampleOffsets()
{
    ptsSob_vox.clear();
    ptsSob_vox.resize(static_cast<std::size_t>(nC), 0.5F * vec3dRT(Env->hs_ref));
}

float largestEvaluationDose()
{
    return largestDose(Env->map_eval, Env->N_eval, largestOfBlocks(Env->map_eval, Env->N_eval));
}

DoseLevels findDoseLevels()
{
    DoseLevels levels{};
    const VoxelRange range = testedVoxels();
    const float* const tested = Env->map_ref + range.first;
    levels.largestOfBlocks = largestOfBlocks(tested, range.size());
    const bool isOfTested = Env->global_normalisation > 0 || range.size() == Env->N_ref;
    levels.maxDose = isOfTested ? largestDose(tested, range.size(), levels.largestOfBlocks)
                                : largestDose(Env->map_ref, Env->N_ref,
                                              largestOfBlocks(Env->map_ref, Env->N_ref));
    levels.globalReferenceDose =
        Env->global_normalisation > 0 ? Env->global_normalisation : levels.maxDose;
    levels.cutoff = DCO / 100 * levels.globalReferenceDose;
    visitAboveCutoff(levels, [&](std::int32_t) { ++levels.countActiveVoxel; });
    return levels;
}

void setGlobalDoseDifference(const DoseLevels& levels)
{
    DDvalue = static_cast<float>(static_cast<double>(DD) / 100 *
                                 static_cast<double>(levels.globalReferenceDose));
}

std::size_t fillActiveVoxels(const DoseLevels& levels)
{
    makeRoom(levels.countActiveVoxel);
    std::size_t skimmed = 0;
    std::int32_t k = 0;
    visitAboveCutoff(levels, [&](std::int32_t i) {
        const bool passed = Env->passRateMode && agreesAtCentre(i, Env->map_ref[i]);
        activeVoxels.push_back({i, passed, false, 0, k, gammasqNotFound, 0.0F});
        skimmed += passed ? 1 : 0;
        ++k;
    });
    return skimmed;
}

void releaseActiveVoxels()
{
    std::vector<ActiveVoxel>().swap(activeVoxels);
}

} // namespace zarngi::engine
