#include "web/engine/testedMaps.h"

#include <algorithm>

#include "comparison/documents/reportVolume.h"

namespace engine
{

namespace
{

bool isTested(float gamma)
{
    return gamma >= 0;
}

} // namespace

TestedMaps::TestedMaps(const std::array<int, 3>& size, std::span<const float> gamma,
                       std::span<const unsigned char> passed)
    : voxels_(gamma.size())
{
    const auto length = static_cast<std::size_t>(size[0]);
    std::size_t kept = 0;
    for (std::size_t begin = 0; begin < gamma.size(); begin += length) {
        const std::span<const float> row = gamma.subspan(begin, length);
        const auto first = std::find_if(row.begin(), row.end(), isTested);
        if (first != row.end()) {
            const auto behind = std::find_if(row.rbegin(), row.rend(), isTested).base();
            rows_.push_back({begin + static_cast<std::size_t>(first - row.begin()),
                             static_cast<std::size_t>(behind - first)});
            kept += rows_.back().count;
        }
    }
    gamma_.reserve(kept);
    passed_.reserve(kept);
    for (const auto& [first, count] : rows_) {
        const auto from = static_cast<std::ptrdiff_t>(first);
        const auto to = from + static_cast<std::ptrdiff_t>(count);
        gamma_.insert(gamma_.end(), gamma.begin() + from, gamma.begin() + to);
        passed_.insert(passed_.end(), passed.begin() + from, passed.begin() + to);
    }
}

template <class Values, class Number>
void TestedMaps::place(Values& whole, const Number* kept) const
{
    for (const auto& [first, count] : rows_) {
        std::copy(kept, kept + count, whole.begin() + static_cast<std::ptrdiff_t>(first));
        kept += count;
    }
}

files::LargeVector<float> TestedMaps::gamma() const
{
    constexpr float notTested = -1;
    files::LargeVector<float> whole(voxels_, notTested);
    place(whole, gamma_.data());
    return whole;
}

std::vector<std::int16_t> TestedMaps::stored() const
{
    constexpr std::int16_t notTested = -1;
    std::vector<std::int16_t> whole(voxels_, notTested);
    place(whole, storedRows().data());
    return whole;
}

std::vector<std::int32_t> TestedMaps::rows() const
{
    std::vector<std::int32_t> numbers;
    numbers.reserve(2 * rows_.size());
    for (const auto& [first, count] : rows_) {
        numbers.push_back(static_cast<std::int32_t>(first));
        numbers.push_back(static_cast<std::int32_t>(count));
    }
    return numbers;
}

std::vector<std::int16_t> TestedMaps::storedRows() const
{
    return zarngi::storedGammas(gamma_, passed_);
}

} // namespace engine
