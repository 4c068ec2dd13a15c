#include "searchCriteria.h"

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
