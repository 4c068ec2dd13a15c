#include "driver.h"

#include <algorithm>
#include <cmath>

#include "bookkeeping.h"
#include "engineState.h"
#include "generatePointsInShell.h"
#include "reach.h"
#include "report.h"
#include "rotation.h"
#include "setup.h"
#include "statistics.h"
#include "workers.h"

namespace
{

/** The largest number of shells, for an unset search maximum or one beyond the range of int. */
constexpr int unlimitedShells = 100000000;

int maxShells()
{
    constexpr double beyondInt = 2147483648.0;
    const double limit = static_cast<double>(Env->gammaSearchMax) + 0.5;
    const bool bounded = limit >= 0.5 && limit < beyondInt;
    return bounded ? static_cast<int>(limit) : unlimitedShells;
}

float outerRadius(int ishell)
{
    return static_cast<float>(ishell) * DTA;
}

/** Searches shell `ishell` (the first is 1) around every open voxel. */
void searchShell(int ishell, std::vector<vec3dRT>& myPts)
{
    report::shell(ishell);
    generatePointsInShell(myPts, outerRadius(ishell - 1), outerRadius(ishell), Env->stepSize);
    evalPoints = &myPts;
    if (ishell == 1 && Env->randomRotation) {
        generateRandomRotationMatrix(Rot);
    }
    evaluation();
}

/** Goes outwards shell by shell until every voxel is final or the shell limit is reached. */
void searchShells()
{
    std::vector<vec3dRT> myPts;
    const LatticeReach reach;
    const int ishellmax = Env->passRateMode ? 1 : maxShells();
    for (int ishell = 1;; ++ishell) {
        searchShell(ishell, myPts);
        if (ishell >= ishellmax) {
            break;
        }
        reach.closeVoxelsBeyond(outerRadius(ishell));
        if (!keepSearching()) {
            break;
        }
    }
    report::searchEnded();
}

void storeResults()
{
    Env->passrate = getGammaPassRate();
    std::fill(Env->gamma, Env->gamma + Env->N_ref, -1.0F);
    for (const ActiveVoxel& voxel : activeVoxels) {
        float& result = Env->gamma[voxel.ivxl];
        if (Env->passRateMode) {
            result = voxel.passed ? 1.0F : 0.0F;
        } else {
            result = std::sqrt(voxel.gammasq);
        }
    }
}

} // namespace

int evaluateGammaIndex()
{
    takeOverCriteria();
    report::criteria();
    seedRandomGenerator();
    buildReferenceSampleOffsets();
    const DoseLevels levels = findDoseLevels();
    report::activeVoxelCount(levels);
    if (levels.countActiveVoxel == 0) {
        activeVoxels.clear();
        report::nothingToDo();
        return 0;
    }
    report::options();
    report::doseLevels(levels);
    setGlobalDoseDifference(levels);
    report::doseDifference();
    report::search();
    const std::size_t skimmed = fillActiveVoxels(levels);
    report::skimmedVoxels(skimmed);
    report::slices2D();
    pthreads_max_num = Env->num_threads;
    report::threads();

    searchShells();

    report::counts(getNumPassed());
    if (!Env->passRateMode) {
        report::statistics(gammaStatistics());
    }
    report::passRate(getGammaPassRate());
    storeResults();
    report::done();
    return 0;
}
