#include "comparison/gammaOrder.h"

#include <algorithm>

namespace zarngi
{

GammaOrder::Rank GammaOrder::rankOf(double percent) const
{
    const double rank = percent / 100 * static_cast<double>(size_ - 1);
    const auto below = static_cast<std::size_t>(rank);
    return {below, rank - static_cast<double>(below)};
}

GammaOrder::Bin GammaOrder::binOfRank(std::size_t rank) const
{
    Bin bin{0, 0};
    while (bin.before + counts_[bin.number] <= rank) {
        bin.before += counts_[bin.number++];
    }
    return bin;
}

void GammaOrder::want(double percent)
{
    const std::size_t below = rankOf(percent).below;
    for (const std::size_t rank : {below, std::min(below + 1, size_ - 1)}) {
        const std::size_t bin = binOfRank(rank).number;
        isWanted_[bin] = 1;
        kept_[bin].reserve(counts_[bin]);
    }
}

double GammaOrder::atRank(std::size_t rank)
{
    const Bin bin = binOfRank(rank);
    std::vector<float>& gammas = kept_.at(bin.number);
    const auto place = gammas.begin() + static_cast<std::ptrdiff_t>(rank - bin.before);
    std::nth_element(gammas.begin(), place, gammas.end());
    return static_cast<double>(*place);
}

double GammaOrder::percentile(double percent)
{
    const Rank rank = rankOf(percent);
    const double lower = atRank(rank.below);
    if (rank.below + 1 == size_) {
        return lower;
    }
    return lower + rank.fraction * (atRank(rank.below + 1) - lower);
}

} // namespace zarngi
