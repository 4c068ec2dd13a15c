// The worker threads of one search pass and the progress bar.
#include <string>

#include "gammaIndexKernelCPU.h"
#include "generatePointsInShell.h"
#include "support/capturedOutput.h"
#include "support/host.h"

namespace
{

const std::string header = "[  10  20  30  40  50  60  70  80  90 100]\n";

class Workers : public LibraryTest
{
protected:
    void TearDown() override
    {
        evalPoints = nullptr; // the points die with this test
        LibraryTest::TearDown();
    }
    /** Prepares one pass over a row of `count` voxels of equal dose. */
    void preparePass(std::size_t count, int threads)
    {
        evalPoints = nullptr;
        setCriteria(1, 3, 10);
        setRef(makeRow(std::vector<float>(count, 1.0F), 2));
        setEval(makeRow(std::vector<float>(count, 1.0F), 2));
        compute();
        for (ActiveVoxel& voxel : activeVoxels) {
            voxel.gammasq = 1e20F;
            voxel.passed = false;
            voxel.stopSearching = false;
        }
        generatePointsInShell(points_, 0, 1, 0.1F);
        evalPoints = &points_;
        pthreads_max_num = threads;
    }
    static std::size_t searched()
    {
        std::size_t count = 0;
        for (const ActiveVoxel& voxel : activeVoxels) {
            count += voxel.stopSearching ? 1 : 0;
        }
        return count;
    }

private:
    std::vector<vec3dRT> points_;
};

TEST_F(Workers, OfOnePassSearchEveryVoxel)
{
    for (const int threads : {1, 2, 3, 7, 50}) {
        preparePass(20, threads);
        evaluation();
        EXPECT_EQ(searched(), 20U) << threads;
        EXPECT_EQ(getNumPassed(), 20) << threads;
        EXPECT_EQ(activeVoxels[19].gammasq, 0);
        EXPECT_EQ(activeVoxels[19].distanceMinGamma, 0);
    }
}

TEST_F(Workers, OwnEveryNthVoxel)
{
    preparePass(20, 1);
    threadInfo third{2, 6};
    EXPECT_EQ(kernelOnCPU(&third), nullptr);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(activeVoxels[i].stopSearching, i % 6 == 2) << i;
    }
}

TEST_F(Workers, SkipSettledVoxels)
{
    preparePass(3, 1);
    activeVoxels[0].stopSearching = true;
    activeVoxels[1].passed = true;
    evaluation();
    EXPECT_EQ(activeVoxels[0].gammasq, 1e20F) << "final in an earlier pass";
    EXPECT_EQ(activeVoxels[1].gammasq, 0) << "passed, but not final";

    preparePass(3, 1);
    Env->passRateMode = true;
    activeVoxels[0].stopSearching = true;
    activeVoxels[1].passed = true;
    evaluation();
    EXPECT_EQ(activeVoxels[0].passed, true) << "not passed yet, so searched again";
    EXPECT_EQ(activeVoxels[1].gammasq, 1e20F) << "passed: settled";
}

TEST_F(Workers, ClearTheTraceSwitch)
{
    preparePass(3, 2);
    trilinDebug = true;
    const CapturedOutput output;
    evaluation();
    EXPECT_FALSE(trilinDebug);
    EXPECT_EQ(output.text(), "");
}

TEST_F(Workers, ProgressBar)
{
    struct Case {
        std::size_t voxels;
        int threads;
        std::size_t dots; // before the final one
    };
    for (const Case& c : {Case{100, 4, 38}, Case{10, 1, 35}, Case{1000, 1, 39}, Case{1000, 3, 39},
                          Case{1, 1, 0}, Case{5, 64, 0}}) {
        preparePass(c.voxels, c.threads);
        Env->verbose = 5;
        const CapturedOutput output;
        evaluation();
        EXPECT_EQ(output.text(), header + " " + std::string(c.dots + 1, '.') + "\n")
            << c.voxels << " voxels, " << c.threads << " threads";
    }
}

TEST_F(Workers, ProgressBarOfAnEmptyList)
{
    preparePass(3, 4);
    activeVoxels.clear();
    Env->verbose = 5;
    const CapturedOutput output;
    evaluation();
    EXPECT_EQ(output.text(), header + " .\n");
}

TEST_F(Workers, AreSilentBelowVerbosityFive)
{
    preparePass(100, 2);
    Env->verbose = 4;
    const CapturedOutput output;
    evaluation();
    EXPECT_EQ(output.text(), "");
}

} // namespace
