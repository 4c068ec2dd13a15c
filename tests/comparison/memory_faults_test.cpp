// Every allocation of a computation fails in turn. Replaces malloc and aligned_alloc of its
// program: large blocks are of large pages.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <new>

#include "comparison/failure.h"
#include "comparison/gammaRun.h"
#include "comparison/gammaStatistics.h"
#include "lib/largePages.h"

extern "C" {
void* __libc_malloc(std::size_t size); // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t alignment,
                      std::size_t size); // NOLINT(bugprone-reserved-identifier)
}

namespace
{

/** How many allocations go well before one fails; below 0: none fails. */
std::atomic<int> countdown{-1};
std::atomic<int> failed{0};
std::atomic<int> largeOnes{0};

bool failsNow()
{
    if (countdown < 0 || countdown-- > 0) {
        return false;
    }
    errno = ENOMEM;
    ++failed;
    return true;
}

} // namespace

extern "C" void* malloc(std::size_t size) noexcept // NOLINT(readability-redundant-declaration)
{
    return failsNow() ? nullptr : __libc_malloc(size);
}

extern "C" void* aligned_alloc(std::size_t alignment, // NOLINT(readability-redundant-declaration)
                               std::size_t size) noexcept
{
    ++largeOnes;
    return failsNow() ? nullptr : __libc_memalign(alignment, size);
}

namespace
{

/** A dose in some thousand voxels of a grid whose maps fill large pages. @param size of an edge */
zarngi::DoseImage doseImage(float factor, int size)
{
    zarngi::DoseImage dose;
    dose.path = "dose";
    dose.image.geometry = {{size, size, size}, {2, 2, 2}, {0, 0, 0}};
    files::LargeVector<float> values(dose.image.geometry.voxels(), 0.0F);
    for (std::size_t i = 300000; i < 305000; ++i) {
        values[i] = factor * (2 + std::sin(static_cast<float>(i)));
    }
    dose.image.values = std::move(values);
    return dose;
}

/** What a computation with new grids finds, or nothing where memory cannot be had. */
std::optional<zarngi::GammaSpread> found(const zarngi::DoseImage& reference,
                                         const zarngi::DoseImage& evaluation)
{
    zarngi::GammaSettings settings;
    settings.maxGamma = 1;
    settings.threads = 2;
    settings.normalisation = 3; // else it is searched as a whole
    try {
        zarngi::GammaRun run(reference, evaluation);
        const zarngi::GammaMap map = run.compute(settings, {3, 2, false});
        return zarngi::gammaStatistics(map, settings).spread;
    } catch (const std::bad_alloc&) {
    } catch (const zarngi::MemoryError&) {
    }
    return {};
}

class MemoryFaults : public testing::TestWithParam<int>
{
};

TEST_P(MemoryFaults, OfAComputationLeaveTheNextOneRight)
{
    const zarngi::DoseImage reference = doseImage(1, GetParam());
    const zarngi::DoseImage evaluation = doseImage(1.02F, GetParam());
    const auto right = found(reference, evaluation);
    ASSERT_TRUE(right);
    EXPECT_EQ(largeOnes > 0, zarngi::hasLargePages);
    for (int allocation = 0;; ++allocation) {
        SCOPED_TRACE(allocation);
        failed = 0;
        countdown = allocation;
        const auto faulty = found(reference, evaluation);
        countdown = -1;
        if (failed == 0) {
            EXPECT_GT(allocation, 20);
            break;
        }
        const auto again = found(reference, evaluation);
        ASSERT_TRUE(again);
        for (const auto& one : {faulty, again}) {
            // Where a thread cannot be had, its work is done all the same.
            EXPECT_TRUE(!one ||
                        (one->mean == right->mean && one->percentile99 == right->percentile99));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AsAWholeAndInParts, MemoryFaults, testing::Values(90, 164));

} // namespace
