#include "comparison/noise/normalNumbers.h"

#include <bit>
#include <cmath>
#include <span>

#include "comparison/noise/philox.h"

namespace zarngi
{

namespace
{

/** By Horner's rule, the coefficient of the highest power first. */
double polynomial(std::span<const double, 8> coefficients, double x)
{
    double sum = coefficients[0];
    for (std::size_t i = 1; i < coefficients.size(); ++i) {
        sum = sum * x + coefficients[i];
    }
    return sum;
}

struct Ratio {
    std::array<double, 8> numerator;
    std::array<double, 8> denominator;

    double operator()(double x) const
    {
        return polynomial(numerator, x) / polynomial(denominator, x);
    }
};

// Of algorithm AS 241 (PPND16): near the middle, and by how far out in the tail.
constexpr Ratio middle{
    {2.5090809287301226727e+3, 3.3430575583588128105e+4, 6.7265770927008700853e+4,
     4.5921953931549871457e+4, 1.3731693765509461125e+4, 1.9715909503065514427e+3,
     1.3314166789178437745e+2, 3.3871328727963666080e+0},
    {5.2264952788528545610e+3, 2.8729085735721942674e+4, 3.9307895800092710610e+4,
     2.1213794301586595867e+4, 5.3941960214247511077e+3, 6.8718700749205790830e+2,
     4.2313330701600911252e+1, 1.0}};
constexpr Ratio tail{
    {7.74545014278341407640e-4, 2.27238449892691845833e-2, 2.41780725177450611770e-1,
     1.27045825245236838258e+0, 3.64784832476320460504e+0, 5.76949722146069140550e+0,
     4.63033784615654529590e+0, 1.42343711074968357734e+0},
    {1.05075007164441684324e-9, 5.47593808499534494600e-4, 1.51986665636164571966e-2,
     1.48103976427480074590e-1, 6.89767334985100004550e-1, 1.67638483018380384940e+0,
     2.05319162663775882187e+0, 1.0}};
constexpr Ratio farTail{
    {2.01033439929228813265e-7, 2.71155556874348757815e-5, 1.24266094738807843860e-3,
     2.65321895265761230930e-2, 2.96560571828504891230e-1, 1.78482653991729133580e+0,
     5.46378491116411436990e+0, 6.65790464350110377720e+0},
    {2.04426310338993978564e-15, 1.42151175831644588870e-7, 1.84631831751005468180e-5,
     7.86869131145613259100e-4, 1.48753612908506148525e-2, 1.36929880922735805310e-1,
     5.99832206555887937690e-1, 1.0}};

/** A number from 2^-54 to 1/2 made of 52 bits, and a sign of one more. */
double normalOf(std::uint32_t high, std::uint32_t low)
{
    const std::uint64_t bits = (std::uint64_t{high} << 32U) | low;
    const double position = static_cast<double>(bits >> 12U) + 0.5;
    const double quantile = normalQuantile(position * 0x1p-53);
    return (bits & 1U) != 0 ? -quantile : quantile;
}

} // namespace

double portableLog(double value)
{
    constexpr double ln2 = 0x1.62e42fefa39efp-1;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    constexpr std::uint64_t one = 0x3FF0000000000000U;
    constexpr std::uint64_t fractionBits = 0x000FFFFFFFFFFFFFU;
    int exponent = static_cast<int>(bits >> 52U) - 1023;
    auto mantissa = std::bit_cast<double>((bits & fractionBits) | one);
    if (mantissa > 1.4142135623730951) {
        mantissa /= 2;
        ++exponent;
    }
    // ln m = 2 artanh s = 2 (s + s^3 / 3 + ...); |s| is at most 0.172, s^23 is below 2^-57.
    const double s = (mantissa - 1) / (mantissa + 1);
    const double square = s * s;
    double sum = 0;
    for (int power = 21; power > 0; power -= 2) {
        sum = sum * square + 1.0 / power;
    }
    return exponent * ln2 + 2 * s * sum;
}

double normalQuantile(double probability)
{
    const double fromMiddle = 0.5 - probability;
    if (fromMiddle <= 0.425) {
        return fromMiddle * middle(0.180625 - fromMiddle * fromMiddle);
    }
    const double r = std::sqrt(-portableLog(probability));
    return r <= 5 ? tail(r - 1.6) : farTail(r - 5);
}

std::array<double, 2> NormalNumbers::pairOf(std::uint64_t pair) const
{
    const PhiloxCounter bits =
        philox({static_cast<std::uint32_t>(pair), static_cast<std::uint32_t>(pair >> 32U),
                static_cast<std::uint32_t>(stream_), static_cast<std::uint32_t>(stream_ >> 32U)},
               {static_cast<std::uint32_t>(seed_), static_cast<std::uint32_t>(seed_ >> 32U)});
    return {normalOf(bits[0], bits[1]), normalOf(bits[2], bits[3])};
}

} // namespace zarngi
