#include "reportVolume.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>

namespace cli
{

namespace
{

constexpr double largestStored = std::numeric_limits<std::int16_t>::max();

std::int16_t stored(double value)
{
    return static_cast<std::int16_t>(std::lround(std::clamp(value, -largestStored, largestStored)));
}

std::vector<unsigned char> shuffled(const std::vector<std::int16_t>& words)
{
    std::vector<unsigned char> bytes(2 * words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto word = static_cast<std::uint16_t>(words[i]);
        bytes[i] = static_cast<unsigned char>(word & 0xFF);
        bytes[words.size() + i] = static_cast<unsigned char>(word >> 8);
    }
    return bytes;
}

std::vector<unsigned char> compressed(const std::vector<unsigned char>& bytes)
{
    uLongf length = compressBound(bytes.size());
    std::vector<unsigned char> result(length);
    if (compress2(result.data(), &length, bytes.data(), bytes.size(), Z_DEFAULT_COMPRESSION) !=
        Z_OK) {
        throw std::runtime_error("a volume of the report cannot be compressed");
    }
    result.resize(length);
    return result;
}

} // namespace

int doseDecimals(double largestMagnitude)
{
    constexpr int most = 12; // for doses so small that decimals cease to matter
    int decimals = most;
    while (std::round(largestMagnitude * std::pow(10.0, decimals)) > largestStored) {
        --decimals;
    }
    return decimals;
}

std::vector<std::int16_t> storedDoses(const std::vector<float>& doses, int decimals)
{
    const double factor = std::pow(10.0, decimals);
    std::vector<std::int16_t> words(doses.size());
    std::transform(doses.begin(), doses.end(), words.begin(),
                   [factor](float dose) { return stored(static_cast<double>(dose) * factor); });
    return words;
}

std::vector<std::int16_t> storedGammas(const std::vector<float>& gammas, std::size_t failed)
{
    constexpr double factor = 1000; // 10^gammaDecimals
    const auto above =
        std::count_if(gammas.begin(), gammas.end(), [](float gamma) { return gamma > 1; });
    auto roundedToOne = static_cast<std::ptrdiff_t>(failed) - above;
    std::vector<std::int16_t> words(gammas.size());
    std::transform(gammas.begin(), gammas.end(), words.begin(), [&roundedToOne](float gamma) {
        if (gamma < 0) {
            return std::int16_t{-1};
        }
        const bool hasFailed = gamma > 1 || (gamma == 1 && roundedToOne-- > 0);
        const double thousandths = static_cast<double>(gamma) * factor;
        return stored(hasFailed ? std::max(thousandths, factor + 1) : thousandths);
    });
    return words;
}

std::string encodedVolume(const std::vector<std::int16_t>& words)
{
    return base64(compressed(shuffled(words)));
}

std::string base64(const std::vector<unsigned char>& bytes)
{
    constexpr const char* alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        unsigned bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (k < count ? bytes[i + k] : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? alphabet[bits >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

} // namespace cli
