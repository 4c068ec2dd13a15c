#include <cmath>
#include <cstdint>

#include "pair.h"

namespace bench
{

namespace
{

/** The dose of a rounded target with some modulation, repeated with a period. */
class Field
{
public:
    explicit Field(double period) : period_(period) {}

    /** Gy, at a position in mm. */
    [[nodiscard]] double operator()(double x, double y, double z) const
    {
        x = wrapped(x);
        y = wrapped(y);
        z = wrapped(z);
        const double radius = std::sqrt(x * x + y * y + z * z);
        const double target = 2 / (1 + std::exp((radius - 0.244 * period_) / (0.02 * period_)));
        const double wave = 6.283185307179586 / (0.2 * period_);
        return target * (1 + 0.1 * std::sin(wave * x) * std::cos(wave * (y + 0.5 * z)));
    }

private:
    /** The position in the period around 0. */
    [[nodiscard]] double wrapped(double a) const
    {
        return a - period_ * std::floor(a / period_ + 0.5);
    }

    double period_;
};

/** A number from -1 to 1 that looks random and depends on the index alone. */
double noise(std::uint32_t index)
{
    std::uint32_t h = index * 2654435761U;
    h = (h ^ (h >> 15)) * 2246822519U;
    h = (h ^ (h >> 13)) * 3266489917U;
    return static_cast<double>(h ^ (h >> 16)) / 2147483648.0 - 1;
}

} // namespace

Pair syntheticPair(int n, double size, double period, std::array<double, 3> shift)
{
    const Field field(period);
    const auto centre = [&](int i) { return (i + 0.5) * size - 0.5 * period; };
    const std::array<int, 3> nn{n, n, n};
    const auto h = static_cast<float>(size);
    const std::array<float, 3> hs{h, h, h};
    const auto count =
        static_cast<std::size_t>(n) * static_cast<std::size_t>(n) * static_cast<std::size_t>(n);
    Pair pair{
        "synthetic " + std::to_string(n) + "^3", {nn, hs, {0, 0, 0}, {}}, {nn, hs, {0, 0, 0}, {}}};
    pair.reference.map.reserve(count);
    pair.evaluation.map.reserve(count);
    constexpr double output = 1.015;
    constexpr double noiseLevel = 0.02;
    for (int iz = 0; iz < n; ++iz) {
        for (int iy = 0; iy < n; ++iy) {
            for (int ix = 0; ix < n; ++ix) {
                const double x = centre(ix);
                const double y = centre(iy);
                const double z = centre(iz);
                const auto index = static_cast<std::uint32_t>(pair.reference.map.size());
                const double delivered = output * (1 + noiseLevel * noise(index));
                pair.reference.map.push_back(static_cast<float>(field(x, y, z)));
                pair.evaluation.map.push_back(static_cast<float>(
                    delivered * field(x - shift[0], y - shift[1], z - shift[2])));
            }
        }
    }
    return pair;
}

} // namespace bench
