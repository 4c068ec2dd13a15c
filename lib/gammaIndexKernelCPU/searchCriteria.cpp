#include "searchCriteria.h"

#include "engineState.h"
#include "libZarnGI.h"

namespace zarngi::engine
{

float SearchCriteria::outerRadius(int ishell) const
{
    return static_cast<float>(ishell) * dta;
}

ShellLattice SearchCriteria::shellLattice(int ishell) const
{
    return {outerRadius(ishell - 1), outerRadius(ishell), stepSize};
}

float SearchCriteria::largestDistanceTermOf(const ShellLattice& shell) const
{
    // Some ten roundings lie between this and the distance terms themselves.
    return shell.outerRadiusSquared() / stepsPerDTA / stepsPerDTA * (1 + 1e-5F);
}

SearchCriteria readSearchCriteria()
{
    return {.reference = referenceGrid(),
            .evaluation = evaluationGrid(),
            .boxBegin = Env->xmin_eval,
            .boxEnd = Env->xmax_eval,
            .reader = selectedReader(),
            .randomRotation = Env->randomRotation,
            .passRateMode = Env->passRateMode,
            .gammaSearchMax = Env->gammaSearchMax,
            .localDD = localDD,
            .dta = DTA,
            .dd = DD,
            .ddValue = DDvalue,
            .stepSize = Env->stepSize,
            .stepsPerDTA = DTA / Env->stepSize};
}

} // namespace zarngi::engine
