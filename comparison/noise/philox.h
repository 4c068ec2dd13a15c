/**
 * @file philox.h
 * Random numbers from counters: the same number for the same place, in whichever order they are
 * drawn, by however many threads.
 *
 * Philox4x32-10 of J. Salmon, M. Moraes, R. Dror and D. Shaw, "Parallel random numbers: as easy as
 * 1, 2, 3", Proc. SC11 (2011).
 */
#ifndef ZARNGI_COMPARISON_NOISE_PHILOX_H
#define ZARNGI_COMPARISON_NOISE_PHILOX_H

#include <array>
#include <cstdint>

namespace zarngi
{

using PhiloxCounter = std::array<std::uint32_t, 4>;
using PhiloxKey = std::array<std::uint32_t, 2>;

/** 128 random bits. */
constexpr PhiloxCounter philox(PhiloxCounter counter, PhiloxKey key)
{
    constexpr int rounds = 10;
    for (int i = 0; i < rounds; ++i) {
        const std::uint64_t first = std::uint64_t{0xD2511F53} * counter[0];
        const std::uint64_t second = std::uint64_t{0xCD9E8D57} * counter[2];
        counter = {static_cast<std::uint32_t>(second >> 32U) ^ counter[1] ^ key[0],
                   static_cast<std::uint32_t>(second),
                   static_cast<std::uint32_t>(first >> 32U) ^ counter[3] ^ key[1],
                   static_cast<std::uint32_t>(first)};
        key = {key[0] + 0x9E3779B9U, key[1] + 0xBB67AE85U};
    }
    return counter;
}

} // namespace zarngi

#endif
