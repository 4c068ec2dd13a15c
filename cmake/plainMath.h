/**
 * @file plainMath.h
 * <cmath> without special functions, for precompiled headers.
 *
 * GCC instantiates in each source what functions of a precompiled header call. A fifth of that are
 * the Bessel functions and elliptic integrals of its library, which nothing here computes: without
 * them a source is compiled in a hundredth of a second less. Other libraries take no notice.
 */
#ifndef ZARNGI_CMAKE_PLAINMATH_H
#define ZARNGI_CMAKE_PLAINMATH_H

// The guard of the header that has them. NOLINTNEXTLINE(bugprone-reserved-identifier)
#define _GLIBCXX_BITS_SPECFUN_H 1

#include <cmath>

#endif
