// Memory of the host's that the library uses without a copy.
#include <cmath>
#include <limits>

#include "gammaIndexKernelCPU/engineState.h"
#include "support/host.h"
#include "support/randomProblem.h"

namespace
{

using LendGrid = int (*)(const int*, const float*, const float*, const float*);

/** A grid whose margin holds what no dose is. */
class LentGrid
{
public:
    explicit LentGrid(Grid grid) : grid_(std::move(grid))
    {
        for (int i = 0; i < ZARNGI_LENT_MARGIN; ++i) {
            grid_.map.push_back(i % 2 == 0 ? std::numeric_limits<float>::quiet_NaN() : 1e30F);
        }
        given_ = grid_.map;
    }
    int lend(LendGrid function) const
    {
        return function(grid_.nn.data(), grid_.hs.data(), grid_.x0.data(), grid_.map.data());
    }
    float* map() { return grid_.map.data(); }
    bool isUntouched() const { return sameBits(grid_.map, given_); }

private:
    Grid grid_;
    std::vector<float> given_;
};

Grid wave(int size, float phase)
{
    return makeGrid({size, size, size}, {2, 2, 2}, {0, 0, 0}, [phase](int x, int y, int z) {
        return 2 + std::sin(static_cast<float>(x + 2 * y + 3 * z) / 5 + phase);
    });
}

/** The result of grids that the library copies. */
Results resultOf(const Grid& reference, const Grid& evaluation)
{
    EXPECT_EQ(setRef(reference), ZARNGI_OK);
    EXPECT_EQ(setEval(evaluation), ZARNGI_OK);
    return compute();
}

void expectSame(const Results& results, const Results& expected)
{
    EXPECT_TRUE(sameBits(results.gamma, expected.gamma));
    EXPECT_EQ(results.passRate, expected.passRate);
}

class LentMemory : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        setCriteria(3, 3, 10);
        zarnGI_setGammaSearchMax(2);
        zarnGI_setNumThreads(2);
    }
};

using LentGrids = LentMemory;

TEST_F(LentGrids, AreSearchedWhereTheyAre)
{
    const Results expected = resultOf(wave(9, 0), wave(8, 0.4F));
    LentGrid reference(wave(9, 0));
    LentGrid evaluation(wave(8, 0.4F));
    ASSERT_EQ(reference.lend(zarnGI_lendRef), ZARNGI_OK);
    ASSERT_EQ(evaluation.lend(zarnGI_lendEval), ZARNGI_OK);
    EXPECT_EQ(Env->map_ref, reference.map());
    EXPECT_EQ(Env->map_eval, evaluation.map());
    expectSame(compute(), expected);
    zarnGI_reset();
    EXPECT_TRUE(reference.isUntouched() && evaluation.isUntouched());
}

/** Whatever the search, and whatever it reads behind the last dose. */
TEST_F(LentGrids, GiveTheBitsOfCopiesInRandomProblems)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        zarnGI_reset();
        RandomProblem(seed).handOver();
        if (Env->randomRotation) {
            continue; // drawn anew each time
        }
        const Results expected = compute();
        const auto gridOf = [](const int* nn, const float* hs, const float* x0, const float* map,
                               std::size_t count) {
            return LentGrid({{nn[0], nn[1], nn[2]},
                             {hs[0], hs[1], hs[2]},
                             {x0[0], x0[1], x0[2]},
                             {map, map + count}});
        };
        const LentGrid reference =
            gridOf(Env->nn_ref, Env->hs_ref, Env->xmin_ref, Env->map_ref, Env->N_ref);
        const LentGrid evaluation =
            gridOf(Env->nn_eval, Env->hs_eval, Env->xmin_eval, Env->map_eval, Env->N_eval);
        ASSERT_EQ(reference.lend(zarnGI_lendRef), ZARNGI_OK);
        ASSERT_EQ(evaluation.lend(zarnGI_lendEval), ZARNGI_OK);
        const bool testsNothing = expected.passRate < 0;
        const Results results = compute();
        EXPECT_TRUE(sameBits(results.gamma, expected.gamma));
        EXPECT_TRUE(testsNothing || results.passRate == expected.passRate);
        zarnGI_reset();
    }
}

