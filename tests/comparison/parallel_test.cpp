// Replaces pthread_create of its program, to refuse threads.
#include "comparison/parallel.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <vector>

namespace
{

constexpr int unlimited = std::numeric_limits<int>::max();
std::atomic<int> available = unlimited;

} // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) noexcept
{
    if (available-- <= 0) {
        return EAGAIN;
    }
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return next(thread, attributes, start, argument);
}

namespace
{

void checkEachIndexOnce(std::size_t count, int threads)
{
    std::vector<std::atomic<int>> calls(count);
    zarngi::forEachIndex(count, threads, [&](std::size_t i) { ++calls.at(i); });
    for (const auto& number : calls) {
        EXPECT_EQ(number, 1);
    }
}

TEST(Parallel, EachIndexOnce)
{
    for (const std::size_t count : {0U, 1U, 2U, 5U, 1000U}) {
        for (const int threads : {-1, 0, 1, 2, 3, 20}) {
            checkEachIndexOnce(count, threads);
        }
    }
}

TEST(Parallel, EachIndexOnceWhereThreadsAreScarce)
{
    constexpr int threads = 6;
    for (const int number : {0, 1, 4}) {
        available = number;
        checkEachIndexOnce(100, threads);
        EXPECT_EQ(available, -1) << "one thread more was asked for than there are";
    }
    available = unlimited;
}

TEST(Parallel, FirstFailureIsToldAfterAllEnded)
{
    for (const int threads : {1, 2, 8}) {
        std::atomic<int> ended = 0;
        const auto task = [&](std::size_t i) {
            ++ended;
            if (i % 10 == 7) {
                throw std::runtime_error(std::to_string(i));
            }
        };
        try {
            zarngi::forEachIndex(50, threads, task);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "7");
        }
        EXPECT_EQ(ended, 50);
    }
}

} // namespace
