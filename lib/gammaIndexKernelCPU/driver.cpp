#include "driver.h"

#include <algorithm>
#include <cmath>

#include "bookkeeping.h"
#include "engineState.h"
#include "report.h"
#include "setup.h"
#include "shares.h"
#include "shells.h"
#include "statistics.h"
#include "watch.h"

using namespace zarngi::engine;

namespace
{

void storeResults(float passRate)
{
    Env->passrate = passRate;
    forShares(static_cast<std::size_t>(Env->num_threads), Env->N_ref,
              [](std::size_t first, std::size_t last) {
                  std::fill(Env->gamma + first, Env->gamma + last, -1.0F);
              });
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
    watch::begin();
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
    if (report::showsEverything()) {
        report::doseLevels(levels, largestEvaluationDose());
    }
    setGlobalDoseDifference(levels);
    report::doseDifference();
    report::search();
    const std::size_t skimmed = fillActiveVoxels(levels);
    report::skimmedVoxels(skimmed);
    report::slices2D();
    pthreads_max_num = Env->num_threads;
    report::threads();

    searchShells();

    const int passed = getNumPassed();
    report::counts(passed);
    if (report::showsEverything() && !Env->passRateMode) {
        report::statistics(gammaStatistics());
    }
    report::passRate(passRateOf(passed));
    storeResults(passRateOf(passed));
    report::done();
    return 0;
}
