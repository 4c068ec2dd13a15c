/**
 * @file normalNumbers.h
 * Normally distributed numbers, whose bits are the same on every system: additions,
 * multiplications, divisions and square roots alone, which IEEE 754 rounds in one way. The
 * logarithms and cosines of systems' libraries differ in their last bits.
 */
#ifndef ZARNGI_COMPARISON_NOISE_NORMALNUMBERS_H
#define ZARNGI_COMPARISON_NOISE_NORMALNUMBERS_H

#include <array>
#include <cstdint>

namespace zarngi
{

/** Independent numbers of mean 0 and variance 1, one for each index. */
class NormalNumbers
{
public:
    /** @param stream tells sets of numbers with the same seed apart */
    NormalNumbers(std::uint64_t seed, std::uint64_t stream) : seed_(seed), stream_(stream) {}

    /** Those of the indices 2 * pair and 2 * pair + 1. */
    std::array<double, 2> pairOf(std::uint64_t pair) const;

private:
    std::uint64_t seed_;
    std::uint64_t stream_;
};

/** The natural logarithm of a number from 2^-1022 to 1, right to some units of the last place. */
double portableLog(double value);

/**
 * The number above which a standard normal one lies with a probability above 0, at most 1/2: to
 * about 1 part in 10^15, after M. Wichura, Algorithm AS 241, Appl. Statist. 37 (1988) 477.
 */
double normalQuantile(double probability);

} // namespace zarngi

#endif
