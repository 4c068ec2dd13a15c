#include "web/engine/testedMaps.h"

#include <algorithm>
#include <utility>

#include "comparison/documents/reportVolume.h"
#include "libZarnGI.h"

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
    const std::size_t kept = findRows(size, gamma);
    keepVerdicts(passed, kept);
    keepGamma(gamma, kept);
}

TestedMaps::TestedMaps(const std::array<int, 3>& size, files::LargeVector<float>&& gamma,
                       files::LargeVector<unsigned char>&& passed)
    : voxels_(gamma.size())
{
    const std::size_t kept = findRows(size, gamma);
    keepVerdicts(std::exchange(passed, files::LargeVector<unsigned char>()), kept);
    keepGamma(std::exchange(gamma, files::LargeVector<float>()), kept);
}

std::size_t TestedMaps::findRows(const std::array<int, 3>& size, std::span<const float> gamma)
{
    std::size_t kept = 0;
    const auto length = static_cast<std::size_t>(size[0]);
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
    return kept;
}

void TestedMaps::keepVerdicts(std::span<const unsigned char> passed, std::size_t kept)
{
    hasFailed_.reserve(kept);
    for (const auto& [first, count] : rows_) {
        for (const unsigned char verdict : passed.subspan(first, count)) {
            hasFailed_.push_back(verdict == ZARNGI_FAILED);
        }
    }
}

void TestedMaps::keepGamma(std::span<const float> gamma, std::size_t kept)
{
    gamma_.reserve(kept);
    for (const auto& [first, count] : rows_) {
        const std::span<const float> row = gamma.subspan(first, count);
        gamma_.insert(gamma_.end(), row.begin(), row.end());
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
    place(whole, storedRows(0, kept()).data());
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

std::vector<std::int16_t> TestedMaps::storedRows(std::size_t first, std::size_t count) const
{
    const std::span<const float> gamma =
        std::span(gamma_).subspan(first, std::min(count, kept() - first));
    std::vector<unsigned char> passed(gamma.size());
    for (std::size_t i = 0; i < gamma.size(); ++i) {
        passed[i] = !isTested(gamma[i])     ? ZARNGI_NOT_TESTED
                    : hasFailed_[first + i] ? ZARNGI_FAILED
                                            : ZARNGI_PASSED;
    }
    return zarngi::storedGammas(gamma, passed);
}

} // namespace engine
