/**
 * @file intervals.h
 * Small arithmetic of lattice indices.
 *
 * Internal linkage, and nothing of the standard library that might be compiled out of line: each
 * vector path compiles its own copy, and the linker must not merge them.
 */
#ifndef ZARNGI_LATTICE_INTERVALS_H
#define ZARNGI_LATTICE_INTERVALS_H

#include <cstdint>

#include "lattice/axes.h"

namespace zarngi::engine
{

namespace
{

template <class T> inline T smaller(T a, T b)
{
    return b < a ? b : a;
}

template <class T> inline T larger(T a, T b)
{
    return a < b ? b : a;
}

template <class T> inline T clamped(T value, T low, T high)
{
    return smaller(larger(value, low), high);
}

inline bool isFinite(float a)
{
    return a - a == 0.0F;
}

inline LatticeInterval common(LatticeInterval a, LatticeInterval b)
{
    return {larger(a.first, b.first), smaller(a.last, b.last)};
}

inline std::int32_t nearestToZero(LatticeInterval a)
{
    return clamped<std::int32_t>(0, a.first, a.last);
}

inline bool holdsZero(LatticeInterval a)
{
    return a.first <= 0 && a.last >= 0;
}

inline float squareOf(std::int32_t i)
{
    return static_cast<float>(i) * static_cast<float>(i);
}

} // namespace

} // namespace zarngi::engine

#endif
