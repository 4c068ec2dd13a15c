#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "libZarnGI.h"
#include "support/grid.h"
#include "support/host.h"

namespace
{

using Clock = std::chrono::steady_clock;

/** What a callback saw. */
struct Seen {
    std::vector<zarnGI_progress> reports;
    std::vector<Clock::time_point> times;
    std::thread::id thread;
    int answer = 0;
    std::size_t stopAfter = 1U << 30;
};

int watch(const zarnGI_progress* progress, void* context)
{
    Seen& seen = *static_cast<Seen*>(context);
    seen.reports.push_back(*progress);
    seen.times.push_back(Clock::now());
    seen.thread = std::this_thread::get_id();
    return seen.reports.size() >= seen.stopAfter ? 1 : seen.answer;
}

/** A cube whose doses rise along x, moved by some millimetres. */
Grid ramp(int size, float shift)
{
    return makeGrid({size, size, size}, {2, 2, 2}, {shift, 0, 0}, [](int x, int y, int z) {
        const int noise = (x * 31 + y * 17 + z * 7) % 13;
        return 1 + 0.05F * static_cast<float>(x) + 0.01F * static_cast<float>(noise);
    });
}

/** A computation of a second or so on one thread: a fine lattice, and doses far apart. */
void setSlowPair(int threads)
{
    zarnGI_init();
    const Grid reference = ramp(16, 0);
    Grid evaluation = ramp(16, 1);
    for (float& dose : evaluation.map) {
        dose *= 1.5F;
    }
    setRef(reference);
    setEval(evaluation);
    setCriteria(1, 1, 10);
    zarnGI_setStepSize(0.01F);
    zarnGI_setNumThreads(threads);
}

class Progress : public testing::TestWithParam<int>
{
protected:
    void TearDown() override { zarnGI_reset(); }
};

TEST_P(Progress, IsToldOnTheHostsThreadAndChangesNothing)
{
    setSlowPair(GetParam());
    zarnGI_setGammaSearchMax(4);
    zarnGI_setStepSize(0.015F); // to the end, and slowly enough where nothing slows it down
    std::vector<float> plain(4096);
    std::vector<float> watched(4096);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    ASSERT_EQ(zarnGI_getGammaIndex3DMap(plain.data()), ZARNGI_OK);
    Seen seen;
    ASSERT_EQ(zarnGI_setProgress(watch, &seen), ZARNGI_OK);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    ASSERT_EQ(zarnGI_getGammaIndex3DMap(watched.data()), ZARNGI_OK);
    EXPECT_EQ(plain, watched);
    ASSERT_FALSE(seen.reports.empty());
    EXPECT_EQ(seen.thread, std::this_thread::get_id());
    int shell = 0;
    for (const zarnGI_progress& progress : seen.reports) {
        EXPECT_GE(progress.shell, shell);
        EXPECT_EQ(progress.shellLimit, 4);
        EXPECT_TRUE(progress.share >= 0 && progress.share <= 1) << progress.share;
        shell = progress.shell;
    }
}

TEST_P(Progress, MayEndAComputationAndTheNextOneRuns)
{
    setSlowPair(GetParam());
    Seen seen;
    seen.stopAfter = 3;
    zarnGI_setProgress(watch, &seen);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_NOT_READY);
    const std::chrono::duration<double> late = Clock::now() - seen.times.back();
    EXPECT_EQ(seen.reports.size(), 3U) << "nobody is told any more";
    EXPECT_LT(late.count(), 0.5) << "the search would go on for seconds";
    std::vector<float> map(4096);
    float rate = 0;
    EXPECT_NE(zarnGI_getGammaIndex3DMap(map.data()), ZARNGI_OK);
    EXPECT_NE(zarnGI_getGammaIndexPassRate(&rate), ZARNGI_OK);
    zarnGI_setProgress(nullptr, nullptr);
    zarnGI_setGammaSearchMax(1);
    zarnGI_setStepSize(0.1F);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(map.data()), ZARNGI_OK);
    EXPECT_EQ(seen.reports.size(), 3U);
}

