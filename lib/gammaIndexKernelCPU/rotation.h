/**
 * @file rotation.h
 * The random rotation of the search lattice.
 */
#ifndef ZARNGI_ROTATION_H
#define ZARNGI_ROTATION_H

#include "libZarnGI.h"
#include "vector3d.h"

/**
 * Draws a proper rotation from the C library's rand(): its columns u, v and w = u x v are
 * orthonormal (Gram-Schmidt on two drawn directions at least acos(0.99) apart). rand() is never
 * negative, so u lies in the positive octant and the rotations are not spread evenly.
 * @param[out] R [row][column].
 */
ZARNGI_API void generateRandomRotationMatrix(float R[3][3]);

/**
 * Replaces v by R * v, each component summed in the order x, y, z.
 * @param R [row][column].
 * @param[in,out] v the vector that is turned.
 */
ZARNGI_API void applyRotation(float R[3][3], vector3d<float>& v);

#endif
