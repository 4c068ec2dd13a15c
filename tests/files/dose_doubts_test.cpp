#include "files/doseDoubts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace
{

using files::farDoses;

/** What the definition says, by sorting. */
void expectAsDefined(const std::vector<float>& doses)
{
    std::vector<float> risen;
    std::copy_if(doses.begin(), doses.end(), std::back_inserter(risen),
                 [](float dose) { return dose > 0; });
    std::sort(risen.begin(), risen.end());
    const std::size_t count = risen.size();
    const float maximum = risen.empty() ? 0 : risen.back();
    const float percentile = risen.empty() ? 0 : risen[(999 * count + 999) / 1000 - 1];
    const bool areFar = static_cast<double>(maximum) > 100 * static_cast<double>(percentile);
    const auto found = farDoses(doses, maximum);
    ASSERT_EQ(found.has_value(), areFar) << count;
    if (areFar) {
        const auto isFar = [maximum](float dose) {
            return 100 * static_cast<double>(dose) >= static_cast<double>(maximum);
        };
        EXPECT_EQ(found->percentile, percentile);
        EXPECT_EQ(found->count, std::count_if(risen.begin(), risen.end(), isFar));
        EXPECT_EQ(found->positive, count);
    }
}

TEST(DoseDoubts, FarDosesAreThoseOfTheDefinition)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<std::size_t> sizes(0, 5000);
    // Spread over so many decades that some hundreds of the lists have far doses, some not.
    std::normal_distribution<double> decades(0, 0.7);
    std::bernoulli_distribution isDose(0.8);
    for (int run = 0; run < 1000; ++run) {
        std::vector<float> doses(sizes(random));
        for (float& dose : doses) {
            const auto value =
                static_cast<float>(std::pow(10, std::round(8 * decades(random)) / 8));
            dose = isDose(random) ? value : -value * static_cast<float>(run % 2);
        }
        expectAsDefined(doses);
    }
}

} // namespace
