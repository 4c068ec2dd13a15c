#include "comparison/structures/doseOrder.h"

#include <algorithm>
#include <cmath>

namespace zarngi
{

DoseOrder::DoseOrder(const std::vector<double>& doses, double width, double largest)
    : doses_(doses), width_(width), bins_(doses.size())
{
    const double last = std::max(0.0, std::floor(largest / width));
    // One for doses below 0 and one because the quotient is rounded.
    starts_.resize(static_cast<std::size_t>(last) + 4);
    for (std::size_t i = 0; i < doses.size(); ++i) {
        const std::size_t bin = binOf(doses[i]);
        bins_[i] = static_cast<std::uint32_t>(bin);
        ++starts_[bin + 1];
    }
    for (std::size_t bin = 1; bin < starts_.size(); ++bin) {
        starts_[bin] += starts_[bin - 1];
    }
}

/** One more than the number of the bin: 0 for doses below 0. */
std::size_t DoseOrder::binOf(double dose) const
{
    const auto last = static_cast<double>(starts_.size() - 3);
    auto bin = static_cast<std::int64_t>(std::clamp(dose / width_, -1.0, last));
    // The quotient is rounded; what the products say counts.
    bin -= dose < static_cast<double>(bin) * width_ ? 1 : 0;
    bin += dose >= static_cast<double>(bin + 1) * width_ ? 1 : 0;
    return static_cast<std::size_t>(
        std::clamp(bin + 1, std::int64_t{0}, static_cast<std::int64_t>(starts_.size() - 2)));
}

DoseOrder::Rank DoseOrder::rankOf(double percent) const
{
    const double rank = percent / 100 * static_cast<double>(doses_.size() - 1);
    const auto below = static_cast<std::size_t>(rank);
    return {below, rank - static_cast<double>(below)};
}

std::size_t DoseOrder::binOfRank(std::size_t rank) const
{
    return static_cast<std::size_t>(std::upper_bound(starts_.begin(), starts_.end(), rank) -
                                    starts_.begin()) -
           1;
}

void DoseOrder::wantPercentile(double percent)
{
    const Rank rank = rankOf(percent);
    kept_[binOfRank(rank.below)];
    kept_[binOfRank(std::min(rank.below + 1, doses_.size() - 1))];
}

void DoseOrder::wantDose(double dose)
{
    kept_[binOf(dose)];
}

void DoseOrder::gather()
{
    std::vector<std::vector<double>*> places(starts_.size(), nullptr);
    for (auto& [bin, doses] : kept_) {
        doses.clear();
        doses.reserve(starts_[bin + 1] - starts_[bin]);
        places[bin] = &doses;
    }
    for (std::size_t i = 0; i < doses_.size(); ++i) {
        if (std::vector<double>* const place = places[bins_[i]]) {
            place->push_back(doses_[i]);
        }
    }
}

double DoseOrder::atRank(std::size_t rank)
{
    const std::size_t bin = binOfRank(rank);
    std::vector<double>& doses = kept_.at(bin);
    const auto place = doses.begin() + static_cast<std::ptrdiff_t>(rank - starts_[bin]);
    std::nth_element(doses.begin(), place, doses.end());
    return *place;
}

double DoseOrder::percentile(double percent)
{
    const Rank rank = rankOf(percent);
    const double lower = atRank(rank.below);
    if (rank.fraction == 0) {
        return lower;
    }
    return lower + rank.fraction * (atRank(rank.below + 1) - lower);
}

std::size_t DoseOrder::atOrAbove(double dose) const
{
    const std::size_t bin = binOf(dose);
    const std::vector<double>& doses = kept_.at(bin);
    const auto within =
        std::count_if(doses.begin(), doses.end(), [dose](double d) { return d >= dose; });
    return doses_.size() - starts_[bin + 1] + static_cast<std::size_t>(within);
}

std::vector<std::size_t> DoseOrder::cumulative() const
{
    std::vector<std::size_t> counts;
    for (std::size_t bin = 1; bin < starts_.size(); ++bin) {
        counts.push_back(doses_.size() - starts_[bin]);
        if (counts.back() == 0) {
            break;
        }
    }
    return counts;
}

} // namespace zarngi
