// Computations of large grids, which are made in parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "comparison/failure.h"
#include "comparison/partSearch.h"

namespace
{

using zarngi::Criterion;
using zarngi::GammaMap;
using zarngi::GammaRun;
using zarngi::GammaSearch;
using zarngi::GammaSettings;
using zarngi::PlaneRange;

/** A ball with a wave in it, in a grid of five million voxels, nearly all of which hold 0. */
zarngi::DoseImage ball(double shift, const zarngi::Vec3& spacing)
{
    constexpr int size = 172;
    zarngi::DoseImage dose;
    dose.image.geometry = {{size, size, size}, spacing, {-171 + shift, 2.3, -260}};
    files::LargeVector<float> values(dose.image.geometry.voxels(), 0.0F);
    const auto& geometry = dose.image.geometry;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const zarngi::Vec3 at = geometry.centreOf(i);
        const double radius = std::hypot(at[0], at[1] - 170, (at[2] + 90) / 4);
        if (radius < 24) {
            values[i] = static_cast<float>(2 + std::sin((at[0] + at[1] + at[2]) / 6 + shift));
        }
    }
    dose.image.values = std::move(values);
    return dose;
}

class LargeGrid : public testing::Test
{
protected:
    LargeGrid() : reference_(ball(0, {2, 2, 2})), evaluation_(ball(0.7, {2.1, 1.9, 2.2}))
    {
        settings_.threads = 2;
        settings_.maxGamma = 2;
    }

    /** Parts need the normalisation that a search of the whole looks for. */
    GammaSettings inParts() const
    {
        GammaSettings settings = settings_;
        settings.normalisation = static_cast<double>(
            *std::max_element(reference_.image.values.begin(), reference_.image.values.end()));
        return settings;
    }

    static void expectSame(const GammaMap& found, const GammaMap& expected)
    {
        ASSERT_EQ(found.values.size(), expected.values.size());
        EXPECT_EQ(std::memcmp(found.values.data(), expected.values.data(),
                              found.values.size() * sizeof(float)),
                  0);
        EXPECT_EQ(found.passed, expected.passed);
        EXPECT_EQ(found.passRate, expected.passRate);
        EXPECT_GT(found.passRate, 0);
        EXPECT_LT(found.passRate, 100);
    }

    zarngi::DoseImage reference_;
    zarngi::DoseImage evaluation_;
    GammaSettings settings_;
    Criterion criterion_{3, 2, false};
};

/** The doses of some planes, and nothing else, but what must be readable behind them. */
files::LargeVector<float> copied(const zarngi::Image& image, PlaneRange planes)
{
    const std::span<const float> doses = zarngi::dosesOf(image, planes);
    return {doses.begin(), doses.end()};
}

TEST_F(LargeGrid, HasTheResultOfAWholeSearchWhoeverSearchesItsParts)
{
    const GammaMap whole = GammaRun(reference_, evaluation_).compute(settings_, criterion_);
    for (const bool isHandedOut : {false, true}) {
        GammaRun run(reference_, evaluation_);
        GammaSearch search(run, inParts(), criterion_);
        ASSERT_EQ(search.parts(), 3U);
        std::vector<zarngi::SearchPart> parts;
        while (search.hasNext()) {
            if (isHandedOut) {
                parts.push_back(zarngi::searchPart(search, reference_.image.geometry,
                                                   evaluation_.image.geometry, search.next()));
            } else {
                search.search(search.next(), {});
            }
        }
        std::reverse(parts.begin(), parts.end());
        for (const zarngi::SearchPart& part : parts) {
            EXPECT_LT(part.ofEvaluation.count, 90);
            const auto reference = copied(reference_.image, part.ofReference);
            const auto evaluation = copied(evaluation_.image, part.ofEvaluation);
            const zarngi::PartMaps maps = zarngi::searched(part, reference, evaluation);
            search.take(part.tested, maps.gamma, maps.passed);
        }
        expectSame(search.finish(), whole);
    }
}

/** Nothing of it would show in the result. */
TEST_F(LargeGrid, RefusesPartsThatAreNotWhole)
{
    const GammaRun run(reference_, evaluation_);
    GammaSearch search(run, inParts(), criterion_);
    const PlaneRange part = search.next();
    const auto voxels = static_cast<std::size_t>(part.count) * 172 * 172;
    const std::vector<float> gamma(voxels, 0.5F);
    const std::vector<unsigned char> passed(voxels, 1);
    EXPECT_THROW(search.take(part, std::span(gamma).subspan(1), passed), std::invalid_argument);
    EXPECT_THROW(search.take(part, gamma, std::span(passed).subspan(1)), std::invalid_argument);
    search.take(part, gamma, passed);
    EXPECT_THROW(search.finish(), std::logic_error);
    const zarngi::SearchPart needs = zarngi::searchPart(search, reference_.image.geometry,
                                                        evaluation_.image.geometry, search.next());
    const auto reference = copied(reference_.image, needs.ofReference);
    const auto evaluation = copied(evaluation_.image, needs.ofEvaluation);
    EXPECT_THROW(zarngi::searched(needs, reference, std::span(evaluation).subspan(1)),
                 std::invalid_argument);
}

/** Their rotation, and what the library prints, are those of one search. */
TEST_F(LargeGrid, IsSearchedAsAWholeWherePartsWouldShow)
{
    const GammaRun run(reference_, evaluation_);
    GammaSettings rotated = inParts();
    rotated.rotate = true;
    GammaSettings told = inParts();
    told.verbose = 1;
    for (const GammaSettings& settings : {settings_, rotated, told}) {
        EXPECT_EQ(GammaSearch(run, settings, criterion_).parts(), 1U);
    }
    GammaSettings unbounded = inParts();
    EXPECT_TRUE(zarngi::canBeHandedOut(unbounded));
    unbounded.maxGamma = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(zarngi::canBeHandedOut(unbounded));
    EXPECT_FALSE(zarngi::canBeHandedOut(settings_));
}

TEST_F(LargeGrid, TellsOneProgressOfAllParts)
{
    GammaRun run(reference_, evaluation_);
    double last = 0;
    bool isMonotone = true;
    run.compute(inParts(), criterion_, [&](const zarngi::SearchProgress& progress) {
        isMonotone = isMonotone && progress.shellLimit == 1 && progress.share >= last;
        last = progress.share;
        return true;
    });
    EXPECT_TRUE(isMonotone);
    EXPECT_GT(last, 0.6);
    EXPECT_LE(last, 1);
    try {
        run.compute(inParts(), criterion_,
                    [](const zarngi::SearchProgress& progress) { return progress.share < 0.5; });
        FAIL() << "it goes on";
    } catch (const zarngi::InputError& error) {
        EXPECT_EQ(error.kind(), zarngi::FailureKind::interrupted);
    }
    // What follows is not restricted to the planes that were searched last.
    const GammaMap whole = run.compute(settings_, criterion_);
    expectSame(run.compute(inParts(), criterion_), whole);
}

TEST_F(LargeGrid, MayHaveNothingToTest)
{
    GammaRun run(reference_, evaluation_);
    GammaSettings settings = inParts();
    settings.normalisation = 1000;
    const GammaMap map = run.search(settings, criterion_);
    EXPECT_EQ(map.passRate, 0);
    EXPECT_EQ(std::count(map.values.begin(), map.values.end(), -1.0F),
              static_cast<std::ptrdiff_t>(map.values.size()));
    EXPECT_THROW(run.compute(settings, criterion_), zarngi::InputError);
}

} // namespace
