/**
 * @file gammaOrder.h
 * Percentiles of a gamma map, which is gone through twice and neither copied nor sorted.
 */
#ifndef ZARNGI_COMPARISON_GAMMAORDER_H
#define ZARNGI_COMPARISON_GAMMAORDER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace zarngi
{

/**
 * Numbers from 0 on in bins, by the upper half of their bits, which rises with them. First each is
 * counted; then what is asked for is told; then those in the bins that decide it are gathered.
 */
class GammaOrder
{
public:
    void count(float gamma)
    {
        ++counts_[binOf(gamma)];
        ++size_;
    }
    std::size_t size() const { return size_; }

    /** That percentile() will be asked for; one or more have been counted. */
    void want(double percent);
    void gather(float gamma)
    {
        if (isWanted_[binOf(gamma)] != 0) {
            kept_[binOf(gamma)].push_back(gamma);
        }
    }

    /** Linear between order statistics. @param percent 0 to 100 */
    double percentile(double percent);

private:
    struct Rank {
        std::size_t below;
        double fraction;
    };
    struct Bin {
        std::size_t number;
        std::size_t before; ///< numbers in the bins before it
    };

    static constexpr std::size_t bins = 1 << 15;

    static std::size_t binOf(float gamma)
    {
        return std::bit_cast<std::uint32_t>(gamma + 0.0F) >> 16; // without a minus before a zero
    }
    Rank rankOf(double percent) const;
    Bin binOfRank(std::size_t rank) const;
    double atRank(std::size_t rank);

    std::vector<std::uint32_t> counts_ = std::vector<std::uint32_t>(bins);
    std::vector<unsigned char> isWanted_ = std::vector<unsigned char>(bins);
    std::map<std::size_t, std::vector<float>> kept_; ///< numbers of the bins that are wanted
    std::size_t size_ = 0;
};

} // namespace zarngi

#endif
