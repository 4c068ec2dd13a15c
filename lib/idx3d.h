/**
 * @file idx3d.h
 * Three integers, the counterpart of vector3d.
 */
#ifndef ZARNGI_IDX3D_H
#define ZARNGI_IDX3D_H

/** Three integers, one storage seen as an array or by component names. */
template <class T> struct idx3d {
    __extension__ union {
        T v[3];
        struct {
            T x, y, z;
        };
        struct {
            T Alpha, R, Z;
        };
        struct {
            T phi, theta, rho;
        };
    };

    constexpr idx3d() : v{T(), T(), T()} {}
    /** Of three components. */
    constexpr idx3d(T x_, T y_, T z_) : v{x_, y_, z_} {}

    /** Component i, 0 to 2; not checked. */
    constexpr T& operator[](int i) { return v[i]; }
    /** Component i, 0 to 2; not checked. */
    constexpr const T& operator[](int i) const { return v[i]; }
};

/** Voxel indices. */
using i3d = idx3d<int>;

#endif
