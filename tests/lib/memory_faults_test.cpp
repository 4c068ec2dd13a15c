// Every allocation of the library fails in turn. Replaces malloc and calloc of its program, and
// with them those of the library under test.
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <filesystem>

#include "support/host.h"

extern "C" {
void* __libc_malloc(std::size_t size);                    // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size); // NOLINT(bugprone-reserved-identifier)
}

namespace
{

/** What happens to the allocations after the next `countdown`. */
enum class Failing { none, one, allFromThere };

std::atomic<Failing> failing{Failing::none};
std::atomic<int> countdown{0};
std::atomic<int> failed{0};
/** Larger allocations than anything else here asks for: they always fail. */
constexpr std::size_t giant = std::size_t{1} << 32;
std::atomic<std::size_t> giantAsked{0};

bool failsNow(std::size_t size)
{
    if (size >= giant) {
        giantAsked = size;
        return true;
    }
    if (failing == Failing::none) {
        return false;
    }
    const int left = countdown--;
    const bool fails = failing == Failing::one ? left == 0 : left <= 0;
    failed += fails ? 1 : 0;
    return fails;
}

} // namespace

extern "C" void* malloc(std::size_t size) noexcept // NOLINT(readability-redundant-declaration)
{
    if (failsNow(size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_malloc(size);
}

// Clang turns a malloc of memory that is then cleared into this.
extern "C" void* calloc(std::size_t count, // NOLINT(readability-redundant-declaration)
                        std::size_t size) noexcept
{
    if (failsNow(size != 0 && count > giant / size ? giant : count * size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_calloc(count, size);
}

namespace
{

/** Runs an operation while allocation `n` (the first is 0) fails, and tells its status. */
template <class Operation> int withFailure(Failing kind, int n, const Operation& operation)
{
    countdown = n;
    failed = 0;
    failing = kind;
    const int status = operation();
    failing = Failing::none;
    return status;
}

Grid wave(int size, float phase)
{
    return makeGrid({size, size, size}, {2, 2, 2}, {0, 0, 0}, [phase](int x, int y, int z) {
        return 2 + std::sin(static_cast<float>(x + y + z) / 3 + phase);
    });
}

/** Bytes; exact only with the allocator's caches turned off, as the build's tests have them. */
std::size_t heapInUse()
{
    return mallinfo2().uordblks;
}

TEST(Init, ReportsThatTheEnvironmentCannotBeHad)
{
    if (Env != nullptr) {
        GTEST_SKIP() << "needs a process of its own";
    }
    EXPECT_EQ(withFailure(Failing::one, 0, zarnGI_init), ZARNGI_NULL_POINTER);
    EXPECT_EQ(Env, nullptr);
    EXPECT_EQ(withFailure(Failing::one, 0, [] { return zarnGI_setDTA(3); }), ZARNGI_NULL_POINTER);
    EXPECT_EQ(withFailure(Failing::one, 0, zarnGI_startComputation), ZARNGI_NULL_POINTER);
    EXPECT_EQ(zarnGI_init(), ZARNGI_OK);
    EXPECT_NE(Env, nullptr);
}

class MemoryFaults : public LibraryTest, public testing::WithParamInterface<Failing>
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        setCriteria(2, 2, 10);
        zarnGI_setGammaSearchMax(2);
        zarnGI_setNumThreads(3);
        setRef(wave(6, 0));
        setEval(wave(6, 0.3F));
    }
    /** Lets each allocation of the operation fail, until it goes through without a failure. */
    template <class Operation, class Check>
    int sweep(const Operation& operation, const Check& checkFailed)
    {
        for (int n = 0;; ++n) {
            const int status = withFailure(GetParam(), n, operation);
            if (failed == 0) {
                EXPECT_EQ(status, ZARNGI_OK);
                return n;
            }
            SCOPED_TRACE(testing::Message() << "allocation " << n);
            checkFailed(status);
            if (HasFailure()) {
                return n;
            }
        }
    }
};

TEST_P(MemoryFaults, OfTheGridCallsKeepTheEarlierGrid)
{
    Grid larger = wave(9, 0);
    for (const auto set : {zarnGI_setRef, zarnGI_setEval}) {
        const calculationEnvironment before = *Env;
        const int allocations = sweep(
            [&] {
                return set(larger.nn.data(), larger.hs.data(), larger.x0.data(), larger.map.data());
            },
            [&](int status) {
                EXPECT_EQ(status, ZARNGI_NULL_POINTER);
                EXPECT_EQ(Env->map_ref, before.map_ref);
                EXPECT_EQ(Env->gamma, before.gamma);
                EXPECT_EQ(Env->map_eval, before.map_eval);
                EXPECT_EQ(Env->N_ref, before.N_ref);
                EXPECT_EQ(Env->N_eval, before.N_eval);
                EXPECT_EQ(Env->nn_ref[0], before.nn_ref[0]);
                EXPECT_EQ(Env->nn_eval[0], before.nn_eval[0]);
            });
        EXPECT_EQ(allocations, set == zarnGI_setRef ? 2 : 1);
    }
    EXPECT_EQ(Env->N_ref, 729U);
}

TEST_P(MemoryFaults, OfAGridJustUnderTheLimitAreForAllOfIt)
{
    float* const mapBefore = Env->map_ref;
    float dose = 0; // never read: there is no memory for a copy
    std::array<float, 3> one{1, 1, 1};
    for (std::array<int, 3> size : {std::array{0x7FFFFFFF, 1, 1}, std::array{1290, 1290, 1290},
                                    std::array{1, 46340, 46341}}) {
        const std::size_t voxels = static_cast<std::size_t>(size[0]) *
                                   static_cast<std::size_t>(size[1]) *
                                   static_cast<std::size_t>(size[2]);
        for (const auto set : {zarnGI_setRef, zarnGI_setEval}) {
            giantAsked = 0;
            EXPECT_EQ(set(size.data(), one.data(), one.data(), &dose), ZARNGI_NULL_POINTER);
            EXPECT_GE(giantAsked, voxels * sizeof(float));
        }
    }
    EXPECT_EQ(Env->map_ref, mapBefore);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_OK);
}

TEST_P(MemoryFaults, OfAComputationLeaveTheLibraryUsable)
{
    for (const bool rotation : {false, true}) {
        zarnGI_setRandomRotation(rotation);
        const Results right = compute();
        std::size_t heap = 0;
        for (int round = 0; round < 3; ++round) {
            const int allocations = sweep(zarnGI_startComputation, [&](int status) {
                float passRate = 0;
                if (status == ZARNGI_OK) {
                    // The library found another way: the results must be right.
                    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_OK);
                    EXPECT_TRUE(rotation || passRate == right.passRate);
                    return;
                }
                EXPECT_EQ(status, ZARNGI_NOT_READY);
                EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_NOT_READY);
                EXPECT_EQ(zarnGI_getGammaIndex3DMap(&passRate), ZARNGI_NOT_READY);
                EXPECT_EQ(passRate, 0);
            });
            EXPECT_GT(allocations, 0);
            const Results again = compute();
            EXPECT_TRUE(rotation || sameBits(again.gamma, right.gamma));
            // The first round may leave buffers that live as long as the library.
            EXPECT_TRUE(round == 0 || heapInUse() <= heap) << "leaked in round " << round;
            heap = heapInUse();
        }
    }
}

