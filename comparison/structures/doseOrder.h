/**
 * @file doseOrder.h
 * How many doses reach a dose, and which dose a share of them reaches, without sorting them all.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_DOSEORDER_H
#define ZARNGI_COMPARISON_STRUCTURES_DOSEORDER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace zarngi
{

/**
 * Doses in bins: bin i holds those from i * width to below (i + 1) * width, one before the first
 * those below 0. What is asked for is told first; then the doses of the bins that decide it are
 * gathered at once.
 */
class DoseOrder
{
public:
    /** @param doses one or more, which must stay; @param width above 0; @param largest of them */
    DoseOrder(const std::vector<double>& doses, double width, double largest);

    /** That percentile() will be asked for. */
    void wantPercentile(double percent);
    /** That atOrAbove() will be asked for. */
    void wantDose(double dose);
    void gather();

    /** Linear between order statistics. @param percent 0 to 100 */
    double percentile(double percent);
    std::size_t atOrAbove(double dose) const;

    /** The doses at or above i * width, for i = 0, 1, ... until there is none. */
    std::vector<std::size_t> cumulative() const;

private:
    struct Rank {
        std::size_t below;
        double fraction;
    };

    Rank rankOf(double percent) const;
    std::size_t binOf(double dose) const;
    std::size_t binOfRank(std::size_t rank) const;
    double atRank(std::size_t rank);

    const std::vector<double>& doses_;
    double width_;
    std::vector<std::uint32_t> bins_;                 ///< of each dose
    std::vector<std::size_t> starts_;                 ///< doses below each bin; one more at the end
    std::map<std::size_t, std::vector<double>> kept_; ///< doses of the bins that are wanted
};

} // namespace zarngi

#endif