TEST_P(Progress, AResetClearsTheCallback)
{
    Seen seen;
    seen.answer = 1;
    zarnGI_init();
    zarnGI_setProgress(watch, &seen);
    zarnGI_reset();
    setSlowPair(GetParam());
    zarnGI_setGammaSearchMax(1);
    zarnGI_setStepSize(0.1F);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    EXPECT_TRUE(seen.reports.empty());
}

INSTANTIATE_TEST_SUITE_P(Threads, Progress, testing::Values(1, 3));

TEST(PassedMap, TellsPassedFailedAndNotTested)
{
    zarnGI_init();
    std::vector<unsigned char> passed(8, 7);
    EXPECT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_NOT_READY);
    int nn[] = {8, 1, 1};
    float hs[] = {10, 10, 10};
    float x0[] = {0, 0, 0};
    float reference[] = {0, 1, 2, 2, 2, 2, 2, 2};
    // The third differs by 1 % of 2 Gy, the criterion, and passes; the others by more or nothing.
    float evaluation[] = {0, 1, 2.02F, 2, 2.1F, 2, 1.9F, 2};
    zarnGI_setRef(nn, hs, x0, reference);
    zarnGI_setEval(nn, hs, x0, evaluation);
    zarnGI_setDCO(10);
    zarnGI_setDTA(1);
    zarnGI_setDD(1.5F);
    zarnGI_setGammaSearchMax(1);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getPassed3DMap(nullptr), ZARNGI_NULL_POINTER);
    ASSERT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    std::vector<float> gamma(8);
    zarnGI_getGammaIndex3DMap(gamma.data());
    const std::vector<unsigned char> expected = {255, 1, 1, 1, 0, 1, 0, 1};
    EXPECT_EQ(passed, expected);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(passed[i] == ZARNGI_NOT_TESTED, gamma[i] < 0) << i;
        EXPECT_TRUE(passed[i] != ZARNGI_PASSED || gamma[i] <= 1) << i;
    }
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    ASSERT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    EXPECT_EQ(passed, expected);
    // Another reference grid: the voxels of the last computation are not its own.
    int fewer[] = {4, 1, 1};
    zarnGI_setRef(fewer, hs, x0, reference);
    ASSERT_EQ(zarnGI_getPassed3DMap(passed.data()), ZARNGI_OK);
    EXPECT_EQ(std::vector<unsigned char>(passed.begin(), passed.begin() + 4),
              std::vector<unsigned char>(4, 255));
    zarnGI_reset();
}

/** A gamma just above 1 that single precision rounds to 1: only the engine knows. */
TEST(PassedMap, KnowsWhoFailedByLessThanARounding)
{
    zarnGI_init();
    setCriteria(1, 100, 0.1F); // the criterion is the normalisation dose, far above the voxel's
    zarnGI_setStepSize(1);
    zarnGI_setGammaSearchMax(1);
    setRef(makeRow({1}, 1));
    int found = 0;
    for (int norm = 90; norm < 110; ++norm) {
        float evaluation = static_cast<float>(norm) + 1;
        for (int ulps = 0; ulps < 4; ++ulps) {
            setEval(makeRow({evaluation}, 1));
            zarnGI_setGlobalNormalization(static_cast<float>(norm));
            const Results results = compute();
            unsigned char passed = 7;
            ASSERT_EQ(zarnGI_getPassed3DMap(&passed), ZARNGI_OK);
            EXPECT_EQ(passed == ZARNGI_PASSED, results.passRate == 100) << norm << ", " << ulps;
            found += results.gamma[0] == 1 && passed == ZARNGI_FAILED ? 1 : 0;
            evaluation = std::nextafter(evaluation, 1000.0F);
        }
    }
    EXPECT_GT(found, 0) << "no evaluation dose made the case";
    zarnGI_reset();
}

} // namespace
