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
    static I allIndices(int i) { return _mm512_set1_epi32(i); }
    static F asFloats(I i) { return _mm512_cvtepi32_ps(i); }
    static I truncated(F a) { return _mm512_cvttps_epi32(a); }
    static F whole(F a) { return _mm512_cvtepi32_ps(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    /** The numbers of the lanes: 0, 1, ... */
    static I places()
    {
        return _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    }
    static F min(F a, F b) { return _mm512_min_ps(a, b); }
    static F max(F a, F b) { return _mm512_max_ps(a, b); }
    /** Four lanes, one of which is the largest of all. */
    static __m128 largestFour(F a)
    {
        const __m256 upper = _mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(a), 1));
        const __m256 most = _mm256_max_ps(_mm512_castps512_ps256(a), upper);
        return _mm_max_ps(_mm256_castps256_ps128(most), _mm256_extractf128_ps(most, 1));
    }
    static F sqrt(F a) { return _mm512_sqrt_ps(a); }
    /** a * b + c, for bounds only: the intermediate rounding is left to the path. */
    static F mulAdd(F a, F b, F c) { return _mm512_fmadd_ps(a, b, c); }
    /** c - a * b, likewise. */
    static F mulSub(F a, F b, F c) { return _mm512_fnmadd_ps(a, b, c); }
    /** 1 / a and 1 / sqrt(a) with relative errors below 2^-11, which the path and the CPU choose.
     */
    static F roughInverse(F a) { return _mm512_rcp14_ps(a); }
    static F roughInverseRoot(F a) { return _mm512_rsqrt14_ps(a); }
    /** The largest whole number not above each lane. */
    static F floor(F a)
    {
        return _mm512_roundscale_ps(a, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
    }
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
    /** The floats p[i] and p[i + 1], one pair after another: faster than the gathers of many CPUs.
     */
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
    /** i / n, i % n and i * n, for i from 0 on and n a power of two. */
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
    /** The lanes in which a bit is set. */
    static unsigned hasBit(I a, int bit)
    {
        return _mm512_test_epi32_mask(a, _mm512_set1_epi32(1 << bit));
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
    /** Whether spreading from registers pays. */
    static constexpr bool spreadsRegisters = true;
    /** Lane i of vectors one after another; any of their lanes for an i beyond them. */
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
    /** Stores the lanes whose bits are set one after another, and anything in the rest of the
     * width. */
    static void storeChosen(int* p, unsigned bits, I i)
    {
        storeIndices(p, _mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), i));
    }
    static void storeChosen(float* p, unsigned bits, F a)
    {
        store(p, _mm512_maskz_compress_ps(static_cast<__mmask16>(bits), a));
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
    static I allIndices(int i) { return _mm256_set1_epi32(i); }
    static I truncated(F a) { return _mm256_cvttps_epi32(a); }
    static F whole(F a) { return _mm256_cvtepi32_ps(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    static I places() { return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7); }
    static F min(F a, F b) { return _mm256_min_ps(a, b); }
    static F max(F a, F b) { return _mm256_max_ps(a, b); }
    static __m128 largestFour(F a)
    {
        return _mm_max_ps(_mm256_castps256_ps128(a), _mm256_extractf128_ps(a, 1));
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
    static I allIndices(int i) { return _mm_set1_epi32(i); }
    static I truncated(F a) { return _mm_cvttps_epi32(a); }
    static F whole(F a) { return _mm_cvtepi32_ps(truncated(a)); }
    /** The numbers first, first + 1, ... */
    static F counting(int first) { return asFloats(sum(allIndices(first), places())); }
    static I places() { return _mm_setr_epi32(0, 1, 2, 3); }
    static F min(F a, F b) { return _mm_min_ps(a, b); }
    static F max(F a, F b) { return _mm_max_ps(a, b); }
    static __m128 largestFour(F a) { return a; }
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
    static constexpr bool spreadsRegisters = false;
    template <std::size_t count> static F spreadFrom(const F (&vectors)[count], I i)
    {
        alignas(16) float values[count * width];
        for (std::size_t v = 0; v < count; ++v) {
            store(values + v * width, vectors[v]);
        }
        return gather(values, i); // none is beyond: the rows of this path stay in memory
    }
    static void storeChosen(int* p, unsigned bits, I i)
    {
        alignas(16) int values[width];
        storeIndices(values, i);
        for (; bits != 0; bits &= bits - 1) {
            *p++ = values[__builtin_ctz(bits)];
        }
    }
    static void storeChosen(float* p, unsigned bits, F a)
    {
        alignas(16) float values[width];
        store(values, a);
        for (; bits != 0; bits &= bits - 1) {
            *p++ = values[__builtin_ctz(bits)];
        }
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

/** 1 / a within a relative error of 2^-20. */
inline Lanes::F inverse(Lanes::F a)
{
    const Lanes::F rough = Lanes::roughInverse(a);
    // One step of Newton's method squares the error.
    return Lanes::mulAdd(rough, Lanes::mulSub(a, rough, Lanes::all(1)), rough);
}

/** At least the root of a, and larger by at most 2^-9 of it; not a number for infinity. */
inline Lanes::F rootFromAbove(Lanes::F a)
{
    // The root of zero takes the place of zero times infinity.
    const Lanes::F inverseRoot = Lanes::roughInverseRoot(Lanes::max(a, Lanes::all(1e-30F)));
    return a * inverseRoot * Lanes::all(1 + 0x1p-10F);
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
    __m128 most = Lanes::largestFour(a);
    most = _mm_max_ps(most, _mm_movehl_ps(most, most));
    most = _mm_max_ss(most, _mm_shuffle_ps(most, most, 1));
    return _mm_cvtss_f32(most);
}

} // namespace

#endif
