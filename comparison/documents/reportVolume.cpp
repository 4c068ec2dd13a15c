#include "comparison/documents/reportVolume.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "files/bytes.h"
#include "files/packed.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr double largestStored = std::numeric_limits<std::int16_t>::max();

/** As std::lround rounds, halves away from zero, but without a call per voxel. */
std::int16_t stored(double value)
{
    // The largest number below 1/2; 1/2 itself would carry this number up to 1.
    constexpr double almostHalf = 0x1.fffffffffffffp-2;
    const double limited = std::clamp(value, -largestStored, largestStored);
    return static_cast<std::int16_t>(limited + std::copysign(almostHalf, limited));
}

/** The bytes of so many numbers, a plane for the lowest ones, one for the next... */
template <class Number> class Planes
{
public:
    explicit Planes(std::size_t count) : count_(count), bytes_(sizeof(Number) * count) {}

    /** @param first of all, at which these numbers begin */
    void put(std::size_t first, const std::vector<Number>& numbers)
    {
        for (std::size_t byte = 0; byte < sizeof(Number); ++byte) {
            unsigned char* const plane = bytes_.data() + byte * count_ + first;
            std::transform(numbers.begin(), numbers.end(), plane, [byte](Number number) {
                const auto bits = static_cast<std::make_unsigned_t<Number>>(number);
                return static_cast<unsigned char>(bits >> (8 * byte));
            });
        }
    }

    std::string encoded(const PagePacking& packing) const
    {
        return packing.base64(files::packZlib(bytes_.view(), packing.deflate).view());
    }

private:
    std::size_t count_;
    files::Bytes bytes_;
};

template <class Number>
std::string encoded(const std::vector<Number>& numbers, const PagePacking& packing)
{
    Planes<Number> planes(numbers.size());
    planes.put(0, numbers);
    return planes.encoded(packing);
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

std::vector<std::int16_t> storedDoses(std::span<const float> doses, int decimals)
{
    const double factor = std::pow(10.0, decimals);
    std::vector<std::int16_t> words(doses.size());
    std::transform(doses.begin(), doses.end(), words.begin(),
                   [factor](float dose) { return stored(static_cast<double>(dose) * factor); });
    return words;
}

std::vector<std::int16_t> storedGammas(std::span<const float> gammas,
                                       std::span<const unsigned char> passed)
{
    constexpr double factor = 1000; // 10^gammaDecimals
    std::vector<std::int16_t> words(gammas.size());
    for (std::size_t i = 0; i < gammas.size(); ++i) {
        const double thousandths = static_cast<double>(gammas[i]) * factor;
        const bool hasFailed = passed[i] == ZARNGI_FAILED;
        words[i] = gammas[i] < 0
                       ? std::int16_t{-1}
                       : stored(hasFailed ? std::max(thousandths, factor + 1) : thousandths);
    }
    return words;
}

std::vector<std::int16_t> storedDifferences(std::span<const float> differences)
{
    constexpr double factor = 1000; // 10^uncertaintyDecimals
    std::vector<std::int16_t> words(differences.size());
    std::transform(differences.begin(), differences.end(), words.begin(), [](float difference) {
        return std::isnan(difference) ? notStored
                                      : stored(static_cast<double>(difference) * factor);
    });
    return words;
}

std::string encodedWords(std::size_t count, const WordsFrom& words, const PagePacking& packing)
{
    constexpr std::size_t mostWords = std::size_t{1} << 15;
    Planes<std::int16_t> planes(count);
    for (std::size_t first = 0; first < count; first += mostWords) {
        planes.put(first, words(first, std::min(mostWords, count - first)));
    }
    return planes.encoded(packing);
}

std::string encodedNumbers(const std::vector<std::int16_t>& stored, const PagePacking& packing)
{
    return encoded(stored, packing);
}

std::string encodedNumbers(const std::vector<std::int32_t>& stored, const PagePacking& packing)
{
    return encoded(stored, packing);
}

} // namespace zarngi
