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
    static constexpr int spreadRange = 16; ///< spread() takes indices below this
    static constexpr unsigned everyLane = 0xffffU;

    static F load(const float* p) { return _mm512_loadu_ps(p); }
    static void store(float* p, F a) { _mm512_storeu_ps(p, a); }
    static F all(float a) { return _mm512_set1_ps(a); }
    static void storeIndices(int* p, I i) { _mm512_storeu_si512(p, i); }
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
    /** The floats p[i]. */
    static F gather(const float* p, const int* i)
    {
        // Without optimization this is a macro of GCC's that passes its mask as a signed number.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
        return _mm512_i32gather_ps(_mm512_loadu_si512(i), p, 4);
#pragma GCC diagnostic pop
    }
    /** The floats p[i] for indices i from 0 to spreadRange - 1. */
    static F spread(const float* p, I i)
    {
        return _mm512_permutexvar_ps(i, _mm512_loadu_ps(p));
    }
};

#elif defined(__AVX2__)

/** Eight floats (AVX2). */
struct Lanes {
    using F = __m256;
    using I = __m256i;
    static constexpr int width = 8;
    static constexpr int spreadRange = 8; ///< spread() takes indices below this
    static constexpr unsigned everyLane = 0xffU;

    static F load(const float* p) { return _mm256_loadu_ps(p); }
    static void store(float* p, F a) { _mm256_storeu_ps(p, a); }
    static F all(float a) { return _mm256_set1_ps(a); }
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
    static F gather(const float* p, const int* i)
    {
        return _mm256_i32gather_ps(p, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(i)), 4);
    }
    static F spread(const float* p, I i) { return _mm256_permutevar8x32_ps(_mm256_loadu_ps(p), i); }
};

#else

/** Four floats (every x86-64 CPU). */
struct Lanes {
    using F = __m128;
    using I = __m128i;
    static constexpr int width = 4;
    static constexpr int spreadRange = 1 << 30; ///< spread() takes indices below this
    static constexpr unsigned everyLane = 0xfU;

    static F load(const float* p) { return _mm_loadu_ps(p); }
    static void store(float* p, F a) { _mm_storeu_ps(p, a); }
    static F all(float a) { return _mm_set1_ps(a); }
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
    static F gather(const float* p, const int* i)
    {
        return _mm_setr_ps(p[i[0]], p[i[1]], p[i[2]], p[i[3]]);
    }
    static F spread(const float* p, I i)
    {
        alignas(16) int k[width];
        _mm_store_si128(reinterpret_cast<__m128i*>(k), i);
        return _mm_setr_ps(p[k[0]], p[k[1]], p[k[2]], p[k[3]]);
    }
};

#endif

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
