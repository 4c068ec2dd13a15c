#include "comparison/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace zarngi
{

namespace
{

/** Starts threads beside the calling one; fewer where the system has no more. */
void start(std::vector<std::jthread>& helpers, std::size_t workers,
           const std::function<void()>& work)
{
    helpers.reserve(workers);
    try {
        while (helpers.size() + 1 < workers) {
            helpers.emplace_back(work);
        }
    } catch (const std::system_error&) {
        return;
    }
}

} // namespace

int processorCount()
{
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

void forEachIndex(std::size_t count, int threads, const std::function<void(std::size_t)>& task)
{
    std::atomic<std::size_t> next = 0;
    std::vector<std::exception_ptr> failures(count);
    const auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            try {
                task(i);
            } catch (...) {
                failures[i] = std::current_exception();
            }
        }
    };
    {
        std::vector<std::jthread> helpers; // joined at the end of the block
        start(helpers, std::min(count, static_cast<std::size_t>(std::max(threads, 1))), work);
        work();
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
}

} // namespace zarngi
