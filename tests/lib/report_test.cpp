// What a computation prints at each verbosity, text by text.
#include <string>
#include <vector>

#include "support/capturedOutput.h"
#include "support/host.h"

namespace
{

/**
 * Three voxels whose gamma is 0, 0.5 and 1.5: the neighbours lie too far away to help, and the
 * criterion is 25 % of 2 Gy.
 */
class Report : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        setCriteria(3, 25, 10);
        setRef(makeRow({2, 2, 2}, 10));
        setEval(makeRow({2, 2.25F, 2.75F}, 10));
        zarnGI_setInterpolation(false);
    }
    static std::string atVerbosity(int level)
    {
        zarnGI_setVerbose(level);
        const CapturedOutput output;
        EXPECT_EQ(zarnGI_startComputation(), ZARNGI_OK);
        return output.text();
    }
};

std::string progress(std::size_t dots)
{
    return "[  10  20  30  40  50  60  70  80  90 100]\n " + std::string(dots, '.') + "\n";
}

const std::string progressOfThreeVoxels = progress(27);
const std::string wholeProgress = progress(40);

TEST_F(Report, LevelsBelowFive)
{
    const std::string shells = "\tsearching from 0 to DTA\n\tsearching from 1*DTA to 2*DTA\n";
    EXPECT_EQ(atVerbosity(0), "");
    EXPECT_EQ(atVerbosity(1), "..\n");
    EXPECT_EQ(atVerbosity(2), "");
    EXPECT_EQ(atVerbosity(3), shells);
    EXPECT_EQ(atVerbosity(4), shells);
}

TEST_F(Report, TheFirstOfSeveralZerosIsTheLargest)
{
    setEval(makeRow({-0.0F, 0, -1}, 10));
    EXPECT_NE(atVerbosity(5).find("maxDose eval: -0 Gy\n"), std::string::npos);
    setEval(makeRow({-1, 0, -0.0F}, 10));
    EXPECT_NE(atVerbosity(5).find("maxDose eval: 0 Gy\n"), std::string::npos);
}

TEST_F(Report, EverythingOfAGammaMap)
{
    EXPECT_EQ(atVerbosity(5), "DTA,DD,DDT,DCO : 3 25 G 10\n"
                              "\n"
                              "Num of active voxel to be tested: 3\n"
                              "Do not interpolate dose values\n"
                              "\n"
                              "maxDose ref : 2 Gy\n"
                              "maxDose eval: 2.75 Gy\n"
                              "\n"
                              "global normalisation dose : 2 Gy\n"
                              "\n"
                              "DCO: 0.2 Gy\n"
                              "Dose difference for agreement: 0.5 Gy\n"
                              "\n"
                              "Evaluation grid step size: 0.3 mm  -> num of fractional steps per "
                              "DTA = 10\n"
                              "\n"
                              "Maximum gamma searched for: inf\n"
                              "Nref Neval 3 3\n"
                              "Num of skimmed voxels: 0\n"
                              "\n"
                              "Executing the kernel on 1 thread ...\n"
                              "\tsearching from 0 to DTA\n" +
                                  progressOfThreeVoxels + "\tsearching from 1*DTA to 2*DTA\n" +
                                  progressOfThreeVoxels +
                                  "\n"
                                  "Results:\n"
                                  "Num tested voxels: 3\n"
                                  "Num passed voxels: 2\n"
                                  "Num failed voxels: 1\n"
                                  "\n"
                                  "Gamma-index min/max = 0 / 1.5\n"
                                  "Gamma-index avg +/- 1 std = 0.666667 0.763763\n"
                                  "\n"
                                  "Gamma-index 3mm/25% pass-rate:  66.666664 %\n"
                                  "Done!\n");
}

TEST_F(Report, PassesThatLeaveVoxelsToTheNextOneShowAllOfTheirProgress)
{
    // More voxels than are searched at once; the first one, with a gamma of 1.2, stays open.
    std::vector<float> doses(400, 2);
    setRef(makeRow(doses, 2));
    doses.front() = 3;
    setEval(makeRow(doses, 2));
    setCriteria(1, 3, 10);
    zarnGI_setInterpolation(true);
    zarnGI_setGammaSearchMax(3);
    const std::string passes = "\tsearching from 0 to DTA\n" + wholeProgress +
                               "\tsearching from 1*DTA to 2*DTA\n" + wholeProgress + "\nResults:";
    for (const int threads : {1, 2, 3}) {
        zarnGI_setNumThreads(threads);
        const std::string text = atVerbosity(5);
        EXPECT_NE(text.find(passes), std::string::npos) << text;
    }
}