TEST_F(LentGrids, TakeTurnsWithThoseOfAnotherComparison)
{
    const Results first = resultOf(wave(9, 0), wave(9, 0.4F));
    const Results second = resultOf(wave(6, 1), wave(7, 1.2F));
    const LentGrid grids[2][2] = {{LentGrid(wave(9, 0)), LentGrid(wave(9, 0.4F))},
                                  {LentGrid(wave(6, 1)), LentGrid(wave(7, 1.2F))}};
    for (int turn = 0; turn < 4; ++turn) {
        ASSERT_EQ(grids[turn % 2][0].lend(zarnGI_lendRef), ZARNGI_OK);
        ASSERT_EQ(grids[turn % 2][1].lend(zarnGI_lendEval), ZARNGI_OK);
        expectSame(compute(), turn % 2 == 0 ? first : second);
    }
}

TEST_F(LentGrids, MayHoldOtherDosesAtTheNextComputation)
{
    const Results expected = resultOf(wave(7, 1), wave(7, 1.3F));
    LentGrid reference(wave(7, 0));
    ASSERT_EQ(reference.lend(zarnGI_lendRef), ZARNGI_OK);
    ASSERT_EQ(setEval(wave(7, 1.3F)), ZARNGI_OK);
    compute();
    const std::vector<float> other = wave(7, 1).map;
    std::copy(other.begin(), other.end(), reference.map());
    expectSame(compute(), expected);
    ASSERT_EQ(reference.lend(zarnGI_lendRef), ZARNGI_OK); // the same memory once more
    expectSame(compute(), expected);
}

TEST_F(LentGrids, AreReplacedByCopiesAndTheOtherWayRound)
{
    const Results expected = resultOf(wave(7, 0), wave(7, 0.3F));
    LentGrid lent(wave(8, 1));
    ASSERT_EQ(lent.lend(zarnGI_lendRef), ZARNGI_OK);
    ASSERT_EQ(lent.lend(zarnGI_lendEval), ZARNGI_OK); // one memory for both
    EXPECT_EQ(compute().passRate, 100);
    expectSame(resultOf(wave(7, 0), wave(7, 0.3F)), expected);
    EXPECT_TRUE(lent.isUntouched());
}

TEST_F(LentGrids, LeaveTheLibraryWithoutAGammaMapUntilTheNextComputation)
{
    resultOf(wave(7, 0), wave(7, 0.3F));
    const LentGrid lent(wave(6, 0));
    ASSERT_EQ(lent.lend(zarnGI_lendRef), ZARNGI_OK);
    EXPECT_EQ(Env->gamma, nullptr);
    std::vector<float> gamma(216, 7);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(gamma.data()), ZARNGI_NO_RESULTS);
    EXPECT_EQ(gamma.front(), 7);
    std::vector<unsigned char> passed(216);
    EXPECT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    EXPECT_EQ(passed, std::vector<unsigned char>(216, ZARNGI_NOT_TESTED));
    compute();
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    EXPECT_NE(gamma.front(), 7);
}

TEST_F(LentGrids, WithoutATestedVoxelHaveAMapWithoutOne)
{
    const LentGrid lent(makeGrid({5, 5, 5}, {1, 1, 1}, {0, 0, 0}, [](int, int, int) { return 0; }));
    ASSERT_EQ(lent.lend(zarnGI_lendRef), ZARNGI_OK);
    ASSERT_EQ(lent.lend(zarnGI_lendEval), ZARNGI_OK);
    const Results results = compute();
    EXPECT_EQ(results.gamma, std::vector<float>(125, -1));
    EXPECT_EQ(results.passRate, -1);
}

