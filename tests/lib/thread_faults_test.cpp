// Worker threads that cannot be created. Replaces pthread_create of its program, and with it that
// of the library under test.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <string>

#include "support/capturedOutput.h"
#include "support/host.h"

namespace
{

/** Bit i: the i-th thread from now on cannot be created. */
std::atomic<unsigned> refused{0};
std::atomic<int> created{0};

} // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) noexcept
{
    const bool refuse = (refused & 1U) != 0;
    refused = refused >> 1U;
    if (refuse) {
        return EAGAIN;
    }
    ++created;
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return next(thread, attributes, start, argument);
}

namespace
{

constexpr int threads = 5;

class ThreadFaults : public LibraryTest, public testing::WithParamInterface<unsigned>
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        setCriteria(2, 2, 10);
        zarnGI_setGammaSearchMax(1); // one pass
        zarnGI_setNumThreads(threads);
        setRef(wave(0));
        setEval(wave(0.3F));
    }
    void TearDown() override
    {
        refused = 0;
        LibraryTest::TearDown();
    }
    static Grid wave(float phase)
    {
        return makeGrid({7, 6, 5}, {2, 2, 2}, {0, 0, 0}, [phase](int x, int y, int z) {
            return 2 + std::sin(static_cast<float>(x + y + z) / 3 + phase);
        });
    }
};

TEST_P(ThreadFaults, ChangeNeitherResultsNorReports)
{
    zarnGI_setVerbose(5);
    Results right;
    Results results;
    std::string expected;
    std::string text;
    {
        const CapturedOutput output;
        right = compute();
        expected = output.text();
    }
    created = 0;
    refused = GetParam();
    {
        const CapturedOutput output;
        results = compute();
        text = output.text();
    }
    EXPECT_EQ(created, threads - __builtin_popcount(GetParam()));
    EXPECT_TRUE(sameBits(results.gamma, right.gamma));
    EXPECT_EQ(results.passRate, right.passRate);
    EXPECT_EQ(text, expected);
}

INSTANTIATE_TEST_SUITE_P(Library, ThreadFaults,
                         testing::Values(0b1U, 0b10U, 0b10000U, 0b11110U, 0b11111U));

} // namespace
