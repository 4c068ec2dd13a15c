// Which voxels are tested, and what the engine's state holds for them.
#include <algorithm>
#include <cmath>
#include <limits>

#include "gammaIndexKernelCPU.h"
#include "support/host.h"

namespace
{

class Setup : public LibraryTest
{
protected:
    void prepare(const std::vector<float>& reference, const std::vector<float>& evaluation)
    {
        ASSERT_EQ(setRef(makeRow(reference, 2)), ZARNGI_OK);
        ASSERT_EQ(setEval(makeRow(evaluation, 2)), ZARNGI_OK);
    }
    static std::vector<int> testedVoxels()
    {
        std::vector<int> tested;
        for (const ActiveVoxel& voxel : activeVoxels) {
            tested.push_back(voxel.ivxl);
        }
        return tested;
    }
    /** Those above DCO percent of the largest dose, by its definition. */
    static std::vector<int> voxelsAboveCutOff(const std::vector<float>& doses)
    {
        const float cutoff = DCO / 100 * *std::max_element(doses.begin(), doses.end());
        std::vector<int> above;
        for (std::size_t i = 0; i < doses.size(); ++i) {
            if (doses[i] > cutoff) {
                above.push_back(static_cast<int>(i));
            }
        }
        return above;
    }
};

TEST_F(Setup, TestsVoxelsStrictlyAboveTheCutOff)
{
    setCriteria(3, 3, 25);
    prepare({0, 1, 1.001F, 4, -1, 0.999F}, {0, 1, 1, 4, 0, 1});
    const Results results = compute();
    EXPECT_EQ(testedVoxels(), (std::vector{2, 3}));
    EXPECT_EQ(results.gamma[0], -1);
    EXPECT_EQ(results.gamma[1], -1) << "a dose equal to the cut-off is not tested";
    EXPECT_GE(results.gamma[2], 0);
    EXPECT_EQ(results.gamma[3], 0);
    EXPECT_EQ(results.gamma[4], -1);
    EXPECT_EQ(DDvalue, 0.12F);
}

TEST_F(Setup, NormalisationDoseReplacesTheMaximumEvenWhenSmaller)
{
    setCriteria(3, 4, 25);
    prepare({0.4F, 0.6F, 4}, {0.4F, 0.6F, 4});
    zarnGI_setGlobalNormalization(2);
    compute();
    EXPECT_EQ(testedVoxels(), (std::vector{1, 2}));
    EXPECT_EQ(DDvalue, 0.08F);
    Env->global_normalisation = 0;
    compute();
    EXPECT_EQ(testedVoxels(), (std::vector{2}));
    EXPECT_EQ(DDvalue, 0.16F);
}

TEST_F(Setup, CutOffOfZeroTestsEveryPositiveDose)
{
    setCriteria(3, 3, 10);
    Env->DCO = 0;
    prepare({0, 1e-30F, -1, 1}, {0, 0, 0, 1});
    compute();
    EXPECT_EQ(testedVoxels(), (std::vector{1, 3}));
}

TEST_F(Setup, LargestDoseIsThatOfMaxElement)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float inf = std::numeric_limits<float>::infinity();
    setCriteria(3, 3, 10);
    for (const std::size_t length : {1U, 7U, 64U, 200U, 512U, 513U, 1100U}) {
        for (const float first : {0.0F, -0.0F, 1.0F, nan, -inf, inf}) {
            for (const float last : {0.0F, -0.0F, 3.0F, nan, -inf}) {
                std::vector<float> doses(length, -1.0F);
                doses[length / 2] = last == 3 ? nan : -0.0F;
                doses.front() = first;
                doses.back() = last;
                prepare(doses, {1, 1});
                zarnGI_startComputation();
                EXPECT_EQ(testedVoxels(), voxelsAboveCutOff(doses))
                    << length << ", " << first << ", " << last;
            }
        }
    }
}

