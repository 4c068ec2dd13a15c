/**
 * @file pair.h
 * Pairs of doses that differ by a known shift and factor.
 */
#ifndef ZARNGI_TESTS_EXPLANATION_PAIR_H
#define ZARNGI_TESTS_EXPLANATION_PAIR_H

#include <cmath>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <utility>

#include "comparison/explanation/explanation.h"
#include "comparison/explanation/runEngine.h"

namespace explained
{

using Field = std::function<double(double x, double y, double z)>;

/** 1 inside of an interval, 0 outside, with penumbras of some mm. */
inline double edge(double position, double low, double high, double width)
{
    return 1 / (1 + std::exp(-(position - low) / width)) /
           (1 + std::exp((position - high) / width));
}

/** A target in a low dose, as of several beams: gradients along each axis. */
inline double clinical(double x, double y, double z)
{
    const double target = edge(x, -25, 22, 5) * edge(y, -20, 24, 5) * edge(z, -20, 18, 5);
    const double beam = edge(x, -18, 16, 5) * edge(z, -20, 18, 5) * (1 - 0.004 * y);
    const double oblique = edge(x + 0.6 * y, -22, 22, 5) * edge(z, -20, 18, 5);
    return 40 * target + 10 * beam + 10 * oblique;
}

struct Grid {
    std::array<int, 3> size{62, 60, 52};
    zarngi::Vec3 spacing{1.6, 1.6, 1.6};
};

/** Numbers from -1 to 1, the same ones on every machine. */
class Noise
{
public:
    explicit Noise(std::uint64_t seed) : state_(seed * 2 + 1) {}
    double next()
    {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<double>(state_ >> 33U) / 1073741824.0 - 1;
    }

private:
    std::uint64_t state_;
};

/** @param noise part of the dose: the standard deviation of what is added voxel by voxel. */
inline zarngi::DoseImage sampled(const Grid& grid, const Field& field, double noise,
                                 std::uint64_t seed)
{
    zarngi::DoseImage dose;
    dose.path = "dose";
    dose.image.geometry.size = grid.size;
    dose.image.geometry.spacing = grid.spacing;
    for (std::size_t i = 0; i < 3; ++i) {
        dose.image.geometry.origin[i] = -(grid.size[i] - 1) * grid.spacing[i] / 2;
    }
    const zarngi::Vec3& origin = dose.image.geometry.origin;
    Noise random(seed);
    files::LargeVector<float> doses;
    for (int k = 0; k < grid.size[2]; ++k) {
        for (int j = 0; j < grid.size[1]; ++j) {
            for (int i = 0; i < grid.size[0]; ++i) {
                const double value =
                    field(origin[0] + i * grid.spacing[0], origin[1] + j * grid.spacing[1],
                          origin[2] + k * grid.spacing[2]);
                constexpr double uniformToDeviation = 1.7320508;
                doses.push_back(
                    static_cast<float>(value * (1 + noise * uniformToDeviation * random.next())));
            }
        }
    }
    dose.image.values = std::move(doses);
    return dose;
}

/** The evaluation that `change` makes equal to the reference, but for noise and sampling. */
inline zarngi::DoseImage changedBack(const Grid& grid, const Field& field,
                                     const zarngi::DoseChange& change, double noise,
                                     std::uint64_t seed)
{
    return sampled(
        grid,
        [&](double x, double y, double z) {
            return field(x + change.shift[0], y + change.shift[1], z + change.shift[2]) /
                   change.factor;
        },
        noise, seed);
}

inline zarngi::Explanation explain(const zarngi::DoseImage& reference,
                                   const zarngi::DoseImage& evaluation,
                                   const zarngi::ExplanationRequest& request, int threads = 2,
                                   const zarngi::WatchExplanation& watch = {})
{
    zarngi::GammaSettings settings;
    settings.threads = threads;
    settings.normalisation = static_cast<double>(
        *std::max_element(reference.image.values.begin(), reference.image.values.end()));
    zarngi::GammaRun run(reference, evaluation);
    zarngi::RunEngine engine(run, settings, request.criterion.isLocal, {});
    return zarngi::explain(engine, zarngi::viewOf(reference.image),
                           zarngi::viewOf(evaluation.image), request, watch);
}

} // namespace explained

#endif