TEST_F(Report, EverythingOfAPassRate)
{
    zarnGI_setDTA(2.5F);
    zarnGI_setDDCriterium(ZARNGI_DD_LOCAL);
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    zarnGI_setInterpolation(true);
    zarnGI_setRandomRotation(true);
    zarnGI_setGlobalNormalization(4);
    zarnGI_setGammaSearchMax(2.5F);
    zarnGI_setNumThreads(4);
    Env->gammaindex2D_x = true;
    Env->gammaindex2D_y = true;
    Env->gammaindex2D_z = true;
    EXPECT_EQ(atVerbosity(5), "DTA,DD,DDT,DCO : 2.5 25 L 10\n"
                              "\n"
                              "Num of active voxel to be tested: 3\n"
                              "Interpolate dose values using neighboring voxels\n"
                              "Applying a random rotation of evaluation points\n"
                              "\n"
                              "maxDose ref : 2 Gy\n"
                              "maxDose eval: 2.75 Gy\n"
                              "\n"
                              "global normalisation dose : 4 Gy\n"
                              "\n"
                              "DCO: 0.4 Gy\n"
                              "Using local DD for agreement: 25 %\n"
                              "\n"
                              "Evaluation grid step size: 0.3 mm  -> num of fractional steps per "
                              "DTA = 8.33333\n"
                              "\n"
                              "Maximum gamma searched for: 2.5\n"
                              "Nref Neval 3 3\n"
                              "Num of skimmed voxels: 2\n"
                              "Performing a 2D gamma-index analysis for each z-slice\n"
                              "Performing a 2D gamma-index analysis for each x-slice\n"
                              "Performing a 2D gamma-index analysis for each y-slice\n"
                              "\n"
                              "Executing the kernel on 4 threads ...\n"
                              "\tsearching from 0 to DTA\n"
                              "[  10  20  30  40  50  60  70  80  90 100]\n"
                              " .\n"
                              "\n"
                              "Results:\n"
                              "Num tested voxels: 3\n"
                              "Num passed voxels: 2\n"
                              "Num failed voxels: 1\n"
                              "\n"
                              "Gamma-index 2mm/25% pass-rate:  66.666664 %\n"
                              "Done!\n");
    EXPECT_EQ(atVerbosity(1), "Performing a 2D gamma-index analysis for each z-slice\n"
                              "Performing a 2D gamma-index analysis for each x-slice\n"
                              "Performing a 2D gamma-index analysis for each y-slice\n"
                              ".\n");
}

TEST_F(Report, TwoDimensionalLinesAtVerbosityZero)
{
    Env->gammaindex2D_y = true;
    EXPECT_EQ(atVerbosity(0), "Performing a 2D gamma-index analysis for each y-slice\n");
    Env->gammaindex2D_y = false;
    Env->gammaindex2D = true;
    EXPECT_EQ(atVerbosity(0), "");
}

TEST_F(Report, NothingAboveTheCutOff)
{
    zarnGI_setDCO(100);
    Env->gammaindex2D_z = true;
    EXPECT_EQ(atVerbosity(5), "DTA,DD,DDT,DCO : 3 25 G 100\n"
                              "\n"
                              "Num of active voxel to be tested: 0\n"
                              "Nothing to do! Bye bye\n");
    for (int level = 0; level < 5; ++level) {
        EXPECT_EQ(atVerbosity(level), "");
    }
}

TEST_F(Report, OneTestedVoxelHasNoStandardDeviation)
{
    setRef(makeRow({2}, 10));
    const std::string text = atVerbosity(5);
    EXPECT_NE(text.find("Gamma-index min/max = 0 / 0\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Gamma-index avg +/- 1 std = 0 -nan\n"), std::string::npos) << text;
}

TEST_F(Report, AllVoxelsFinalAfterTheFirstShell)
{
    setEval(makeRow({2, 2.25F, 2.25F}, 10));
    EXPECT_EQ(atVerbosity(1), ".\n");
    EXPECT_EQ(atVerbosity(3), "\tsearching from 0 to DTA\n");
}

TEST_F(Report, ShellsThatReachNothingAreReportedLikeOthers)
{
    Grid far = makeRow({2}, 10);
    far.x0[0] = 40; // 15 mm from the last voxel's centre
    setEval(far);
    const std::string text = atVerbosity(5);
    std::string expected;
    for (int shell = 1; shell <= 5; ++shell) {
        expected +=
            "\tsearching from " +
            (shell == 1 ? "0 to DTA"
                        : std::to_string(shell - 1) + "*DTA to " + std::to_string(shell) + "*DTA") +
            "\n" + progressOfThreeVoxels;
    }
    EXPECT_NE(text.find(expected), std::string::npos) << text;
}

TEST_F(Report, OtherCallsPrintNothing)
{
    zarnGI_setVerbose(5);
    const CapturedOutput output;
    zarnGI_setDTA(-1);
    zarnGI_isReadyToGo();
    setRef(makeRow({1}, 0));
    float passRate = 0;
    zarnGI_getGammaIndexPassRate(&passRate);
    zarnGI_reset();
    zarnGI_startComputation();
    EXPECT_EQ(output.text(), "");
}

} // namespace
