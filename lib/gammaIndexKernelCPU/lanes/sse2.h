/**
 * @file sse2.h
 * Vectors of SSE2; portable.h says what each function does.
 */
#ifndef ZARNGI_LANES_SSE2_H
#define ZARNGI_LANES_SSE2_H

#include <emmintrin.h>

#include "lanes/throughMemory.h"

namespace zarngi::engine
{

namespace
{

/** Four floats (every x86-64 CPU). */
struct Sse2Lanes : ThroughMemory<Sse2Lanes> {
    using F = __m128;
    using I = __m128i;
    static constexpr int width = 4;
    static constexpr unsigned everyLane = 0xfU;

    static F load(const float* p) { return _mm_loadu_ps(p); }
    static void store(float* p, F a) { _mm_storeu_ps(p, a); }
    static F all(float a) { return _mm_set1_ps(a); }
    static I loadIndices(const int* p)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
    static F asFloats(I i) { return _mm_cvtepi32_ps(i); }
    static void storeIndices(int* p, I i) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), i); }
    static I allIndices(int i) { return _mm_set1_epi32(i); }
    static I truncated(F a) { return _mm_cvttps_epi32(a); }
    static F whole(F a) { return _mm_cvtepi32_ps(truncated(a)); }
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    static I places() { return _mm_setr_epi32(0, 1, 2, 3); }
    static F min(F a, F b) { return _mm_min_ps(a, b); }
    static F max(F a, F b) { return _mm_max_ps(a, b); }
    static float largest(F a)
    {
        const F most = _mm_max_ps(a, _mm_movehl_ps(a, a));
        return _mm_cvtss_f32(_mm_max_ss(most, _mm_shuffle_ps(most, most, 1)));
    }
    static F sqrt(F a) { return _mm_sqrt_ps(a); }
    static F mulAdd(F a, F b, F c) { return a * b + c; }
    static F mulSub(F a, F b, F c) { return c - a * b; }
    static F roughInverse(F a) { return _mm_rcp_ps(a); }
    static F roughInverseRoot(F a) { return _mm_rsqrt_ps(a); }
    static F floor(F a) // for |a| < 2^31
    {
        const F towardsZero = whole(a);
        return select(notGreater(towardsZero, a), towardsZero, towardsZero - all(1));
    }
    static unsigned notGreater(F a, F b)
    {
        return static_cast<unsigned>(_mm_movemask_ps(_mm_cmpngt_ps(a, b)));
    }
    static F gather(const float* p, I i)
    {
        alignas(16) int k[width];
        _mm_store_si128(reinterpret_cast<__m128i*>(k), i);
        return _mm_setr_ps(p[k[0]], p[k[1]], p[k[2]], p[k[3]]);
    }
    static void gatherPairs(const float* p, I i, F& low, F& high)
    {
        low = gather(p, i);
        high = gather(p + 1, i);
    }
    static F spread(const float* p, I i) { return gather(p, i); }
    static I spreadIndices(const int* p, I i)
    {
        alignas(16) int k[width];
        storeIndices(k, i);
        return _mm_setr_epi32(p[k[0]], p[k[1]], p[k[2]], p[k[3]]);
    }
    static I sum(I a, I b) { return _mm_add_epi32(a, b); }
    template <int n> static I quotient(I i) { return _mm_srli_epi32(i, __builtin_ctz(n)); }
    template <int n> static I remainder(I i) { return _mm_and_si128(i, _mm_set1_epi32(n - 1)); }
    template <int n> static I product(I i) { return _mm_slli_epi32(i, __builtin_ctz(n)); }
    static unsigned hasBit(I a, int bit)
    {
        return static_cast<unsigned>(
            _mm_movemask_ps(_mm_castsi128_ps(_mm_slli_epi32(a, 31 - bit))));
    }
    static I times(I a, int b)
    {
        // The low halves of the products of even and of odd lanes.
        const I factor = _mm_set1_epi32(b);
        const I even = _mm_shuffle_epi32(_mm_mul_epu32(a, factor), _MM_SHUFFLE(0, 0, 2, 0));
        const I odd =
            _mm_shuffle_epi32(_mm_mul_epu32(_mm_srli_si128(a, 4), factor), _MM_SHUFFLE(0, 0, 2, 0));
        return _mm_unpacklo_epi32(even, odd);
    }
    static F select(unsigned bits, F a, F b)
    {
        const I lane = _mm_setr_epi32(1, 2, 4, 8);
        const I chosen = _mm_and_si128(_mm_set1_epi32(static_cast<int>(bits)), lane);
        const F mask = _mm_castsi128_ps(_mm_cmpeq_epi32(chosen, lane));
        return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
    }
};

} // namespace

} // namespace zarngi::engine

#endif
