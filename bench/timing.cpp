#include "timing.h"

#include <algorithm>

namespace bench
{

Duel inTurn(int rounds, const std::function<double()>& first, const std::function<double()>& second)
{
    Duel least{first(), second()};
    for (int round = 1; round < rounds; ++round) {
        least.first = std::min(least.first, first());
        least.second = std::min(least.second, second());
    }
    return least;
}

double fastest(int rounds, const std::function<double()>& run)
{
    double least = run();
    for (int round = 1; round < rounds; ++round) {
        least = std::min(least, run());
    }
    return least;
}

} // namespace bench
