/**
 * @file lanes.h
 * Vectors of floats for the searches, one type for each set of instructions.
 *
 * Included once per vector path by a source file compiled for that path; everything has internal
 * linkage. The arithmetic operators are those of the compiler's vector types.
 */
#ifndef ZARNGI_LANES_H
#define ZARNGI_LANES_H

// A path asks for the portable vectors by this macro, for the others by what it is compiled for.
#if defined(__wasm_simd128__)
#include "lanes/wasm.h"
namespace zarngi::engine
{
namespace
{
using Lanes = WasmLanes;
}
} // namespace zarngi::engine
#elif defined(ZARNGI_PORTABLE_LANES) || !defined(__x86_64__)
#include "lanes/portable.h"
namespace zarngi::engine
{
namespace
{
using Lanes = PortableLanes;
}
} // namespace zarngi::engine
#elif defined(__AVX512F__)
#include "lanes/avx512.h"
namespace zarngi::engine
{
namespace
{
using Lanes = Avx512Lanes;
}
} // namespace zarngi::engine
#elif defined(__AVX2__)
#include "lanes/avx2.h"
namespace zarngi::engine
{
namespace
{
using Lanes = Avx2Lanes;
}
} // namespace zarngi::engine
#else
#include "lanes/sse2.h"
namespace zarngi::engine
{
namespace
{
using Lanes = Sse2Lanes;
}
} // namespace zarngi::engine
#endif

namespace zarngi::engine
{

namespace
{

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

} // namespace

} // namespace zarngi::engine

#endif