TEST_P(MemoryFaults, OfLentMemoryAreThoseOfTheGammaMapAlone)
{
    const Results right = compute();
    Grid reference = wave(6, 0);
    reference.map.resize(reference.map.size() + ZARNGI_LENT_MARGIN);
    const auto lend = [&] {
        return zarnGI_lendRef(reference.nn.data(), reference.hs.data(), reference.x0.data(),
                              reference.map.data());
    };
    EXPECT_EQ(sweep(lend, [](int) {}), 0);
    // Without a gamma map of its own the library makes one.
    const auto computeAnew = [&] {
        return lend() == ZARNGI_OK ? zarnGI_startComputation() : ZARNGI_NO_REFERENCE;
    };
    EXPECT_EQ(withFailure(GetParam(), 0, computeAnew), ZARNGI_NOT_READY);
    EXPECT_GT(failed.load(), 0);
    const Results again = compute();
    EXPECT_TRUE(sameBits(again.gamma, right.gamma));
}

/** A grid that several threads write the map of, few of whose voxels are tested. */
TEST_P(MemoryFaults, DoNotKeepAnyoneFromKnowingWhoPassed)
{
    const auto dose = [](int x, int y, int) { return x == 3 && y == 5 ? 2.0F : 0.0F; };
    const Grid grid = makeGrid({90, 90, 90}, {2, 2, 2}, {0, 0, 0}, dose);
    setRef(grid);
    setEval(grid);
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    std::vector<unsigned char> right(grid.map.size());
    ASSERT_EQ(zarnGI_getPassed3DMap(right.data()), ZARNGI_OK);
    EXPECT_EQ(std::count(right.begin(), right.end(), ZARNGI_PASSED), 90);
    std::vector<unsigned char> passed(grid.map.size());
    const int allocations = sweep([&] { return zarnGI_getPassed3DMap(passed.data()); },
                                  [&](int status) {
                                      EXPECT_EQ(status, ZARNGI_OK);
                                      EXPECT_EQ(passed, right);
                                      passed.assign(passed.size(), 7);
                                  });
    EXPECT_GT(allocations, 0);
    EXPECT_EQ(passed, right);
}

INSTANTIATE_TEST_SUITE_P(Library, MemoryFaults,
                         testing::Values(Failing::one, Failing::allFromThere),
                         [](const auto& test) {
                             return test.param == Failing::one ? "OneAllocation" : "AllFromOneOn";
                         });

std::size_t openHandles()
{
    using std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(directory_iterator("/proc/self/fd"), {}));
}

using LongRun = LibraryTest;

TEST_F(LongRun, TenThousandComputationsHoldNoMemoryAndNoHandle)
{
    setCriteria(2, 2, 10);
    zarnGI_setStepSize(1);
    zarnGI_setGammaSearchMax(1);
    const auto run = [](int count) {
        for (int i = 0; i < count; ++i) {
            setRef(wave(1 + i % 4, static_cast<float>(i % 7)));
            setEval(wave(1 + i % 3, static_cast<float>(i % 5)));
            zarnGI_setNumThreads(1 + i % 2);
            ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
        }
    };
    run(420); // every combination once
    const std::size_t heap = heapInUse();
    const std::size_t handles = openHandles();
    run(10080);
    EXPECT_LE(heapInUse(), heap);
    EXPECT_EQ(openHandles(), handles);
}

} // namespace
