#include "driver.h"

#include <cmath>

#include "bookkeeping.h"
#include "engineState.h"
#include "report.h"
#include "resultMap.h"
#include "setup.h"
#include "shells.h"
#include "statistics.h"
#include "watch.h"

using namespace zarngi::engine;

namespace
{

float resultOf(const ActiveVoxel& voxel)
{
    if (Env->passRateMode) {
        return voxel.passed ? 1.0F : 0.0F;
    }
    return std::sqrt(voxel.gammasq);
}

void storeResults(float passRate)
{
    Env->passrate = passRate;
    writeMap(Env->gamma, -1.0F, resultOf);
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
