#include "shares.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <vector>

namespace zarngi::engine
{

namespace
{

using Work = std::function<void(std::size_t)>;

/** A joinable thread; its work is done on the calling thread when it cannot be created. */
struct Worker {
    const Work* work;
    std::size_t number;
    pthread_t thread;
    bool created;
};

void* start(void* argument)
{
    const Worker& worker = *static_cast<const Worker*>(argument);
    (*worker.work)(worker.number);
    return nullptr;
}

timespec after(long nanoseconds)
{
    constexpr long second = 1000000000;
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    time.tv_nsec += nanoseconds;
    time.tv_sec += time.tv_nsec / second;
    time.tv_nsec %= second;
    return time;
}

void join(pthread_t thread, const std::function<void()>& whileWaiting)
{
    constexpr long patience = 10000000; // nanoseconds
    if (whileWaiting) {
        for (timespec until = after(patience);
             pthread_timedjoin_np(thread, nullptr, &until) == ETIMEDOUT; until = after(patience)) {
            whileWaiting();
        }
    } else {
        pthread_join(thread, nullptr);
    }
}

} // namespace

void runOnThreads(std::size_t count, const Work& work, const std::function<void()>& whileWaiting)
{
    std::vector<Worker> workers(count);
    pthread_attr_t joinable;
    pthread_attr_init(&joinable);
    pthread_attr_setdetachstate(&joinable, PTHREAD_CREATE_JOINABLE);
    for (std::size_t i = 0; i < count; ++i) {
        Worker& worker = workers[i];
        worker.work = &work;
        worker.number = i;
        worker.created = pthread_create(&worker.thread, &joinable, start, &worker) == 0;
    }
    for (Worker& worker : workers) {
        if (worker.created) {
            join(worker.thread, whileWaiting);
        } else {
            start(&worker);
        }
    }
    pthread_attr_destroy(&joinable);
}

void forShares(std::size_t threads, std::size_t count,
               const std::function<void(std::size_t, std::size_t)>& work)
{
    constexpr std::size_t worthAThread = 1U << 18U;
    const std::size_t shares = std::min(threads, count / worthAThread);
    if (shares < 2) {
        work(0, count);
        return;
    }
    const std::size_t share = (count / shares / shareUnit + 1) * shareUnit;
    runOnThreads(shares, [&](std::size_t number) {
        work(std::min(number * share, count), std::min((number + 1) * share, count));
    });
}

} // namespace zarngi::engine
