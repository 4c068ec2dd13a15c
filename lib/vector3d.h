/**
 * @file vector3d.h
 * Three numbers with the vector operations of the engine.
 */
#ifndef ZARNGI_VECTOR3D_H
#define ZARNGI_VECTOR3D_H

#include <cmath>
#include <ostream>

#include "idx3d.h"

/** Three numbers, one storage seen as an array or by component names. */
template <class T> struct vector3d {
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

    constexpr vector3d() : v{T(), T(), T()} {}
    /** Of three components. */
    constexpr vector3d(T x_, T y_, T z_) : v{x_, y_, z_} {}
    /** Of the three numbers at p. */
    explicit constexpr vector3d(const T* p) : v{p[0], p[1], p[2]} {}

    /** Component i, 0 to 2; not checked. */
    constexpr T& operator[](int i) { return v[i]; }
    /** Component i, 0 to 2; not checked. */
    constexpr const T& operator[](int i) const { return v[i]; }

    /** Component-wise sum. */
    constexpr vector3d& operator+=(const vector3d& b) { return *this = *this + b; }
    /** Component-wise difference. */
    constexpr vector3d& operator-=(const vector3d& b)
    {
        return *this = vector3d(v[0] - b.v[0], v[1] - b.v[1], v[2] - b.v[2]);
    }
    /** Component-wise product. */
    constexpr vector3d& operator*=(const vector3d& b)
    {
        return *this = vector3d(v[0] * b.v[0], v[1] * b.v[1], v[2] * b.v[2]);
    }
    /** Each component divided by s. */
    constexpr vector3d& operator/=(T s) { return *this = *this / s; }

    /** Component-wise sum. */
    constexpr vector3d operator+(const vector3d& b) const
    {
        return vector3d(v[0] + b.v[0], v[1] + b.v[1], v[2] + b.v[2]);
    }
    /** Each component divided by s. */
    constexpr vector3d operator/(T s) const { return vector3d(v[0] / s, v[1] / s, v[2] / s); }

    /** The components truncated towards zero; each must fit an int. */
    constexpr idx3d<int> asI3d() const
    {
        return idx3d<int>(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]));
    }

    /** Notation of operator<<: 1 (the default) components separated by blanks, else in brackets. */
    static inline int outMode = 1;
    /** Sets outMode. */
    static void setOutMode(int mode) { outMode = mode; }
    /** Tells outMode. */
    static int getOutMode() { return outMode; }
};

/** Each component multiplied by s. */
template <class T> constexpr vector3d<T> operator*(T s, const vector3d<T>& a)
{
    return vector3d<T>(s * a.v[0], s * a.v[1], s * a.v[2]);
}

/** Scalar product, (x*x + y*y) + z*z. */
template <class T> constexpr T dot(const vector3d<T>& a, const vector3d<T>& b)
{
    return (a.v[0] * b.v[0] + a.v[1] * b.v[1]) + a.v[2] * b.v[2];
}

/** Vector product. */
template <class T> constexpr vector3d<T> cross(const vector3d<T>& a, const vector3d<T>& b)
{
    return vector3d<T>(a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2],
                       a.v[0] * b.v[1] - a.v[1] * b.v[0]);
}

/** Euclidean length, the square root taken in the precision of T. */
template <class T> T norm(const vector3d<T>& a)
{
    return std::sqrt(dot(a, a));
}

/** The vector divided by its norm; unchanged when the norm is not greater than 0. */
template <class T> vector3d<T> versor(const vector3d<T>& a)
{
    const T length = norm(a);
    return length > 0 ? a / length : a;
}

/** Writes the components in the notation of outMode. */
template <class T> std::ostream& operator<<(std::ostream& out, const vector3d<T>& a)
{
    if (vector3d<T>::outMode == 1) {
        return out << a.v[0] << ' ' << a.v[1] << ' ' << a.v[2];
    }
    return out << '(' << a.v[0] << ", " << a.v[1] << ", " << a.v[2] << ')';
}

/** Positions and displacements, mm. */
using vec3dRT = vector3d<float>;

#endif