TEST_F(Setup, ThreadsShareLargeMaps)
{
    constexpr std::size_t length = 3 * 262144 + 5;
    constexpr std::size_t half = 97 * 4096; // where the second of two shares begins
    constexpr std::size_t third = 65 * 4096;
    setCriteria(3, 3, 10);
    for (const int threads : {2, 3}) {
        zarnGI_setNumThreads(threads);
        for (const std::size_t place :
             {std::size_t{0}, third - 1, third, half - 1, half, length - 1}) {
            std::vector<float> doses(length, 1.0F);
            doses[place] = 100;
            prepare(doses, {100, 100});
            std::fill(Env->gamma, Env->gamma + length, 5.0F);
            const Results results = compute();
            EXPECT_EQ(testedVoxels(), (std::vector{static_cast<int>(place)})) << threads;
            const auto untested = std::count(results.gamma.begin(), results.gamma.end(), -1.0F);
            EXPECT_EQ(static_cast<std::size_t>(untested), length - 1) << threads;
        }
    }
}

TEST_F(Setup, WithNothingAboveTheCutOffResultsStayAsTheyWere)
{
    setCriteria(3, 3, 100);
    prepare({1, 1, 1}, {1, 2, 3});
    Results results = compute();
    EXPECT_EQ(results.passRate, -1);
    EXPECT_EQ(results.gamma, std::vector<float>(3, -1.0F));
    EXPECT_TRUE(activeVoxels.empty());

    zarnGI_setDCO(10);
    const Results found = compute();
    zarnGI_setDCO(100);
    results = compute();
    EXPECT_EQ(results.passRate, found.passRate);
    EXPECT_TRUE(sameBits(results.gamma, found.gamma));
}

TEST_F(Setup, EngineStateFollowsEachComputation)
{
    setCriteria(3, 2, 10);
    zarnGI_setDDCriterium(ZARNGI_DD_LOCAL);
    zarnGI_setNumThreads(3);
    prepare({1, 1, 1, 1}, {1, 1, 1, 1});
    compute();
    EXPECT_EQ(DTA, 3);
    EXPECT_EQ(DD, 2);
    EXPECT_EQ(DCO, 10);
    EXPECT_TRUE(localDD);
    EXPECT_EQ(pthreads_max_num, 3);
    ASSERT_EQ(activeVoxels.size(), 4U);
    EXPECT_EQ(activeVoxels[3].irefvxl, 3);
    EXPECT_EQ(activeVoxels[3].ichk, 0);

    // A smaller grid of another voxel size: nothing of the first computation is left.
    setRef(makeRow({1, 1}, 5));
    zarnGI_setDDCriterium(ZARNGI_DD_GLOBAL);
    compute();
    EXPECT_FALSE(localDD);
    EXPECT_EQ(activeVoxels.size(), 2U);
    ASSERT_EQ(ptsSob_vox.size(), 1U);
    EXPECT_EQ(ptsSob_vox[0].x, 2.5F);
    EXPECT_EQ(ptsSob_vox[0].z, 2.5F);
}

TEST_F(Setup, PassRateModeAcceptsAgreementAtTheCentre)
{
    // The dose differs at the centre by exactly the criterion, by a little more, and not at all;
    // the neighbours are too far away to help.
    setCriteria(0.1F, 25, 10);
    prepare({4, 4, 4}, {5, 5.125F, 4});
    zarnGI_setInterpolation(false);
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    const Results results = compute();
    EXPECT_EQ(results.gamma, (std::vector<float>{1, 0, 1}));
    EXPECT_FLOAT_EQ(results.passRate, 200.0F / 3);
    EXPECT_EQ(activeVoxels[0].gammasq, 1e20F) << "settled before the search";
}

TEST_F(Setup, OutsideTheEvaluationGridAgreementIsWithZeroDose)
{
    // Reached only when DCO < DD: the dose 1 of a voxel outside agrees with 0 within 50 % of 4.
    setCriteria(0.1F, 50, 10);
    setRef(makeRow({4, 1, 3}, 2));
    Grid evaluation = makeRow({4}, 2);
    setEval(evaluation);
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    EXPECT_EQ(compute().gamma, (std::vector<float>{1, 1, 0}));
}

} // namespace
