// For systems whose rand() has another sequence, and fewer bits. The generator is the additive one
// of random(): each word is the sum of those 3 and 31 places before it, less its lowest bit.
#include "randomNumbers/randomNumbers.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zarngi::engine
{

namespace
{

/** x * 16807 modulo 2^31 - 1, of a negative x as well. */
std::int32_t nextSeed(std::int32_t x)
{
    constexpr std::int32_t modulus = 2147483647;
    constexpr std::int32_t multiplier = 16807;
    constexpr std::int32_t quotient = modulus / multiplier;
    constexpr std::int32_t remainder = modulus % multiplier;
    const std::int32_t next = multiplier * (x % quotient) - remainder * (x / quotient);
    return next < 0 ? next + modulus : next;
}

class Generator
{
public:
    explicit Generator(unsigned seed)
    {
        constexpr int discarded = 310;
        auto word = static_cast<std::int32_t>(seed == 0 ? 1 : seed);
        for (std::uint32_t& entry : state_) {
            entry = static_cast<std::uint32_t>(word);
            word = nextSeed(word);
        }
        for (int i = 0; i < discarded; ++i) {
            next();
        }
    }

    int next()
    {
        std::uint32_t& word = state_[place_];
        word += state_[(place_ + words - nearTap) % words];
        place_ = (place_ + 1) % words;
        return static_cast<int>(word >> 1U);
    }

private:
    static constexpr std::size_t words = 31;
    static constexpr std::size_t nearTap = 3;

    std::array<std::uint32_t, words> state_{};
    std::size_t place_ = nearTap; ///< of the oldest word
};

Generator generator(1);

} // namespace

void seedRandomNumbers(unsigned seed)
{
    generator = Generator(seed);
}

int nextRandomNumber()
{
    return generator.next();
}

} // namespace zarngi::engine
