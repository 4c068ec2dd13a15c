// The search held to its definition, over random problems and the cases worth a name.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <random>

#include "gammaIndexKernelCPU.h"
#include "support/capturedOutput.h"
#include "support/definition.h"
#include "support/describe.h"
#include "support/eachPath.h"
#include "support/host.h"
#include "support/randomProblem.h"

namespace
{

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/** Compares the records of the last computation with these. */
void expectSameRecords(const std::vector<DefinedVoxel>& expected)
{
    ASSERT_EQ(activeVoxels.size(), expected.size());
    for (std::size_t k = 0; k < expected.size(); ++k) {
        const ActiveVoxel& voxel = activeVoxels[k];
        ASSERT_EQ(voxel.ivxl, expected[k].ivxl) << "record " << k;
        ASSERT_EQ(voxel.passed, expected[k].passed) << "voxel " << voxel.ivxl;
        if (Env->passRateMode) {
            continue; // how far a voxel's search went before it passed is not part of the result
        }
        if (Env->randomRotation) {
            // A rotated point may be rounded differently: four units in the last place.
            ASSERT_FLOAT_EQ(voxel.gammasq, expected[k].gammasq) << "voxel " << voxel.ivxl;
            continue;
        }
        ASSERT_EQ(voxel.gammasq, expected[k].gammasq) << "voxel " << voxel.ivxl;
        ASSERT_EQ(voxel.stopSearching, expected[k].stopped) << "voxel " << voxel.ivxl;
        if (voxel.gammasq < 1e20F) {
            ASSERT_EQ(voxel.distanceMinGamma, expected[k].distance) << "voxel " << voxel.ivxl;
        }
    }
}

/** What the definition gives. */
struct DefinedResults {
    std::vector<DefinedVoxel> voxels;
    int shells = 0; ///< searched
    std::array<float, 9> rotation{};
};

DefinedResults resultsByDefinition(int shells)
{
    DefinedResults defined;
    defined.voxels = searchByDefinition(shells, 1, &defined.shells);
    std::copy(&Rot[0][0], &Rot[0][0] + defined.rotation.size(), defined.rotation.begin());
    return defined;
}

/** Whether they are those of the last computation, too: it may have made a rotation of its own. */
bool areOfLastRotation(const DefinedResults& defined)
{
    return !Env->randomRotation ||
           std::equal(defined.rotation.begin(), defined.rotation.end(), &Rot[0][0]);
}

/**
 * Computes and compares everything that can be seen with the definition over so many shells.
 * Returns the number of tested voxels.
 */
std::size_t expectDefinition(int shells)
{
    zarnGI_setVerbose(1);
    std::optional<DefinedResults> expected; // found once: it takes longer than the paths together
    onEachPath([&] {
        std::string dots;
        Results results;
        {
            const CapturedOutput output;
            results = compute();
            dots = output.text();
        }
        if (!expected || !areOfLastRotation(*expected)) {
            expected = resultsByDefinition(shells);
        }
        expectSameRecords(expected->voxels);
        if (expected->voxels.empty()) {
            return;
        }
        if (!Env->randomRotation) {
            EXPECT_TRUE(sameBits(results.gamma, mapByDefinition(expected->voxels)));
            EXPECT_EQ(dots, std::string(static_cast<std::size_t>(expected->shells), '.') + '\n');
        }
        EXPECT_EQ(results.passRate, getGammaPassRate());
    });
    return expected->voxels.size();
}

class RandomProblems : public LibraryTest, public testing::WithParamInterface<unsigned>
{
};

TEST_P(RandomProblems, GiveTheBitsOfTheDefinition)
{
    constexpr unsigned problems = 400;
    std::size_t tested = 0;
    for (unsigned i = 0; i < problems && !HasFailure(); ++i) {
        const unsigned seed = GetParam() * problems + i;
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        zarnGI_reset();
        RandomProblem problem(seed);
        const int shells = problem.handOver();
        tested += expectDefinition(shells);
        if (HasFailure()) {
            ADD_FAILURE() << describeProblem();
        }
    }
    EXPECT_GT(tested, 10000U);
}

INSTANTIATE_TEST_SUITE_P(Search, RandomProblems, testing::Range(0U, 8U));

class Search : public LibraryTest
{
protected:
    /** A dose peak on 8 x 8 x 8 voxels of 2 mm. */
    static Grid peak(float shift, float scale)
    {
        return makeGrid({8, 8, 8}, {2, 2, 2}, {shift, 0, 0}, [scale](int x, int y, int z) {
            const auto square = [](int i) {
                return (static_cast<float>(i) - 3.5F) * (static_cast<float>(i) - 3.5F);
            };
            return scale * std::exp(-(square(x) + square(y) + square(z)) / 10);
        });
    }
};

TEST_F(Search, IdenticalDosesGiveGammaZero)
{
    setCriteria(3, 3, 10);
    setRef(peak(0, 1));
    setEval(peak(0, 1));
    const Results results = compute();
    EXPECT_EQ(results.passRate, 100);
    for (const float gamma : results.gamma) {
        EXPECT_TRUE(gamma == 0 || gamma == -1);
    }
    EXPECT_GT(activeVoxels.size(), 100U);
}

TEST_F(Search, ShiftInAGradientCostsAtMostTheDistance)
{
    setCriteria(3, 3, 10);
    setRef(peak(0, 1));
    setEval(peak(1.2F, 1)); // four lattice steps along x
    const Results results = compute();
    for (const float gamma : results.gamma) {
        EXPECT_LE(gamma, 0.4F + 1e-5F);
    }
    EXPECT_EQ(results.passRate, 100);
}

TEST_F(Search, PassesEndWithTheLastVoxelThatIsFinal)
{
    // Many more voxels than are searched at once, and one or none that stays open for long.
    for (const int odd : {-1, 0, 150, 299}) {
        std::vector<float> doses(300, 2);
        setRef(makeRow(doses, 2));
        if (odd >= 0) {
            doses[static_cast<std::size_t>(odd)] = 3;
        }
        setEval(makeRow(doses, 2));
        setCriteria(1, 3, 10);
        zarnGI_setStepSize(0.25F);
        for (const int threads : {1, 3}) {
            zarnGI_setNumThreads(threads);
            zarnGI_setGammaSearchMax(4);
            expectDefinition(4);
            Env->gammaSearchMax = -1; // none
            expectDefinition(100);
        }
    }
}

TEST_F(Search, VoxelsAreFinalByPointsOfShellsThatHoldThem)
{
    // Along a single row a step of 2.5 mm puts no point of the evaluation grid between 3 and 4 mm.
    std::vector<float> doses(300, 100);
    setRef(makeRow(doses, 1));
    std::fill(doses.begin(), doses.begin() + 20, 200.0F);
    setEval(makeRow(doses, 1));
    setCriteria(1, 3, 10);
    zarnGI_setStepSize(2.5F);
    zarnGI_setGammaSearchMax(4);
    expectDefinition(4);
}

TEST_F(Search, UnboundedSearchEndsWithEveryVoxelFinal)
{
    setCriteria(1, 1, 10);
    zarnGI_setStepSize(0.25F);
    setRef(peak(0, 1));
    setEval(peak(0.6F, 1.1F));
    expectDefinition(40);
    EXPECT_FALSE(keepSearching());
}

TEST_F(Search, PositionsThatAreNotNumbersGiveTheBitsOfTheDefinition)
{
    setRef(makeRow({1, 2}, 2));
    Grid nowhere = makeRow({1.5F}, 2);
    nowhere.hs[0] = nan;
    nowhere.x0[0] = nan;
    ASSERT_EQ(setEval(nowhere), ZARNGI_OK);
    setCriteria(2, 60, 10);
    zarnGI_setGammaSearchMax(2);
    expectDefinition(2);
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    expectDefinition(1);
}

TEST_F(Search, SearchMaximumIsRoundedToWholeShells)
{
    // Gamma of the one tested voxel is 5 mm / 2 mm to the next voxel, found in the third shell.
    setRef(makeRow({1, 4, 1}, 10));
    setEval(makeRow({4, 100, 100}, 10));
    setCriteria(2, 1, 50);
    zarnGI_setInterpolation(false);
    zarnGI_setStepSize(0.5F);
    for (const auto& [maximum, gamma] :
         {std::pair{1.0F, 2400.0F}, std::pair{1.4F, 2400.0F}, std::pair{2.4F, 2400.0F},
          std::pair{2.5F, 2.75F}, std::pair{3.0F, 2.75F}, std::pair{1e38F, 2.75F},
          std::pair{inf, 2.75F}}) {
        zarnGI_setGammaSearchMax(maximum);
        EXPECT_FLOAT_EQ(compute().gamma[1], gamma) << maximum;
    }
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    EXPECT_EQ(compute().gamma[1], 0);
}

TEST_F(Search, GammaOfExactlyOnePasses)
{
    setRef(makeRow({4, 4}, 10));
    setEval(makeRow({5, 5.25F}, 10));
    setCriteria(0.5F, 25, 10);
    zarnGI_setInterpolation(false);
    const Results results = compute();
    EXPECT_EQ(results.gamma, (std::vector<float>{1, 1.25F}));
    EXPECT_EQ(results.passRate, 50);
}

/** One reference voxel of 10 mm, whose own dose in the evaluation grid does not pass. */
struct PassCase {
    const char* name;
    Grid evaluation;
    float dose;
    float DTA;
    float DD;
    bool interpolation;
    bool passes;
};

TEST_F(Search, DosesNearbyAreNotTakenForTooFar)
{
    const auto along = [](int axis, float lower, float size, const std::vector<float>& doses) {
        const auto a = static_cast<std::size_t>(axis);
        std::array<int, 3> nn{1, 1, 1};
        std::array<float, 3> hs{10, 10, 10};
        std::array<float, 3> x0{0, 0, 0};
        nn[a] = static_cast<int>(doses.size());
        hs[a] = size;
        x0[a] = lower;
        Grid grid = makeGrid(nn, hs, x0, [](int, int, int) { return 0.0F; });
        grid.map = doses;
        return grid;
    };
    const PassCase cases[] = {
        {"dose near the criterion, close", along(0, 0, 5.2F, {100, 4.97F}), 4, 2, 25, false, true},
        {"dose nearer, not close enough", along(0, 0, 5.2F, {100, 4.999F}), 4, 2, 25, false, false},
        {"dose 0 on the face", along(0, 4.5F, 10, {100}), 1, 2, 200, true, true},
        {"no dose 0 off the face", along(0, 4.6F, 10, {100}), 1, 2, 200, true, false},
        {"not a number between", along(1, 1.5F, 1, {4, nan, 100, 100, 100, 100, 100}), 4, 3, 25,
         false, true},
        {"squares that vanish", along(0, 0, 10, {3e-24F}), 1e-24F, 2, 1, true, true},
    };
    for (const PassCase& c : cases) {
        setRef(makeRow({c.dose}, 10));
        setEval(c.evaluation);
        setCriteria(c.DTA, c.DD, 10);
        zarnGI_setStepSize(0.25F);
        zarnGI_setInterpolation(c.interpolation);
        zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
        const Results results = compute();
        EXPECT_EQ(results.gamma[0], c.passes ? 1.0F : 0.0F) << c.name;
        EXPECT_EQ(searchByDefinition(1)[0].passed, c.passes) << c.name;
    }
}

TEST_F(Search, PointsOnAFaceOfTheEvaluationGridAreUsed)
{
    // The evaluation grid ends 2 mm before the reference voxel's centre at 5 mm. Its upper face is
    // outside for the reader (dose 0), but inside for the search: gamma² there is
    // (1 / 0.5)² + (2 / 2)² = 5, and the next point inwards, at 2.5 mm, reads the dose 1:
    // (2.5 / 2)² = 1.5625.
    setRef(makeRow({1}, 10));
    Grid evaluation = makeRow({1, 1, 1}, 1);
    evaluation.x0 = {0, 3.5F, 3.5F};
    evaluation.hs = {1, 3, 3};
    setEval(evaluation);
    setCriteria(2, 50, 10);
    zarnGI_setStepSize(0.5F);
    zarnGI_setGammaSearchMax(1);
    EXPECT_FLOAT_EQ(compute().gamma[0], std::sqrt(5.0F));
    zarnGI_setGammaSearchMax(2);
    EXPECT_FLOAT_EQ(compute().gamma[0], 1.25F);
}

TEST_F(Search, SquaresThatUnderflowGiveTheBitsOfTheDefinition)
{
    // The dose difference of 2e-27 Gy has the square 0; only a point on the face reads the dose 0.
    setRef(makeGrid({2, 1, 1}, {3.5F, 2.5F, 1.5F}, {4.25F, 3, 3},
                    [](int x, int, int) { return x == 0 ? -2.38852567e+30F : 2.08645351e-27F; }));
    setEval(makeGrid({1, 1, 2}, {3.5F, 1.5F, 3.5F}, {4.25F, 1.5F, 4.25F},
                     [](int, int, int z) { return z == 0 ? 2.203125F : 2.09375F; }));
    setCriteria(4, 33, 9);
    zarnGI_setStepSize(0.5F);
    zarnGI_setGammaSearchMax(1);
    const Results results = compute();
    expectSameRecords(searchByDefinition(1));
    EXPECT_FLOAT_EQ(results.gamma[1], 0.637377441F);
}

TEST_F(Search, SquaresThatLoseDigitsGiveTheBitsOfTheDefinition)
{
    // Squares of dose differences around 1e-43: whole multiples of the smallest number.
    std::mt19937 random(7);
    std::uniform_real_distribution<float> dose(0.5e-20F, 1e-20F);
    const auto noise = [&](int, int, int) { return dose(random); };
    setCriteria(3, 3, 10);
    zarnGI_setGammaSearchMax(2);
    for (int run = 0; run < 5; ++run) {
        setRef(makeGrid({8, 5, 4}, {2, 2, 2}, {0, 0, 0}, noise));
        setEval(makeGrid({8, 5, 4}, {2, 2, 2}, {0.7F, 0.3F, 0.1F}, noise));
        expectDefinition(2);
    }
}

TEST_F(Search, LocalCriterionThatVanishesNeverPasses)
{
    // 3 % of the smallest positive dose is 0: every dose term is infinite or not a number.
    const Grid row = makeRow({std::numeric_limits<float>::denorm_min(), 1}, 10);
    setRef(row);
    setEval(row);
    setCriteria(2, 3, 10);
    Env->DCO = 0;
    zarnGI_setDDCriterium(ZARNGI_DD_LOCAL);
    EXPECT_EQ(compute().gamma, (std::vector<float>{1e10F, 0}));
    EXPECT_FALSE(activeVoxels[0].passed);
}

TEST_F(Search, ManyCellsAroundEachVoxel)
{
    // More cells than one look takes along x and along y, around more voxels than a vector has.
    const auto wave = [](float x, float y, float z) {
        return 2 + std::sin(x / 2) * std::cos(y / 3) + 0.2F * z;
    };
    setRef(makeGrid({20, 2, 2}, {0.9F, 1, 1}, {1, 1.5F, 0.5F}, [&](int x, int y, int z) {
        return wave(0.9F * static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
    }));
    std::mt19937 random(5);
    for (const float noise : {0.0F, 0.05F, 1.0F}) {
        setEval(makeGrid({190, 50, 6}, {0.11F, 0.12F, 0.8F}, {0, 0, 0}, [&](int x, int y, int z) {
            std::uniform_real_distribution<float> error(-noise, noise);
            return wave(0.11F * static_cast<float>(x) - 0.7F, 0.12F * static_cast<float>(y) - 1,
                        0.8F * static_cast<float>(z)) +
                   (noise > 0 ? error(random) : 0.0F);
        }));
        setCriteria(2, 3, 10);
        zarnGI_setGammaSearchMax(3);
        expectDefinition(3);
    }
}

TEST_F(Search, SinglePlanes)
{
    const auto plane = [](float shift, float scale) {
        return makeGrid({9, 8, 1}, {2, 2, 2}, {shift, 0, 0}, [scale](int x, int y, int) {
            return scale * (2 + std::sin(static_cast<float>(x + 2 * y) / 2));
        });
    };
    setCriteria(3, 3, 10);
    setRef(plane(0, 1));
    setEval(plane(0.7F, 1.04F));
    for (const bool planar : {false, true}) {
        SCOPED_TRACE(planar ? "2D" : "3D");
        Env->gammaindex2D = planar;
        zarnGI_setGammaSearchMax(3);
        expectDefinition(3);
    }
}

TEST_F(Search, WideRowsUnderARotatedShell)
{
    // More voxels within reach along x than any vector has lanes.
    const auto wave = [](int x, int y, int z) {
        return 2 + std::sin(static_cast<float>(x) / 9 + static_cast<float>(y - z) / 5);
    };
    setRef(makeGrid({6, 2, 2}, {1, 1, 1}, {3, 2, 2}, wave));
    setEval(makeGrid({60, 12, 12}, {0.2F, 0.5F, 0.5F}, {0, 0, 0}, wave));
    setCriteria(2, 3, 10);
    zarnGI_setRandomRotation(true);
    zarnGI_setGammaSearchMax(1);
    compute();
    expectSameRecords(searchByDefinition(1));
}

TEST_F(Search, RoundedSamplePointsReadTheVoxelTheyFallInto)
{
    // So far out that the positions of two voxels are one number: dose criteria become negative.
    const auto row = [](float phase) {
        return makeGrid({9, 1, 1}, {1, 2, 2}, {3e7F, 0, 0}, [phase](int x, int, int) {
            return (x % 2 == 0 ? 1.0F : -1.0F) * (2 + std::sin(static_cast<float>(x) + phase));
        });
    };
    setRef(row(0));
    setEval(row(0.4F));
    setCriteria(3, 10, 10);
    zarnGI_setDDCriterium(ZARNGI_DD_LOCAL);
    zarnGI_setGammaSearchMax(2);
    expectDefinition(2);
}

TEST_F(Search, TracingReadsTheSameDoses)
{
    setCriteria(2, 3, 10);
    zarnGI_setStepSize(1);
    zarnGI_setGammaSearchMax(1);
    Env->gammaindex2D = true;
    setRef(makeRow({1, 2, 3}, 2));
    setEval(makeRow({1.1F, 2.1F, 2.9F}, 2));
    const Results silent = compute();
    const CapturedOutput output;
    bilinDebug = true;
    const Results traced = compute();
    bilinDebug = false;
    EXPECT_TRUE(sameBits(traced.gamma, silent.gamma));
    EXPECT_NE(output.text().find("bilininterp along direction 2"), std::string::npos);
}

TEST_F(Search, LatticesOfMoreThanAThousandStepsPerDTA)
{
    // Each holds the points of the one before; too many for the definition.
    setRef(makeRow({1, 2, 3}, 1));
    setEval(makeRow({1.3F, 2.1F, 3.4F}, 1));
    setCriteria(1, 10, 10);
    std::vector<float> coarser(3, 1e10F);
    for (const float steps : {400.0F, 1200.0F}) {
        zarnGI_setStepSize(1 / steps);
        const Results results = compute();
        for (std::size_t i = 0; i < coarser.size(); ++i) {
            EXPECT_LE(results.gamma[i], coarser[i] * (1 + 1e-5F)) << steps << ", voxel " << i;
        }
        coarser = results.gamma;
    }
    EXPECT_GT(coarser[2], 0);
}

TEST_F(Search, RotatedLatticeInVoxelsLargerAndSmallerThanItsBoxes)
{
    // Around all voxels only points between voxel centres: 5 to 11 mm and a shell of 3 mm, in 16
    // mm.
    std::mt19937 random(7);
    std::uniform_real_distribution<float> error(-1, 1);
    const auto wave = [](float x, float y, float z) {
        return 2 + std::sin(x / 2) * std::cos(y / 3) + 0.05F * z;
    };
    const auto field = [&](int count, float voxel, float lower, float noise) {
        const auto at = [=](int i) { return lower + (static_cast<float>(i) + 0.5F) * voxel; };
        return makeGrid(
            {count, count, count}, {voxel, voxel, voxel}, {lower, lower, lower},
            [&](int x, int y, int z) { return wave(at(x), at(y), at(z)) + noise * error(random); });
    };
    setCriteria(3, 3, 10);
    zarnGI_setGammaSearchMax(1);
    zarnGI_setRandomRotation(true);
    setRef(field(9, 0.66F, 5, 0.1F));
    for (const auto& [count, voxel] :
         {std::pair{6, 2.7F}, std::pair{13, 1.3F}, std::pair{16, 1.0F}, std::pair{40, 0.4F}}) {
        for (const float noise : {0.05F, 0.3F, 1.0F}) {
            SCOPED_TRACE(testing::Message() << voxel << " mm, noise " << noise);
            setEval(field(count, voxel, 0, noise));
            compute();
            expectSameRecords(searchByDefinition(1));
        }
    }
}

TEST_F(Search, SingleVoxelGrids)
{
    setRef(makeRow({2}, 3));
    setEval(makeRow({2.5F}, 3));
    setCriteria(1, 25, 10);
    EXPECT_EQ(compute().gamma, std::vector<float>{1});
}

TEST_F(Search, GridsThatTouchOnlyFartherOutAreSearchedUntilTheyDo)
{
    setCriteria(2, 10, 10);
    zarnGI_setStepSize(1);
    setRef(peak(0, 1));
    setEval(peak(22, 1)); // 6 mm of nothing between the grids
    expectDefinition(20);
}

TEST_F(Search, GridsBetweenTheLatticePointsEndAtOnce)
{
    // A box thinner than the step that no lattice plane meets: no shell can ever help.
    setCriteria(3, 3, 10);
    setRef(makeRow({1, 1}, 2));
    Grid sliver = makeRow({1}, 0.1F);
    sliver.x0 = {0.86F, 0.8F, 0.82F};
    setEval(sliver);
    const Results results = compute();
    EXPECT_EQ(results.gamma, (std::vector<float>{1e10F, 1e10F}));
    EXPECT_EQ(results.passRate, 0);
}

TEST_F(Search, NonFiniteDosesTouchOnlyWhatReadsThem)
{
    Grid reference = peak(0, 1);
    Grid evaluation = peak(0.6F, 1.05F);
    evaluation.map[100] = nan;
    evaluation.map[260] = inf;
    reference.map[220] = nan;  // not above the cut-off: not tested
    reference.map[300] = -inf; // the same
    setCriteria(2, 3, 10);
    zarnGI_setGlobalNormalization(1);
    zarnGI_setGammaSearchMax(2);
    setRef(reference);
    setEval(evaluation);
    expectDefinition(2);
    EXPECT_EQ(Env->gamma[220], -1);
    EXPECT_EQ(Env->gamma[300], -1);
    for (std::size_t i = 0; i < Env->N_ref; ++i) {
        EXPECT_FALSE(std::isnan(Env->gamma[i]));
    }
}

TEST_F(Search, InfiniteMaximumLeavesNothingAboveTheCutOff)
{
    Grid reference = peak(0, 1);
    reference.map[7] = inf;
    setCriteria(2, 3, 10);
    setRef(reference);
    setEval(peak(0, 1));
    EXPECT_EQ(compute().passRate, -1);
}

TEST_F(Search, RepeatedComputationsGiveTheSameBits)
{
    setCriteria(2, 2, 10);
    setRef(peak(0, 1));
    setEval(peak(0.8F, 1.03F));
    const Results first = compute();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(sameBits(compute().gamma, first.gamma));
    }
    zarnGI_setInterpolation(false);
    EXPECT_FALSE(sameBits(compute().gamma, first.gamma));
    zarnGI_setInterpolation(true);
    EXPECT_TRUE(sameBits(compute().gamma, first.gamma));
}

class ThreadCounts : public Search, public testing::WithParamInterface<int>
{
};

TEST_P(ThreadCounts, ChangeNoBit)
{
    setCriteria(2, 2, 10);
    setRef(peak(0, 1));
    setEval(peak(0.8F, 1.03F));
    const Results alone = compute();
    zarnGI_setNumThreads(GetParam());
    const Results together = compute();
    EXPECT_TRUE(sameBits(together.gamma, alone.gamma));
    EXPECT_EQ(together.passRate, alone.passRate);
}

INSTANTIATE_TEST_SUITE_P(Search, ThreadCounts, testing::Values(2, 3, 4, 5, 1000));

} // namespace
