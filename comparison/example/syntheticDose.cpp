#include "comparison/example/syntheticDose.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace zarngi
{

namespace
{

// Semi-axes of the body's elliptical cross-section, mm, and half its length.
constexpr double bodyX = 150;
constexpr double bodyY = 105;
constexpr double bodyZ = 125;

/** Depth of a point in the body along +direction of travel, mm; negative outside. */
struct Depths {
    double fromFront; ///< beam travelling towards +y
    double fromLeft;  ///< beam travelling towards -x
};

Depths depthsAt(const Vec3& point)
{
    const double x = point[0] / bodyX;
    const double y = point[1] / bodyY;
    if (x * x + y * y >= 1 || std::fabs(point[2]) >= bodyZ) {
        return {-1, -1};
    }
    return {point[1] + bodyY * std::sqrt(1 - x * x), bodyX * std::sqrt(1 - y * y) - point[0]};
}

/** Relative dose on the axis of a photon beam. */
double depthDose(double depth)
{
    constexpr double attenuation = 0.0048; // 1/mm
    constexpr double buildUp = 0.22;       // 1/mm
    constexpr double surface = 0.45;       // relative dose at the skin
    return (1 - (1 - surface) * std::exp(-buildUp * depth)) * std::exp(-attenuation * depth);
}

/** Relative dose across a field from -half to +half with blurred edges. */
double profile(double offset, double half, double depth)
{
    constexpr double sharpest = 2.2;   // mm, standard deviation of the edge at the skin
    constexpr double widening = 0.008; // mm per mm of depth
    const double sigma = (sharpest + widening * depth) * std::numbers::sqrt2;
    return 0.5 * (std::erf((half - offset) / sigma) + std::erf((half + offset) / sigma));
}

/** Primary dose of a rectangular field and the scatter around it. */
double fieldDose(double depth, double across, double along, double halfAcross, double halfAlong)
{
    constexpr double scatterShare = 0.06;
    constexpr double scatterReach = 30; // mm
    const double primary = profile(across, halfAcross, depth) * profile(along, halfAlong, depth);
    const double beyondAcross = std::fmax(0, std::fabs(across) - halfAcross);
    const double beyondAlong = std::fmax(0, std::fabs(along) - halfAlong);
    // A root is the same everywhere; std::hypot differs between systems in its last bit.
    const double beyond = std::sqrt(beyondAcross * beyondAcross + beyondAlong * beyondAlong);
    const double scatter = std::exp(-beyond / scatterReach);
    return depthDose(depth) * ((1 - scatterShare) * primary + scatterShare * scatter);
}

double doseAt(const Vec3& point)
{
    const Depths depths = depthsAt(point);
    if (depths.fromFront < 0) {
        return 0;
    }
    constexpr double frontWeight = 1.75; // Gy
    constexpr double leftWeight = 1.6;   // Gy
    return frontWeight * fieldDose(depths.fromFront, point[0], point[2], 40, 45) +
           leftWeight * fieldDose(depths.fromLeft, point[1] - 5, point[2] + 3, 32, 45);
}

/** Noise from a counter, so that a voxel's noise does not depend on the order of filling. */
std::uint64_t scrambled(std::uint64_t counter)
{
    // The finaliser of SplitMix64 (S. Vigna, public domain).
    std::uint64_t z = counter * 0x9E3779B97F4A7C15U;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
}

/** A nearly normal deviate: the centred sum of twelve uniform ones has a variance of one. */
double deviate(std::uint64_t seed, std::uint64_t voxel)
{
    constexpr int summands = 12;
    double sum = -summands / 2.0;
    for (int i = 0; i < summands; ++i) {
        const std::uint64_t bits = scrambled(seed + voxel * summands + static_cast<unsigned>(i));
        sum += static_cast<double>(bits >> 11) * 0x1p-53;
    }
    return sum;
}

} // namespace

Image syntheticDose(const Geometry& geometry, const Disturbance& disturbance)
{
    files::LargeVector<float> values;
    values.reserve(geometry.voxels());
    Vec3 point{};
    const auto place = [&](std::size_t axis, int index) {
        point[axis] =
            geometry.origin[axis] + geometry.spacing[axis] * index - disturbance.shift[axis];
    };
    for (int iz = 0; iz < geometry.size[2]; ++iz) {
        place(2, iz);
        for (int iy = 0; iy < geometry.size[1]; ++iy) {
            place(1, iy);
            for (int ix = 0; ix < geometry.size[0]; ++ix) {
                place(0, ix);
                double dose = doseAt(point) * disturbance.output;
                if (disturbance.noise > 0 && dose > 0) {
                    dose *= 1 + disturbance.noise * deviate(disturbance.seed, values.size());
                }
                values.push_back(static_cast<float>(dose));
            }
        }
    }
    return {geometry, std::move(values)};
}

Geometry demoGeometry()
{
    return {{160, 112, 120}, {2, 2, 2}, {-159, -111, -119}};
}

} // namespace zarngi