/** What holds for all the functions that hand over a grid stands in grid_input_test.cpp. */
TEST_F(LentGrids, StayWhenOthersAreRefused)
{
    const LentGrid lent(wave(6, 0));
    ASSERT_EQ(lent.lend(zarnGI_lendRef), ZARNGI_OK);
    std::vector<float> gamma(216);
    ASSERT_EQ(zarnGI_lendGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    ASSERT_EQ(setEval(wave(6, 0.2F)), ZARNGI_OK);
    const int none[3] = {0, 1, 1};
    const float one[3] = {1, 1, 1};
    EXPECT_EQ(zarnGI_lendRef(none, one, one, one), ZARNGI_BAD_GRID_SIZE);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    EXPECT_EQ(Env->gamma, gamma.data());
}

using LentGammaMap = LentMemory;

TEST_F(LentGammaMap, IsWrittenInPlace)
{
    const Results expected = resultOf(wave(9, 0), wave(9, 0.4F));
    std::vector<float> gamma(729, 7);
    ASSERT_EQ(zarnGI_lendGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    EXPECT_EQ(gamma, std::vector<float>(729, 7));
    expectSame(compute(), expected);
    EXPECT_TRUE(sameBits(gamma, expected.gamma));

    std::vector<float> other(729);
    ASSERT_EQ(zarnGI_lendGammaIndex3DMap(other.data()), ZARNGI_OK);
    std::vector<float> copy(729);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(copy.data()), ZARNGI_NO_RESULTS);
    zarnGI_setDD(1);
    EXPECT_EQ(compute().gamma, other);
    EXPECT_NE(other, gamma);
    EXPECT_TRUE(sameBits(gamma, expected.gamma));
}

TEST_F(LentGammaMap, IsTakenBackWithItsMapAlone)
{
    const Results expected = resultOf(wave(9, 0), wave(9, 0.4F));
    std::vector<float> gamma(729);
    ASSERT_EQ(zarnGI_lendGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    ASSERT_EQ(zarnGI_lendGammaIndex3DMap(nullptr), ZARNGI_OK);
    std::vector<float> copy(729);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(copy.data()), ZARNGI_NO_RESULTS);
    float passRate = 0;
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_OK);
    EXPECT_EQ(passRate, expected.passRate);
    std::vector<unsigned char> passed(729);
    EXPECT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    EXPECT_NE(passed.front(), ZARNGI_NOT_TESTED);
    gamma.assign(729, 7);
    expectSame(compute(), expected);
    EXPECT_EQ(gamma, std::vector<float>(729, 7));
}

TEST_F(LentGammaMap, IsAllUntestedWhenNothingIsTested)
{
    resultOf(wave(9, 0), wave(9, 0.4F));
    std::vector<float> gamma(729);
    ASSERT_EQ(zarnGI_lendGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    EXPECT_GE(gamma.front(), 0);
    zarnGI_setGlobalNormalization(1000);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    EXPECT_EQ(gamma, std::vector<float>(729, -1));
}

/** Another grid may have more voxels than the memory holds. */
TEST_F(LentGammaMap, IsLentForOneReferenceGrid)
{
    EXPECT_EQ(zarnGI_lendGammaIndex3DMap(nullptr), ZARNGI_NO_REFERENCE);
    const LentGrid lent(wave(8, 0));
    for (const bool isLent : {false, true}) {
        resultOf(wave(6, 0), wave(6, 0.4F));
        std::vector<float> gamma(216);
        ASSERT_EQ(zarnGI_lendGammaIndex3DMap(gamma.data()), ZARNGI_OK);
        ASSERT_EQ(isLent ? lent.lend(zarnGI_lendRef) : setRef(wave(8, 0)), ZARNGI_OK);
        ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
        EXPECT_NE(Env->gamma, gamma.data());
    }
    zarnGI_reset();
    EXPECT_EQ(zarnGI_lendGammaIndex3DMap(nullptr), ZARNGI_NO_REFERENCE);
}

using Records = LentMemory;

TEST_F(Records, AreGivenBackWithWhoPassedAlone)
{
    const Results expected = resultOf(wave(9, 0), wave(9, 0.4F));
    std::vector<unsigned char> passed(729);
    ASSERT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    const std::vector<unsigned char> before = passed;
    ASSERT_GT(activeVoxels.capacity(), 0U);
    ASSERT_EQ(zarnGI_releaseRecords(), ZARNGI_OK);
    EXPECT_EQ(activeVoxels.capacity(), 0U);

    EXPECT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_NO_RESULTS);
    EXPECT_EQ(passed, before);
    std::vector<float> gamma(729);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(gamma.data()), ZARNGI_OK);
    EXPECT_TRUE(sameBits(gamma, expected.gamma));
    float passRate = 0;
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_OK);
    EXPECT_EQ(passRate, expected.passRate);

    expectSame(compute(), expected);
    EXPECT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    EXPECT_EQ(passed, before);
}

} // namespace
