#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "comparison/noise/noisyDoses.h"
#include "comparison/noise/noisyRates.h"
#include "libZarnGI.h"

using zarngi::DoseImage;
using zarngi::GammaRun;
using zarngi::GammaSettings;
using zarngi::Geometry;
using zarngi::NormalNumbers;
using zarngi::viewOf;

namespace
{

constexpr Geometry grid{{31, 20, 17}, {2, 2.5, 3}, {-30, -24, -24}};
constexpr double maximum = 50;

/** A dose like a hill; `shift` (mm) moves it. */
DoseImage hill(double shift)
{
    files::LargeVector<float> doses;
    for (int z = 0; z < grid.size[2]; ++z) {
        for (int y = 0; y < grid.size[1]; ++y) {
            for (int x = 0; x < grid.size[0]; ++x) {
                const double square = std::pow((grid.origin[0] + 2 * x - shift) / 20, 2) +
                                      std::pow((grid.origin[1] + 2.5 * y) / 18, 2) +
                                      std::pow((grid.origin[2] + 3 * z) / 18, 2);
                doses.push_back(static_cast<float>(maximum * std::exp(-square)));
            }
        }
    }
    DoseImage dose;
    dose.image = {grid, std::move(doses)};
    return dose;
}

/** A pair whose doses have an uncertainty of a part of each. */
struct Pair {
    explicit Pair(float part)
        : reference(hill(0)), evaluation(hill(1.7)), run(reference, evaluation)
    {
        for (DoseImage* const dose : {&reference, &evaluation}) {
            dose->uncertainty = dose->image.values;
            for (float& value : dose->uncertainty.own()) {
                value *= part;
            }
        }
        settings.normalisation = maximum;
        given = run.compute(settings, criterion);
    }

    /** Counts of all voxels, and of one layer. */
    std::vector<zarngi::NoiseCounts> counts(int threads)
    {
        const zarngi::CentreDoses centres(viewOf(reference.image), viewOf(evaluation.image));
        const zarngi::UncertainPair pair{viewOf(reference.image),
                                         viewOf(evaluation.image),
                                         reference.uncertainty,
                                         evaluation.uncertainty,
                                         centres,
                                         given.passed,
                                         zarngi::testedBox(grid, given.passed)};
        const files::Runs all = zarngi::runsOf(pair.box);
        files::Runs layer;
        for (int y = 0; y < grid.size[1]; ++y) {
            layer.push_back({8, y, 0, grid.size[0]});
        }
        settings.threads = threads;
        return zarngi::noisyCounts(run, pair, {settings, {criterion}, {&all, &layer}, 3}).front();
    }

    std::size_t passed() const
    {
        return static_cast<std::size_t>(
            std::count(given.passed.begin(), given.passed.end(), ZARNGI_PASSED));
    }

    DoseImage reference;
    DoseImage evaluation;
    GammaRun run;
    GammaSettings settings;
    zarngi::Criterion criterion{1.5, 1, false};
    zarngi::GammaMap given;
};

TEST(NoisyRates, AreThoseOfTheDosesWhereNoNoiseIsAdded)
{
    Pair pair(0);
    const std::size_t passed = pair.passed();
    const auto counts = pair.counts(2);
    const auto tested =
        static_cast<std::size_t>(std::count_if(pair.given.values.begin(), pair.given.values.end(),
                                               [](float gamma) { return gamma >= 0; }));
    EXPECT_EQ(counts[0].tested, tested);
    EXPECT_LT(counts[1].tested, tested);
    ASSERT_LT(passed, tested);
    for (const auto& repetitions : counts[0].passedWith) {
        for (const std::size_t count : repetitions) {
            EXPECT_EQ(count, passed);
        }
    }
    EXPECT_EQ(counts[0].disagreements, (std::array<std::size_t, 4>{}));
    EXPECT_EQ(counts[0].noiseSquare, 0);
}

TEST(NoisyRates, FallWithNoiseAndAreTheSameByAnyNumberOfThreads)
{
    Pair pair(0.02F);
    const auto counts = pair.counts(1);
    Pair again(0.02F);
    const auto other = again.counts(3);
    for (std::size_t part = 0; part < counts.size(); ++part) {
        EXPECT_EQ(counts[part].passedWith, other[part].passedWith);
        EXPECT_EQ(counts[part].disagreements, other[part].disagreements);
        EXPECT_GT(counts[part].disagreements.back(), 0U);
    }
    EXPECT_LT(counts[0].passedWith[3][0], counts[0].passedWith[0][0]);
    EXPECT_NE(counts[0].passedWith[3][0], counts[0].passedWith[3][1]);
    // At the top of the hill two doses of 2 % each, by 1.5 % of the maximum; below it less.
    EXPECT_LT(counts[0].noiseSquare, 2 * std::pow(2 / 1.5, 2));
    EXPECT_GT(counts[1].noiseSquare, counts[0].noiseSquare);
}

TEST(NoisyDoses, AreTheSameInAnyPartOfTheGridAndHaveTheVarianceAskedFor)
{
    const DoseImage dose = hill(0);
    std::vector<float> uncertainty(dose.image.values.size(), 2);
    uncertainty[5] = std::nanf("");
    const zarngi::AddedNoise noise{uncertainty, 1.5, NormalNumbers(9, 4)};
    std::vector<float> whole;
    addNoise(viewOf(dose.image), zarngi::wholeBox(grid), noise, 2, whole);
    const zarngi::GridBox box{{3, 2, 5}, {30, 11, 12}};
    std::vector<float> part;
    addNoise(viewOf(dose.image), box, noise, 1, part);
    zarngi::forEachVoxel(grid, box, zarngi::runsOf(box), [&](std::size_t voxel, std::size_t at) {
        EXPECT_EQ(part[at], whole[voxel]);
    });
    double squares = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        squares += std::pow(static_cast<double>(whole[i] - dose.image.values[i]) / 3, 2);
    }
    EXPECT_EQ(whole[5], dose.image.values[5]);
    const auto count = static_cast<double>(whole.size());
    EXPECT_NEAR(squares / count, 1, 5 * std::sqrt(2 / count));
}

} // namespace
