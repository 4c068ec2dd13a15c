// The operations of the vectors, lane by lane, held to plain statements of them: what compilers and
// processors leave open (numbers without an index, comparisons with what is not a number) is the
// same for all.
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "lanes/portable.h"
#if defined(__x86_64__)
#include "lanes/sse2.h"
#elif defined(__wasm_simd128__)
#include "lanes/wasm.h"
#endif

using namespace zarngi::engine;

namespace
{

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr int lowestIndex = std::numeric_limits<int>::min();

const std::vector<float> numbers{0.0F,         -0.0F,         1e-45F,       -1e-38F,       0.5F,
                                 -0.5F,        0.99999994F,   1.0F,         -1.0F,         1.5F,
                                 -2.5F,        8388607.5F,    -8388607.5F,  16777217.0F,   -3e7F,
                                 2147483520.F, -2147483520.F, 2147483648.F, -2147483648.F, 3e9F,
                                 -3e9F,        1e38F,         inf,          -inf,          nan};

/** Every two of the numbers side by side, filled up to whole vectors. */
std::vector<std::array<float, 2>> pairs()
{
    std::vector<std::array<float, 2>> all;
    for (const float a : numbers) {
        for (const float b : numbers) {
            all.push_back({a, b});
        }
    }
    while (all.size() % 4 != 0) {
        all.push_back({1, 2});
    }
    return all;
}

/** Its bits; one number for all that are none, of which sign and bits differ among processors. */
std::uint32_t bitsOf(float a)
{
    return std::bit_cast<std::uint32_t>(std::isnan(a) ? nan : a);
}

int truncated(float a)
{
    return std::fabs(a) < 0x1p31F ? static_cast<int>(a) : lowestIndex;
}

template <class Lanes> class LanesTest : public testing::Test
{
protected:
    using F = typename Lanes::F;
    using I = typename Lanes::I;
    using Floats = std::array<float, 4>;
    using Indices = std::array<int, 4>;

    static Floats floatsOf(F a)
    {
        Floats values;
        Lanes::store(values.data(), a);
        return values;
    }
    static Indices indicesOf(I i)
    {
        Indices values;
        Lanes::storeIndices(values.data(), i);
        return values;
    }

    /** Calls check(a, b, values of a, values of b) with all pairs of numbers. */
    template <class Check> static void forPairs(const Check& check)
    {
        const auto all = pairs();
        for (std::size_t at = 0; at < all.size(); at += 4) {
            Floats a;
            Floats b;
            for (std::size_t lane = 0; lane < 4; ++lane) {
                a[lane] = all[at + lane][0];
                b[lane] = all[at + lane][1];
            }
            check(Lanes::load(a.data()), Lanes::load(b.data()), a, b);
        }
    }

    static void expectSame(const Floats& actual, const Floats& expected, const Floats& a,
                           const Floats& b)
    {
        for (std::size_t lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(bitsOf(actual[lane]), bitsOf(expected[lane])) << a[lane] << ", " << b[lane];
        }
    }

    /** Holds an operation on two vectors to one on two numbers. */
    template <class Operation, class Plain>
    static void expectLikePlain(const Operation& operation, const Plain& plain)
    {
        forPairs([&](F a, F b, const Floats& as, const Floats& bs) {
            Floats expected;
            for (std::size_t lane = 0; lane < 4; ++lane) {
                expected[lane] = plain(as[lane], bs[lane]);
            }
            expectSame(floatsOf(operation(a, b)), expected, as, bs);
        });
    }
};

#if defined(__x86_64__)
using LanesTypes = testing::Types<PortableLanes, Sse2Lanes>;
#elif defined(__wasm_simd128__)
using LanesTypes = testing::Types<PortableLanes, WasmLanes>;
#else
using LanesTypes = testing::Types<PortableLanes>;
#endif
TYPED_TEST_SUITE(LanesTest, LanesTypes);

TYPED_TEST(LanesTest, LessAndMoreGiveTheSecondWhereNeitherIs)
{
    this->expectLikePlain([](auto a, auto b) { return TypeParam::min(a, b); },
                          [](float a, float b) { return a < b ? a : b; });
    this->expectLikePlain([](auto a, auto b) { return TypeParam::max(a, b); },
                          [](float a, float b) { return a > b ? a : b; });
}

TYPED_TEST(LanesTest, OperationsRoundOnce)
{
    this->expectLikePlain([](auto a, auto b) { return a * b + b; },
                          [](float a, float b) {
                              const volatile float product = a * b;
                              return product + b;
                          });
    this->expectLikePlain([](auto a, auto b) { return a / b - a; },
                          [](float a, float b) { return a / b - a; });
    this->expectLikePlain([](auto a, auto) { return TypeParam::sqrt(a); },
                          [](float a, float) { return std::sqrt(a); });
}

TYPED_TEST(LanesTest, WholeNumbersAreThoseTowardsZeroOrBelow)
{
    this->expectLikePlain([](auto a, auto) { return TypeParam::whole(a); },
                          [](float a, float) { return static_cast<float>(truncated(a)); });
    this->expectLikePlain([](auto a, auto) { return TypeParam::floor(a); },
                          [](float a, float) {
                              const auto whole = static_cast<float>(truncated(a));
                              return !(whole > a) ? whole : whole - 1;
                          });
    this->forPairs([&](auto a, auto, const auto& values, const auto&) {
        const auto indices = this->indicesOf(TypeParam::truncated(a));
        for (std::size_t lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(indices[lane], truncated(values[lane])) << values[lane];
        }
    });
}

TYPED_TEST(LanesTest, ComparisonsSelectLanes)
{
    this->forPairs([&](auto a, auto b, const auto& as, const auto& bs) {
        unsigned expected = 0;
        std::array<float, 4> chosen;
        for (std::size_t lane = 0; lane < 4; ++lane) {
            const bool isGreater = as[lane] > bs[lane];
            expected |= isGreater ? 0 : 1U << lane;
            chosen[lane] = isGreater ? bs[lane] : as[lane];
        }
        EXPECT_EQ(TypeParam::notGreater(a, b), expected);
        this->expectSame(this->floatsOf(TypeParam::select(expected, a, b)), chosen, as, bs);
    });
}

TYPED_TEST(LanesTest, IndicesWrapAround)
{
    const std::array<int, 4> values{0, 5, -7, 0x40000003};
    const auto i = TypeParam::loadIndices(values.data());
    const auto expect = [&](auto indices, const std::array<int, 4>& expected) {
        EXPECT_EQ(this->indicesOf(indices), expected);
    };
    expect(TypeParam::sum(i, i), {0, 10, -14, lowestIndex + 6});
    expect(TypeParam::times(i, 3), {0, 15, -21, -0x3ffffff7});
    expect(TypeParam::template quotient<4>(TypeParam::allIndices(31)), {7, 7, 7, 7});
    expect(TypeParam::template remainder<4>(TypeParam::allIndices(31)), {3, 3, 3, 3});
    expect(TypeParam::template product<4>(TypeParam::places()), {0, 4, 8, 12});
    EXPECT_EQ(TypeParam::hasBit(i, 0), 0b1110U);
    EXPECT_EQ(TypeParam::hasBit(i, 30), 0b1100U);
    EXPECT_EQ(TypeParam::hasBit(i, 31), 0b0100U);
}

TYPED_TEST(LanesTest, LanesAreGatheredAndChosen)
{
    const std::array<float, 6> from{10, 11, 12, 13, 14, 15};
    const std::array<int, 4> at{3, 0, 4, 1};
    const auto i = TypeParam::loadIndices(at.data());
    typename TypeParam::F low;
    typename TypeParam::F high;
    TypeParam::gatherPairs(from.data(), i, low, high);
    EXPECT_EQ(this->floatsOf(low), (std::array<float, 4>{13, 10, 14, 11}));
    EXPECT_EQ(this->floatsOf(high), (std::array<float, 4>{14, 11, 15, 12}));
    EXPECT_EQ(TypeParam::largest(low), 14);
    EXPECT_EQ(this->floatsOf(TypeParam::counting(-1)), (std::array<float, 4>{-1, 0, 1, 2}));
    EXPECT_EQ(this->floatsOf(TypeParam::spreadFrom({low, high}, i)),
              (std::array<float, 4>{11, 13, 14, 10}));
    std::array<float, 4> chosen{};
    for (unsigned bits = 0; bits < 16; ++bits) {
        TypeParam::storeChosen(chosen.data(), bits, low);
        std::size_t place = 0;
        for (std::size_t lane = 0; lane < 4; ++lane) {
            if ((bits >> lane & 1U) != 0) {
                EXPECT_EQ(chosen[place++], this->floatsOf(low)[lane]) << bits;
            }
        }
    }
}

TYPED_TEST(LanesTest, RoughInversesAreNear)
{
    float a = 1e-30F;
    while (a < 1e30F) {
        a *= 1.37F;
        const auto lanes = TypeParam::all(a);
        EXPECT_NEAR(this->floatsOf(TypeParam::roughInverse(lanes))[0] * a, 1, 0x1p-11);
        EXPECT_NEAR(this->floatsOf(TypeParam::roughInverseRoot(lanes))[0] * std::sqrt(a), 1,
                    0x1p-11);
    }
}

} // namespace
