/**
 * @file intrinsics.h
 * The intrinsics of x86-64.
 */
#ifndef ZARNGI_LANES_INTRINSICS_H
#define ZARNGI_LANES_INTRINSICS_H

// GCC 12 warns of the deliberately undefined operands inside its own headers; clang does not
// know that warning.
#pragma GCC diagnostic push
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

#endif
