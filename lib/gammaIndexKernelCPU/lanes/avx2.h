/**
 * @file avx2.h
 * Vectors of AVX2 with fused multiply-adds; portable.h says what each function does.
 */
#ifndef ZARNGI_LANES_AVX2_H
#define ZARNGI_LANES_AVX2_H

#include "lanes/intrinsics.h"
#include "lanes/sse2.h"

namespace zarngi::engine
{

namespace
{

/** Eight floats (AVX2). */
struct Avx2Lanes {
    using F = __m256;
    using I = __m256i;
    static constexpr int width = 8;
    static constexpr unsigned everyLane = 0xffU;

    static F load(const float* p) { return _mm256_loadu_ps(p); }
    static void store(float* p, F a) { _mm256_storeu_ps(p, a); }
    static F all(float a) { return _mm256_set1_ps(a); }
    static I loadIndices(const int* p)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    }
    static F asFloats(I i) { return _mm256_cvtepi32_ps(i); }
    static void storeIndices(int* p, I i) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), i); }
    static I allIndices(int i) { return _mm256_set1_epi32(i); }
    static I truncated(F a) { return _mm256_cvttps_epi32(a); }
    static F whole(F a) { return _mm256_cvtepi32_ps(truncated(a)); }
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    static I places() { return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7); }
    static F min(F a, F b) { return _mm256_min_ps(a, b); }
    static F max(F a, F b) { return _mm256_max_ps(a, b); }
    static float largest(F a)
    {
        return Sse2Lanes::largest(
            _mm_max_ps(_mm256_castps256_ps128(a), _mm256_extractf128_ps(a, 1)));
    }
    static F sqrt(F a) { return _mm256_sqrt_ps(a); }
    static F mulAdd(F a, F b, F c) { return _mm256_fmadd_ps(a, b, c); }
    static F mulSub(F a, F b, F c) { return _mm256_fnmadd_ps(a, b, c); }
    static F roughInverse(F a) { return _mm256_rcp_ps(a); }
    static F roughInverseRoot(F a) { return _mm256_rsqrt_ps(a); }
    static F floor(F a) { return _mm256_floor_ps(a); }
    static unsigned notGreater(F a, F b)
    {
        return static_cast<unsigned>(_mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_NGT_UQ)));
    }
    static F gather(const float* p, I i) { return _mm256_i32gather_ps(p, i, 4); }
    static void gatherPairs(const float* p, I i, F& low, F& high)
    {
        const auto* const pairs = reinterpret_cast<const double*>(p);
        const F first = _mm256_castpd_ps(_mm256_i32gather_pd(pairs, _mm256_castsi256_si128(i), 4));
        const F last =
            _mm256_castpd_ps(_mm256_i32gather_pd(pairs, _mm256_extracti128_si256(i, 1), 4));
        low = inOrder(_mm256_shuffle_ps(first, last, _MM_SHUFFLE(2, 0, 2, 0)));
        high = inOrder(_mm256_shuffle_ps(first, last, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static I sum(I a, I b) { return _mm256_add_epi32(a, b); }
    template <int n> static I quotient(I i) { return _mm256_srli_epi32(i, __builtin_ctz(n)); }
    template <int n> static I remainder(I i)
    {
        return _mm256_and_si256(i, _mm256_set1_epi32(n - 1));
    }
    template <int n> static I product(I i) { return _mm256_slli_epi32(i, __builtin_ctz(n)); }
    static unsigned hasBit(I a, int bit)
    {
        return static_cast<unsigned>(
            _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_slli_epi32(a, 31 - bit))));
    }
    static I times(I a, int b) { return _mm256_mullo_epi32(a, _mm256_set1_epi32(b)); }
    static F select(unsigned bits, F a, F b)
    {
        const I lane = _mm256_setr_epi32(1, 2, 4, 8, 16, 32, 64, 128);
        const I chosen = _mm256_and_si256(_mm256_set1_epi32(static_cast<int>(bits)), lane);
        return _mm256_blendv_ps(b, a, _mm256_castsi256_ps(_mm256_cmpeq_epi32(chosen, lane)));
    }
    static F spread(const float* p, I i) { return _mm256_permutevar8x32_ps(_mm256_loadu_ps(p), i); }
    static I spreadIndices(const int* p, I i)
    {
        return _mm256_permutevar8x32_epi32(loadIndices(p), i);
    }
    static constexpr bool spreadsRegisters = true;
    static F spreadFrom(const F (&vectors)[2], I i)
    {
        return choose<8>(i, _mm256_permutevar8x32_ps(vectors[0], i),
                         _mm256_permutevar8x32_ps(vectors[1], i));
    }
    static F spreadFrom(const F (&vectors)[3], I i)
    {
        const F inFirstTwo = spreadFrom({vectors[0], vectors[1]}, i);
        return choose<16>(i, inFirstTwo, _mm256_permutevar8x32_ps(vectors[2], i));
    }
    static F spreadFrom(const F (&vectors)[4], I i)
    {
        return choose<16>(i, spreadFrom({vectors[0], vectors[1]}, i),
                          spreadFrom({vectors[2], vectors[3]}, i));
    }
    static void storeChosen(int* p, unsigned bits, I i)
    {
        storeIndices(p, _mm256_permutevar8x32_epi32(i, chosen(bits)));
    }
    static void storeChosen(float* p, unsigned bits, F a)
    {
        store(p, _mm256_permutevar8x32_ps(a, chosen(bits)));
    }

private:
    /** From the second of two vectors where a bit of the index is set. */
    template <int bit> static F choose(I i, F first, F second)
    {
        const I bitInSign = _mm256_slli_epi32(i, 31 - __builtin_ctz(bit));
        return _mm256_blendv_ps(first, second, _mm256_castsi256_ps(bitInSign));
    }

    /** For each set of bits the numbers of the bits that are set, then zeros. */
    struct ChosenPlaces {
        constexpr ChosenPlaces()
        {
            for (unsigned bits = 0; bits <= everyLane; ++bits) {
                int count = 0;
                for (unsigned char lane = 0; lane < width; ++lane) {
                    if ((bits >> lane & 1U) != 0) {
                        places[bits][count++] = lane;
                    }
                }
            }
        }
        alignas(8) unsigned char places[everyLane + 1][width] = {};
    };

    static I chosen(unsigned bits)
    {
        static constexpr ChosenPlaces table;
        const auto* const places = reinterpret_cast<const __m128i*>(table.places[bits]);
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(places));
    }
    static F inOrder(F a)
    {
        return _mm256_castpd_ps(
            _mm256_permute4x64_pd(_mm256_castps_pd(a), _MM_SHUFFLE(3, 1, 2, 0)));
    }
};

} // namespace

} // namespace zarngi::engine

#endif
