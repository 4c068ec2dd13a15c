// Numbers that no plan has. Each computation must end at once, with a defined result or code.
#include <cmath>
#include <limits>
#include <string>

#include "support/host.h"

namespace
{

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float tiny = std::numeric_limits<float>::denorm_min();

Grid wave(float spacing, float corner, float phase)
{
    return makeGrid({5, 4, 3}, {spacing, spacing, spacing}, {corner, corner, corner},
                    [phase](int x, int y, int z) {
                        return 2 + std::sin(static_cast<float>(x + y + z) / 2 + phase);
                    });
}

struct Absurdity {
    const char* name;
    float spacing = 2;
    float corner = 0;
    float distance = 0; ///< of the evaluation grid, mm
    float DTA = 2;
    float DD = 3;
    float step = 0.5F;
    float maxGamma = -1; ///< negative: not set
    float normalisation = -1;
    int threads = 2;
    bool rotated = false;
};

class AbsurdInput : public LibraryTest, public testing::WithParamInterface<Absurdity>
{
};

TEST_P(AbsurdInput, EndsWithADefinedResult)
{
    const Absurdity& absurd = GetParam();
    ASSERT_EQ(setRef(wave(absurd.spacing, absurd.corner, 0)), ZARNGI_OK);
    ASSERT_EQ(setEval(wave(absurd.spacing, absurd.corner + absurd.distance, 0.3F)), ZARNGI_OK);
    setCriteria(2, 3, 10);
    // Past the setters, which refuse some of these.
    Env->DTA = absurd.DTA;
    Env->DD = absurd.DD;
    Env->stepSize = absurd.step;
    Env->gammaSearchMax = absurd.maxGamma;
    Env->global_normalisation = absurd.normalisation;
    zarnGI_setNumThreads(absurd.threads);
    zarnGI_setRandomRotation(absurd.rotated);

    float passRate = 7;
    const int status = zarnGI_startComputation();
    const int read = zarnGI_getGammaIndexPassRate(&passRate);
    if (status != ZARNGI_OK) {
        EXPECT_EQ(status, ZARNGI_NOT_READY);
        EXPECT_EQ(read, ZARNGI_NOT_READY);
        return;
    }
    ASSERT_EQ(read, ZARNGI_OK);
    EXPECT_TRUE(passRate == -1 || (passRate >= 0 && passRate <= 100)) << passRate;
    std::vector<float> gamma(Env->N_ref);
    ASSERT_EQ(zarnGI_getGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    for (const float g : gamma) {
        EXPECT_TRUE(g >= 0 || g == -1) << g;
    }
}

TEST_F(LibraryTest, AnAxisOfMoreVoxelsThanTheSearchCountsIsRefused)
{
    const Grid row = makeRow({1, 1}, 1);
    Grid needle = makeRow({1}, 1e-6F);
    needle.nn = {(1 << 24) + 1, 1, 1};
    needle.map.assign((1 << 24) + 1, 1.0F);
    setRef(row);
    ASSERT_EQ(setEval(needle), ZARNGI_OK);
    setCriteria(2, 3, 10);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_NOT_READY);
    ASSERT_EQ(setEval(row), ZARNGI_OK);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_OK);
}

std::vector<Absurdity> absurdities()
{
    return {
        {.name = "SpacingOfNothing", .spacing = 1e-30F},
        {.name = "DenormalSpacing", .spacing = tiny},
        {.name = "HugeSpacing", .spacing = 1e30F},
        {.name = "InfiniteSpacing", .spacing = inf},
        {.name = "SpacingNotANumber", .spacing = nan},
        {.name = "CornerFarAway", .corner = 1e30F},
        {.name = "CornerInfinite", .corner = -inf},
        {.name = "CornerNotANumber", .corner = nan},
        {.name = "GridsAMetreApart", .distance = 1000},
        {.name = "GridsAKilometreApart", .distance = 1e6F},
        {.name = "GridsTwentyKilometresApart", .distance = 2e7F},
        {.name = "RotatedBeyondTheLastStep",
         .distance = 2e9F,
         .DTA = 100,
         .step = 3,
         .rotated = true},
        {.name = "StepAThousandthOfTheDTA", .step = 2e-3F, .maxGamma = 2},
        {.name = "StepAMillionthOfTheDTA", .step = 2e-6F, .maxGamma = 2},
        {.name = "DenormalStep", .step = tiny, .maxGamma = 2},
        {.name = "NegativeStep", .step = -0.5F},
        {.name = "InfiniteStep", .step = inf},
        {.name = "StepNotANumber", .step = nan},
        {.name = "DTAAThousandTimesTheGrid", .DTA = 10000, .step = 1000},
        {.name = "HugeDTAWithAFineStep", .DTA = 10000, .step = 0.5F, .maxGamma = 2},
        {.name = "MoreRotatedPointsThanFitAList", .DTA = 10000, .step = 2, .rotated = true},
        {.name = "DenormalDTA", .DTA = tiny},
        {.name = "DTAMuchSmallerThanTheStep", .DTA = 1e-18F},
        {.name = "StepWithoutASquare", .DTA = 1e-17F, .step = 1e-18F, .maxGamma = 2},
        {.name = "RotatedStepWithoutASquare",
         .DTA = 1e-17F,
         .step = 1e-18F,
         .maxGamma = 2,
         .rotated = true},
        {.name = "InfiniteDTA", .DTA = inf},
        {.name = "DTANotANumber", .DTA = nan},
        {.name = "DenormalDD", .DD = tiny},
        {.name = "TinyRotatedDD",
         .DTA = 0.5F,
         .DD = 1e-15F,
         .step = 0.1F,
         .maxGamma = 2,
         .rotated = true},
        {.name = "InfiniteDD", .DD = inf},
        {.name = "InfiniteRotatedDD", .DTA = 0.5F, .DD = inf, .step = 0.1F, .rotated = true},
        {.name = "DDNotANumber", .DD = nan},
        {.name = "HugeGammaSearchMax", .maxGamma = 1e38F},
        {.name = "GammaSearchMaxNotANumber", .maxGamma = nan},
        {.name = "HugeGammaAndTinyDTA", .DTA = 0.01F, .step = 0.001F, .maxGamma = 1e38F},
        {.name = "NormalisationInfinite", .normalisation = inf},
        {.name = "NormalisationNotANumber", .normalisation = nan},
        {.name = "AThousandThreads", .threads = 1000},
        {.name = "AllThreadsThatAnIntCanCount", .threads = std::numeric_limits<int>::max()},
    };
}

INSTANTIATE_TEST_SUITE_P(Library, AbsurdInput, testing::ValuesIn(absurdities()),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
