#include "files/orientation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr const char* axisNames = "xyz";
constexpr double smallestSpacing = 1e-3; // mm
constexpr double largestSpacing = 1e3;   // mm
/** Beyond this distance single-precision positions are coarser than a hundredth of a millimetre. */
constexpr double farthestOrigin = 1e5; // mm
/** Sine of the largest tilt taken for rounding: 0.05 mm over half a metre. */
constexpr double tiltTolerance = 1e-4;

/** The patient axis along which the vector points, or -1 when it is oblique. */
int alignedAxis(const Vec3& direction)
{
    int aligned = -1;
    for (int i = 0; i < 3; ++i) {
        const double magnitude = std::fabs(direction[static_cast<std::size_t>(i)]);
        if (std::fabs(magnitude - 1) <= tiltTolerance && aligned < 0) {
            aligned = i;
        } else if (!(magnitude <= tiltTolerance)) {
            return -1;
        }
    }
    return aligned;
}

void checkSizes(const std::array<std::int64_t, 3>& size)
{
    std::int64_t voxels = 1;
    for (std::size_t i = 0; i < 3; ++i) {
        if (size[i] < 1) {
            refuseDamaged("the grid has " + std::to_string(size[i]) + " voxels along axis " +
                          axisNames[i]);
        }
        if (size[i] > mostVoxels / voxels) {
            refuseUnsupported("the grid of " + join(size, " x ") +
                              " voxels is too large (2^31 voxels or more)");
        }
        voxels *= size[i];
    }
}

void checkAxes(const std::array<Vec3, 3>& axes)
{
    std::array<bool, 3> used{};
    for (const Vec3& axis : axes) {
        const int aligned = alignedAxis(axis);
        if (aligned < 0 || used[static_cast<std::size_t>(aligned)]) {
            refuseUnsupported("the grid is rotated against the patient's axes; resample it first");
        }
        used[static_cast<std::size_t>(aligned)] = true;
    }
}

/** How one patient axis runs through the stored array. */
struct Walk {
    std::ptrdiff_t first = 0;
    std::ptrdiff_t step = 1;
};

/** Array positions of the voxels in the patient's order. */
struct Reordering {
    std::array<Walk, 3> walks;

    bool isIdentity(const std::array<int, 3>& size) const
    {
        return walks[0].first == 0 && walks[0].step == 1 && walks[1].first == 0 &&
               walks[1].step == size[0] && walks[2].first == 0 &&
               walks[2].step == static_cast<std::ptrdiff_t>(size[0]) * size[1];
    }
};

LargeVector<float> reorder(const Values& values, const Reordering& order,
                           const std::array<int, 3>& size)
{
    LargeVector<float> reordered(values.size());
    float* out = reordered.data();
    const auto& [x, y, z] = order.walks;
    for (int iz = 0; iz < size[2]; ++iz) {
        for (int iy = 0; iy < size[1]; ++iy) {
            const std::ptrdiff_t start = x.first + y.first + y.step * iy + z.first + z.step * iz;
            const float* in = values.data() + start;
            for (int ix = 0; ix < size[0]; ++ix, in += x.step) {
                *out++ = *in;
            }
        }
    }
    return reordered;
}

} // namespace

Vec3 cross(const Vec3& a, const Vec3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

std::size_t checkGeometry(const StoredGeometry& stored)
{
    checkSizes(stored.size);
    for (std::size_t i = 0; i < 3; ++i) {
        const double spacing = stored.spacing[i];
        if (!(spacing >= smallestSpacing && spacing <= largestSpacing)) {
            refuseDamaged("the voxel size of " + number(spacing) + " mm along axis " +
                          axisNames[i] + " is outside " + number(smallestSpacing) + " to " +
                          number(largestSpacing) + " mm");
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        if (!(std::fabs(stored.origin[i]) <= farthestOrigin)) {
            refuseDamaged("the origin of " + number(stored.origin[i]) + " mm along axis " +
                          axisNames[i] + " is no sensible position");
        }
    }
    checkAxes(stored.axes);
    return static_cast<std::size_t>(stored.size[0] * stored.size[1] * stored.size[2]);
}

std::size_t patientAxis(const Vec3& direction)
{
    return static_cast<std::size_t>(alignedAxis(direction));
}

void setSteps(StoredGeometry& stored, const std::array<Vec3, 3>& steps)
{
    for (std::size_t i = 0; i < 3; ++i) {
        const Vec3& step = steps[i];
        const double length = std::sqrt(step[0] * step[0] + step[1] * step[1] + step[2] * step[2]);
        stored.spacing[i] = length;
        for (std::size_t k = 0; k < 3; ++k) {
            stored.axes[i][k] = length > 0 ? step[k] / length : 0;
        }
    }
}

Image toPatientAxes(const StoredGeometry& stored, Values values)
{
    Geometry geometry{};
    geometry.origin = stored.origin;
    Reordering order;
    std::ptrdiff_t stride = 1;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t axis = patientAxis(stored.axes[i]);
        const auto last = static_cast<std::ptrdiff_t>(stored.size[i]) - 1;
        geometry.size[axis] = static_cast<int>(stored.size[i]);
        geometry.spacing[axis] = stored.spacing[i];
        order.walks[axis] = {0, stride};
        if (stored.axes[i][axis] < 0) {
            geometry.origin[axis] -= static_cast<double>(last) * stored.spacing[i];
            order.walks[axis] = {last * stride, -stride};
        }
        stride *= last + 1;
    }
    for (double& coordinate : geometry.origin) {
        coordinate += 0.0; // no minus before a zero
    }
    if (!order.isIdentity(geometry.size)) {
        values = reorder(values, order, geometry.size);
    }
    return {geometry, std::move(values)};
}

} // namespace files
