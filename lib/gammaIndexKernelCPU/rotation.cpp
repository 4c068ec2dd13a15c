#include "rotation.h"

#include <cmath>

#include "randomNumbers/randomNumbers.h"
#include "rotated/rotate.h"

namespace
{

using zarngi::engine::nextRandomNumber;

vec3dRT randomDirection()
{
    const auto x = static_cast<float>(nextRandomNumber());
    const auto y = static_cast<float>(nextRandomNumber());
    const auto z = static_cast<float>(nextRandomNumber());
    return versor(vec3dRT(x, y, z));
}

} // namespace

void generateRandomRotationMatrix(float R[3][3])
{
    // Nearly parallel directions would leave too little of v to make it orthogonal to u.
    constexpr double tooParallel = 0.99;
    const vec3dRT u = randomDirection();
    vec3dRT v;
    float d = 0;
    do {
        v = randomDirection();
        d = dot(u, v);
    } while (static_cast<double>(std::fabs(d)) > tooParallel);
    v -= d * u;
    v = versor(v);
    const vec3dRT w = cross(u, v);
    for (int row = 0; row < 3; ++row) {
        R[row][0] = u[row];
        R[row][1] = v[row];
        R[row][2] = w[row];
    }
}

void applyRotation(float R[3][3], vector3d<float>& v)
{
    vec3dRT result;
    zarngi::engine::rotate(R, v.v, result.v);
    v = result;
}
