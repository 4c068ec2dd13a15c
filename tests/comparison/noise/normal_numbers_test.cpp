#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "comparison/noise/normalNumbers.h"
#include "comparison/noise/philox.h"

using zarngi::NormalNumbers;
using zarngi::philox;
using zarngi::PhiloxCounter;

namespace
{

TEST(Philox, GivesThePublishedAnswers)
{
    // The file kat_vectors of the authors' library: philox4x32, 10 rounds.
    EXPECT_EQ(philox({0, 0, 0, 0}, {0, 0}),
              (PhiloxCounter{0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}));
    constexpr std::uint32_t all = 0xffffffff;
    EXPECT_EQ(philox({all, all, all, all}, {all, all}),
              (PhiloxCounter{0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}));
    EXPECT_EQ(philox({0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344}, {0xa4093822, 0x299f31d0}),
              (PhiloxCounter{0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}));
}

TEST(NormalNumbers, HaveTheBitsOfThePlainDefinition)
{
    std::ifstream table(ZARNGI_NORMAL_NUMBERS);
    int lines = 0;
    std::string line;
    for (; std::getline(table, line); ++lines) {
        std::istringstream words(line);
        std::uint64_t seed = 0;
        std::uint64_t stream = 0;
        std::uint64_t pair = 0;
        std::string first;
        std::string second;
        words >> seed >> stream >> pair >> first >> second;
        const std::array<double, 2> numbers = NormalNumbers(seed, stream).pairOf(pair);
        EXPECT_EQ(numbers[0], std::stod(first)) << line;
        EXPECT_EQ(numbers[1], std::stod(second)) << line;
    }
    EXPECT_GT(lines, 40);
}

/** The probability of a standard normal number above x, by the system's library. */
double above(double x)
{
    return std::erfc(x / std::sqrt(2.0)) / 2;
}

TEST(NormalNumbers, HaveTheMomentsAndTailsOfANormalDistribution)
{
    constexpr int pairs = 1000000;
    constexpr double count = 2.0 * pairs;
    const NormalNumbers numbers(12345, 6);
    std::array<double, 4> moments{};
    std::array<double, 5> beyond{};
    double neighbours = 0;
    for (std::uint64_t pair = 0; pair < pairs; ++pair) {
        const std::array<double, 2> both = numbers.pairOf(pair);
        neighbours += both[0] * both[1];
        for (const double z : both) {
            double power = 1;
            for (double& moment : moments) {
                moment += power *= z;
            }
            for (std::size_t i = 0; i < beyond.size(); ++i) {
                beyond[i] += std::fabs(z) > static_cast<double>(i) ? 1 : 0;
            }
        }
    }
    // Five standard errors: variances of the powers are 1, 2, 15 and 96.
    const std::array<double, 4> means{0, 1, 0, 3};
    const std::array<double, 4> variances{1, 2, 15, 96};
    for (std::size_t i = 0; i < moments.size(); ++i) {
        EXPECT_NEAR(moments[i] / count, means[i], 5 * std::sqrt(variances[i] / count)) << i + 1;
    }
    EXPECT_NEAR(neighbours / pairs, 0, 5 / std::sqrt(pairs));
    for (std::size_t i = 1; i < beyond.size(); ++i) {
        const double expected = 2 * above(static_cast<double>(i));
        EXPECT_NEAR(beyond[i] / count, expected, 5 * std::sqrt(expected / count)) << i;
    }
}

TEST(NormalNumbers, QuantilesInvertTheErrorFunctionFarIntoTheTails)
{
    for (const double z : {0.0, 1e-9, 0.3, 1.0, 1.44, 2.5, 5.0, 6.5, 8.0}) {
        EXPECT_NEAR(zarngi::normalQuantile(above(z)), z, 1e-14 * (1 + z)) << z;
    }
}

} // namespace
