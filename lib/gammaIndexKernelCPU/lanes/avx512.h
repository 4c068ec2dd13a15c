/**
 * @file avx512.h
 * Vectors of AVX-512; portable.h says what each function does.
 */
#ifndef ZARNGI_LANES_AVX512_H
#define ZARNGI_LANES_AVX512_H

#include "lanes/intrinsics.h"
#include "lanes/sse2.h"

namespace zarngi::engine
{

namespace
{

/** Sixteen floats (AVX-512). */
struct Avx512Lanes {
    using F = __m512;
    using I = __m512i;
    static constexpr int width = 16;
    static constexpr unsigned everyLane = 0xffffU;

    static F load(const float* p) { return _mm512_loadu_ps(p); }
    static void store(float* p, F a) { _mm512_storeu_ps(p, a); }
    static F all(float a) { return _mm512_set1_ps(a); }
    static I loadIndices(const int* p) { return _mm512_loadu_si512(p); }
    static void storeIndices(int* p, I i) { _mm512_storeu_si512(p, i); }
    static I allIndices(int i) { return _mm512_set1_epi32(i); }
    static F asFloats(I i) { return _mm512_cvtepi32_ps(i); }
    static I truncated(F a) { return _mm512_cvttps_epi32(a); }
    static F whole(F a) { return _mm512_cvtepi32_ps(truncated(a)); }
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    static I places()
    {
        return _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    }
    static F min(F a, F b) { return _mm512_min_ps(a, b); }
    static F max(F a, F b) { return _mm512_max_ps(a, b); }
    static float largest(F a)
    {
        const __m256 upper = _mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(a), 1));
        const __m256 most = _mm256_max_ps(_mm512_castps512_ps256(a), upper);
        return Sse2Lanes::largest(
            _mm_max_ps(_mm256_castps256_ps128(most), _mm256_extractf128_ps(most, 1)));
    }
    static F sqrt(F a) { return _mm512_sqrt_ps(a); }
    static F mulAdd(F a, F b, F c) { return _mm512_fmadd_ps(a, b, c); }
    static F mulSub(F a, F b, F c) { return _mm512_fnmadd_ps(a, b, c); }
    static F roughInverse(F a) { return _mm512_rcp14_ps(a); }
    static F roughInverseRoot(F a) { return _mm512_rsqrt14_ps(a); }
    static F floor(F a)
    {
        return _mm512_roundscale_ps(a, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
    }
    static unsigned notGreater(F a, F b) { return _mm512_cmp_ps_mask(a, b, _CMP_NGT_UQ); }
// Without optimization the gathers are macros of GCC's that pass their masks as signed numbers.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
    static F gather(const float* p, I i)
    {
        return _mm512_i32gather_ps(i, p, 4);
    }
    /** One pair after another: faster than the gathers of many CPUs. */
    static void gatherPairs(const float* p, I i, F& low, F& high)
    {
        alignas(64) int at[width];
        storeIndices(at, i);
        const F first = eightPairs(p, at);
        const F last = eightPairs(p, at + 8);
        const I even = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
        low = _mm512_permutex2var_ps(first, even, last);
        high = _mm512_permutex2var_ps(first, _mm512_add_epi32(even, _mm512_set1_epi32(1)), last);
    }
    static __m128 twoPairs(const float* p, const int* at)
    {
        const __m128 first =
            _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p + at[0]));
        return _mm_loadh_pi(first, reinterpret_cast<const __m64*>(p + at[1]));
    }
    static F eightPairs(const float* p, const int* at)
    {
        const __m256 low = _mm256_set_m128(twoPairs(p, at + 2), twoPairs(p, at));
        const __m256 high = _mm256_set_m128(twoPairs(p, at + 6), twoPairs(p, at + 4));
        return _mm512_castpd_ps(_mm512_insertf64x4(_mm512_castps_pd(_mm512_castps256_ps512(low)),
                                                   _mm256_castps_pd(high), 1));
    }
#pragma GCC diagnostic pop
    static I sum(I a, I b)
    {
        return _mm512_add_epi32(a, b);
    }
    template <int n> static I quotient(I i)
    {
        return _mm512_srli_epi32(i, __builtin_ctz(n));
    }
    template <int n> static I remainder(I i)
    {
        return _mm512_and_si512(i, _mm512_set1_epi32(n - 1));
    }
    template <int n> static I product(I i)
    {
        return _mm512_slli_epi32(i, __builtin_ctz(n));
    }
    static unsigned hasBit(I a, int bit)
    {
        return _mm512_test_epi32_mask(a, _mm512_set1_epi32(1 << bit));
    }
    static I times(I a, int b)
    {
        return _mm512_mullo_epi32(a, _mm512_set1_epi32(b));
    }
    static F select(unsigned bits, F a, F b)
    {
        return _mm512_mask_blend_ps(static_cast<__mmask16>(bits), b, a);
    }
    static F spread(const float* p, I i)
    {
        return _mm512_permutexvar_ps(i, _mm512_loadu_ps(p));
    }
    static I spreadIndices(const int* p, I i)
    {
        return _mm512_permutexvar_epi32(i, loadIndices(p));
    }
    static constexpr bool spreadsRegisters = true;
    static F spreadFrom(const F (&vectors)[2], I i)
    {
        return _mm512_permutex2var_ps(vectors[0], i, vectors[1]);
    }
    static F spreadFrom(const F (&vectors)[3], I i)
    {
        const F inFirstTwo = _mm512_permutex2var_ps(vectors[0], i, vectors[1]);
        const __mmask16 beyond = _mm512_test_epi32_mask(i, _mm512_set1_epi32(2 * width));
        return _mm512_mask_permutexvar_ps(inFirstTwo, beyond, i, vectors[2]);
    }
    static F spreadFrom(const F (&vectors)[4], I i)
    {
        const __mmask16 beyond = _mm512_test_epi32_mask(i, _mm512_set1_epi32(2 * width));
        return _mm512_mask_blend_ps(beyond, _mm512_permutex2var_ps(vectors[0], i, vectors[1]),
                                    _mm512_permutex2var_ps(vectors[2], i, vectors[3]));
    }
    static void storeChosen(int* p, unsigned bits, I i)
    {
        storeIndices(p, _mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), i));
    }
    static void storeChosen(float* p, unsigned bits, F a)
    {
        store(p, _mm512_maskz_compress_ps(static_cast<__mmask16>(bits), a));
    }
};

} // namespace

} // namespace zarngi::engine

#endif
