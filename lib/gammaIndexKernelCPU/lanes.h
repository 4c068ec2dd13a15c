/**
 * @file lanes.h
 * Vectors of floats for the lattice search, one type for each set of instructions.
 *
 * Included once per vector path by a source file compiled for that path; everything has internal
 * linkage. The arithmetic operators are those of the compiler's vector types.
 */
#ifndef ZARNGI_LANES_H
#define ZARNGI_LANES_H

// GCC 12 warns of the deliberately undefined operands inside its own AVX-512 header; clang does not
// know that warning.
#pragma GCC diagnostic push
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

namespace
{

#if defined(__AVX512F__)

/** Sixteen floats (AVX-512). */
struct Lanes {
    using F = __m512;
    using I = __m512i;
    static constexpr int width = 16;
    static constexpr unsigned everyLane = 0xffffU;

    static F load(const float* p) { return _mm512_loadu_ps(p); }
    static void store(float* p, F a) { _mm512_storeu_ps(p, a); }
    static F all(float a) { return _mm512_set1_ps(a); }
    static I loadIndices(const int* p) { return _mm512_loadu_si512(p); }
    static void storeIndices(int* p, I i) { _mm512_storeu_si512(p, i); }
    static F asFloats(I i) { return _mm512_cvtepi32_ps(i); }
    static I truncated(F a) { return _mm512_cvttps_epi32(a); }
    static F whole(F a) { return _mm512_cvtepi32_ps(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first)
    {
        return _mm512_cvtepi32_ps(_mm512_add_epi32(
            _mm512_set1_epi32(first),
            _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)));
    }
    static F min(F a, F b) { return _mm512_min_ps(a, b); }
    static F max(F a, F b) { return _mm512_max_ps(a, b); }
    static F sqrt(F a) { return _mm512_sqrt_ps(a); }
    /** Bit per lane in which a <= b or either is not a number. */
    static unsigned notGreater(F a, F b) { return _mm512_cmp_ps_mask(a, b, _CMP_NGT_UQ); }
// Without optimization the gathers are macros of GCC's that pass their masks as signed numbers.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
    /** The floats p[i], for lanes i. */
    static F gather(const float* p, I i)
    {
        return _mm512_i32gather_ps(i, p, 4);
    }
    /** The floats p[i] and p[i + 1], by half as many loads. */
    static void gatherPairs(const float* p, I i, F& low, F& high)
    {
        const F first = _mm512_castpd_ps(_mm512_i32gather_pd(_mm512_castsi512_si256(i), p, 4));
        const F last = _mm512_castpd_ps(_mm512_i32gather_pd(_mm512_extracti64x4_epi64(i, 1), p, 4));
        const I even = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
        low = _mm512_permutex2var_ps(first, even, last);
        high = _mm512_permutex2var_ps(first, _mm512_add_epi32(even, _mm512_set1_epi32(1)), last);
    }
#pragma GCC diagnostic pop
    static I sum(I a, I b)
    {
        return _mm512_add_epi32(a, b);
    }
    static I times(I a, int b)
    {
        return _mm512_mullo_epi32(a, _mm512_set1_epi32(b));
    }
    /** Lanes whose bits are set from a, the others from b. */
    static F select(unsigned bits, F a, F b)
    {
        return _mm512_mask_blend_ps(static_cast<__mmask16>(bits), b, a);
    }
    /** The floats p[i] for indices i below width. */
    static F spread(const float* p, I i)
    {
        return _mm512_permutexvar_ps(i, _mm512_loadu_ps(p));
    }
    static I spreadIndices(const int* p, I i)
    {
        return _mm512_permutexvar_epi32(i, loadIndices(p));
    }
};

#elif defined(__AVX2__)

/** Eight floats (AVX2). */
struct Lanes {
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
    static I truncated(F a) { return _mm256_cvttps_epi32(a); }
    static F whole(F a) { return _mm256_cvtepi32_ps(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first)
    {
        return _mm256_cvtepi32_ps(
            _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
    }
    static F min(F a, F b) { return _mm256_min_ps(a, b); }
    static F max(F a, F b) { return _mm256_max_ps(a, b); }
    static F sqrt(F a) { return _mm256_sqrt_ps(a); }
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

private:
    static F inOrder(F a)
    {
        return _mm256_castpd_ps(
            _mm256_permute4x64_pd(_mm256_castps_pd(a), _MM_SHUFFLE(3, 1, 2, 0)));
    }
};

#else

/** Four floats (every x86-64 CPU). */
struct Lanes {
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
    static I truncated(F a) { return _mm_cvttps_epi32(a); }
    static F whole(F a) { return _mm_cvtepi32_ps(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first)
    {
        return _mm_cvtepi32_ps(_mm_add_epi32(_mm_set1_epi32(first), _mm_setr_epi32(0, 1, 2, 3)));
    }
    static F min(F a, F b) { return _mm_min_ps(a, b); }
    static F max(F a, F b) { return _mm_max_ps(a, b); }
    static F sqrt(F a) { return _mm_sqrt_ps(a); }
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

#endif

inline Lanes::F absolute(Lanes::F a)
{
    return Lanes::max(a, Lanes::all(0) - a);
}

/** Rounds to the nearest whole number; for |a| < 2^22. */
inline Lanes::F rounded(Lanes::F a)
{
    const Lanes::F shift = Lanes::all(12582912.0F); // 1.5 * 2^23: its last bit is worth 1
    return (a + shift) - shift;
}

/** The largest whole number not above each lane; for |a| < 2^31. */
inline Lanes::F floored(Lanes::F a)
{
    const Lanes::F towardsZero = Lanes::whole(a);
    const unsigned exact = Lanes::notGreater(towardsZero, a);
    return Lanes::select(exact, towardsZero, towardsZero - Lanes::all(1));
}

/** The lane of the least value among those whose bits are set. */
inline int leastLane(const float* values, unsigned open)
{
    int least = __builtin_ctz(open);
    for (open &= open - 1; open != 0; open &= open - 1) {
        const int lane = __builtin_ctz(open);
        least = values[lane] < values[least] ? lane : least;
    }
    return least;
}

/** The largest lane; none of them may be not a number. */
inline float largestLane(Lanes::F a)
{
    alignas(64) float values[16];
    Lanes::store(values, a);
    float largest = values[0];
    for (int lane = 1; lane < Lanes::width; ++lane) {
        largest = values[lane] > largest ? values[lane] : largest;
    }
    return largest;
}

} // namespace

#endif
