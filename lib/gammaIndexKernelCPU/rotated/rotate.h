/**
 * @file rotate.h
 * The rotation of one point, in the order of operations that decides its bits.
 *
 * Internal linkage, as in gridAxis.h: each vector path compiles its own copy.
 */
#ifndef ZARNGI_ROTATED_ROTATE_H
#define ZARNGI_ROTATED_ROTATE_H

namespace zarngi::engine
{

/** R * v, each component summed in the order x, y, z. @param R [row][column] */
static inline void rotate(const float (*R)[3], const float (&v)[3], float (&result)[3])
{
    for (int i = 0; i < 3; ++i) {
        result[i] = ((0.0F + R[i][0] * v[0]) + R[i][1] * v[1]) + R[i][2] * v[2];
    }
}

} // namespace zarngi::engine

#endif
