/**
 * @file portable.h
 * Vectors of the compiler's own vector types, for every processor.
 *
 * What each function does is told here for all sets of instructions. Lane by lane the results are
 * those of SSE2, also for what is not a number or too large, but for the two rough inverses.
 */
#ifndef ZARNGI_LANES_PORTABLE_H
#define ZARNGI_LANES_PORTABLE_H

#include <cfloat>
#include <cstdint>

#include "lanes/throughMemory.h"

namespace zarngi::engine
{

namespace
{

static_assert(FLT_EVAL_METHOD == 0, "operations on floats must be rounded to floats");

/** Four floats (every CPU). */
struct PortableLanes : ThroughMemory<PortableLanes> {
    using F = float __attribute__((vector_size(16)));
    using I = std::int32_t __attribute__((vector_size(16)));
    static constexpr int width = 4;
    static constexpr unsigned everyLane = 0xfU;

    static F load(const float* p)
    {
        F a;
        __builtin_memcpy(&a, p, sizeof a);
        return a;
    }
    static void store(float* p, F a) { __builtin_memcpy(p, &a, sizeof a); }
    static F all(float a) { return F{a, a, a, a}; }
    static I loadIndices(const int* p)
    {
        I i;
        __builtin_memcpy(&i, p, sizeof i);
        return i;
    }
    static void storeIndices(int* p, I i) { __builtin_memcpy(p, &i, sizeof i); }
    static I allIndices(int i) { return I{i, i, i, i}; }
    static F asFloats(I i) { return __builtin_convertvector(i, F); }
    /** Towards zero; the lowest index for what is not a number or too large. */
    static I truncated(F a)
    {
        // The language leaves those results open.
        const F lowest = all(-0x1p31F);
        const F magnitude = reinterpret_cast<F>(reinterpret_cast<I>(a) & allIndices(0x7fffffff));
        return __builtin_convertvector(magnitude < -lowest ? a : lowest, I);
    }
    static F whole(F a) { return asFloats(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    /** The numbers of the lanes: 0, 1, ... */
    static I places() { return I{0, 1, 2, 3}; }
    /** The second operand where either is not a number, and of two zeros. */
    static F min(F a, F b) { return a < b ? a : b; }
    static F max(F a, F b) { return a > b ? a : b; }
    /** The largest lane; none of them may be not a number. */
    static float largest(F a)
    {
        const float even = a[0] > a[2] ? a[0] : a[2];
        const float odd = a[1] > a[3] ? a[1] : a[3];
        return even > odd ? even : odd;
    }
    static F sqrt(F a)
    {
        return F{__builtin_sqrtf(a[0]), __builtin_sqrtf(a[1]), __builtin_sqrtf(a[2]),
                 __builtin_sqrtf(a[3])};
    }
    /** a * b + c, for bounds only: the intermediate rounding is left to the path. */
    static F mulAdd(F a, F b, F c) { return a * b + c; }
    /** c - a * b, for bounds only: the intermediate rounding is left to the path. */
    static F mulSub(F a, F b, F c) { return c - a * b; }
    /** 1 / a and 1 / sqrt(a) with relative errors below 2^-11, which the path and the CPU choose.
     */
    static F roughInverse(F a) { return all(1) / a; }
    static F roughInverseRoot(F a) { return all(1) / sqrt(a); }
    /** The largest whole number not above each lane; for |a| < 2^31. */
    static F floor(F a)
    {
        const F towardsZero = whole(a);
        return towardsZero > a ? towardsZero - all(1) : towardsZero;
    }
    /** Bit per lane in which a <= b or either is not a number. */
    static unsigned notGreater(F a, F b) { return bitsOf(~(a > b)); }
    /** The floats p[i], for lanes i. */
    static F gather(const float* p, I i) { return F{p[i[0]], p[i[1]], p[i[2]], p[i[3]]}; }
    /** The floats p[i] and p[i + 1]. */
    static void gatherPairs(const float* p, I i, F& low, F& high)
    {
        low = gather(p, i);
        high = gather(p + 1, i);
    }
    static I sum(I a, I b)
    {
        return reinterpret_cast<I>(reinterpret_cast<U>(a) + reinterpret_cast<U>(b));
    }
    /** i / n, i % n and i * n, for i from 0 on and n a power of two. */
    template <int n> static I quotient(I i) { return i >> __builtin_ctz(n); }
    template <int n> static I remainder(I i) { return i & allIndices(n - 1); }
    template <int n> static I product(I i) { return times(i, n); }
    /** The lanes in which a bit is set. */
    static unsigned hasBit(I a, int bit) { return bitsOf((a & allIndices(1 << bit)) != 0); }
    static I times(I a, int b)
    {
        return reinterpret_cast<I>(reinterpret_cast<U>(a) * reinterpret_cast<U>(allIndices(b)));
    }
    /** Lanes whose bits are set from a, the others from b. */
    static F select(unsigned bits, F a, F b)
    {
        return (allIndices(static_cast<int>(bits)) & ownBits()) != 0 ? a : b;
    }
    /** The floats p[i] for indices i below width. */
    static F spread(const float* p, I i) { return gather(p, i); }
    static I spreadIndices(const int* p, I i) { return I{p[i[0]], p[i[1]], p[i[2]], p[i[3]]}; }
    /** Of ThroughMemory:
     * - spreadsRegisters: whether spreading from registers pays;
     * - spreadFrom(vectors, i): lane i of vectors one after another; any of their lanes for an i
     *   beyond them;
     * - storeChosen(p, bits, a): stores the lanes whose bits are set one after another, and
     * anything in the rest of the width. */

private:
    /** Indices whose sums and products may wrap around. */
    using U = std::uint32_t __attribute__((vector_size(16)));

    static I ownBits() { return I{1, 2, 4, 8}; }

    /** Bit per lane of a comparison's result. */
    static unsigned bitsOf(I lanes)
    {
        using Halves = std::uint64_t __attribute__((vector_size(16)));
        const Halves halves = reinterpret_cast<Halves>(lanes & ownBits());
        const std::uint64_t either = halves[0] | halves[1];
        return static_cast<unsigned>(either | either >> 32U);
    }
};

} // namespace

} // namespace zarngi::engine

#endif
