/**
 * @file wasm.h
 * Vectors of WebAssembly: the portable ones, with its own instructions where the compiler does not
 * find them.
 */
#ifndef ZARNGI_LANES_WASM_H
#define ZARNGI_LANES_WASM_H

#include <wasm_simd128.h>

#include "lanes/portable.h"

namespace zarngi::engine
{

namespace
{

/** Four floats (every browser with vectors). */
struct WasmLanes : PortableLanes {
    static F min(F a, F b) { return floats(wasm_f32x4_pmin(bits(b), bits(a))); }
    static F max(F a, F b) { return floats(wasm_f32x4_pmax(bits(b), bits(a))); }
    static F sqrt(F a) { return floats(wasm_f32x4_sqrt(bits(a))); }
    static F roughInverseRoot(F a) { return all(1) / sqrt(a); }
    static I truncated(F a)
    {
        // It saturates, and gives 0 for what is not a number.
        const v128_t saturated = wasm_i32x4_trunc_sat_f32x4(bits(a));
        const v128_t isInRange = wasm_f32x4_lt(bits(a), wasm_f32x4_const_splat(0x1p31F));
        return reinterpret_cast<I>(
            wasm_v128_bitselect(saturated, wasm_i32x4_const_splat(lowestIndex), isInRange));
    }
    static F whole(F a) { return limited(wasm_f32x4_trunc(bits(a)), a); }
    static F floor(F a) { return limited(wasm_f32x4_floor(bits(a)), a); }
    static F gather(const float* p, I i)
    {
        v128_t lanes = wasm_v128_load32_zero(p + i[0]);
        lanes = wasm_v128_load32_lane(p + i[1], lanes, 1);
        lanes = wasm_v128_load32_lane(p + i[2], lanes, 2);
        return floats(wasm_v128_load32_lane(p + i[3], lanes, 3));
    }
    static void gatherPairs(const float* p, I i, F& low, F& high)
    {
        const v128_t first = wasm_v128_load64_lane(p + i[1], wasm_v128_load64_zero(p + i[0]), 1);
        const v128_t second = wasm_v128_load64_lane(p + i[3], wasm_v128_load64_zero(p + i[2]), 1);
        low = floats(wasm_i32x4_shuffle(first, second, 0, 2, 4, 6));
        high = floats(wasm_i32x4_shuffle(first, second, 1, 3, 5, 7));
    }
    static F spread(const float* p, I i) { return gather(p, i); }
    static unsigned notGreater(F a, F b)
    {
        return ~wasm_i32x4_bitmask(wasm_f32x4_gt(bits(a), bits(b))) & everyLane;
    }
    static unsigned hasBit(I a, int bit)
    {
        return wasm_i32x4_bitmask(
            wasm_i32x4_shl(reinterpret_cast<v128_t>(a), static_cast<std::uint32_t>(31 - bit)));
    }
    static void storeChosen(int* p, unsigned chosen, I i)
    {
        wasm_v128_store(p, compressed(reinterpret_cast<v128_t>(i), chosen));
    }
    static void storeChosen(float* p, unsigned chosen, F a)
    {
        wasm_v128_store(p, compressed(bits(a), chosen));
    }

private:
    static constexpr std::int32_t lowestIndex = INT32_MIN;

    /** A rounded number as that of an index: no negative zero, the lowest one where it is too
     * large. */
    static F limited(v128_t rounded, F a)
    {
        const v128_t isInRange =
            wasm_f32x4_lt(wasm_f32x4_abs(bits(a)), wasm_f32x4_const_splat(0x1p31F));
        return floats(wasm_v128_bitselect(rounded, wasm_f32x4_const_splat(-0x1p31F), isInRange)) +
               all(0);
    }
    static v128_t bits(F a) { return reinterpret_cast<v128_t>(a); }
    static F floats(v128_t a) { return reinterpret_cast<F>(a); }

    /** The lanes whose bits are set, from the first one on. */
    static v128_t compressed(v128_t lanes, unsigned chosen)
    {
        // Each lane by its first byte, four bits each; the rest may be anything.
        static constexpr std::uint16_t order[16] = {0x0000, 0x0000, 0x0004, 0x0040, 0x0008, 0x0080,
                                                    0x0084, 0x0840, 0x000c, 0x00c0, 0x00c4, 0x0c40,
                                                    0x00c8, 0x0c80, 0x0c84, 0xc840};
        const std::uint32_t first = order[chosen];
        const std::uint32_t spreadOut = (first & 0xfU) | (first & 0xf0U) << 4U |
                                        (first & 0xf00U) << 8U | (first & 0xf000U) << 12U;
        const v128_t starts = wasm_i32x4_splat(static_cast<std::int32_t>(spreadOut));
        const v128_t places =
            wasm_i8x16_shuffle(starts, starts, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
        const v128_t within = wasm_i8x16_const(0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3);
        return wasm_i8x16_swizzle(lanes, wasm_i8x16_add(places, within));
    }
};

} // namespace

} // namespace zarngi::engine

#endif
