#include "shares.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace zarngi::engine
{

namespace
{

using Work = std::function<void(std::size_t)>;

/** What the workers tell who waits for them. */
struct Ends {
    std::mutex mutex;
    std::condition_variable changed;
};

/** A joinable thread; its work is done on the calling thread when it cannot be created. */
struct Worker {
    const Work* work;
    std::size_t number;
    Ends* ends;
    pthread_t thread;
    bool created;
    bool ended = false; ///< guarded by the mutex of `ends`
};

void* start(void* argument)
{
    Worker& worker = *static_cast<Worker*>(argument);
    (*worker.work)(worker.number);
    const std::lock_guard<std::mutex> guard(worker.ends->mutex);
    worker.ended = true;
    worker.ends->changed.notify_one();
    return nullptr;
}

void watchUntilEnded(const Worker& worker, const std::function<void()>& whileWaiting)
{
    constexpr std::chrono::milliseconds patience(10);
    std::unique_lock<std::mutex> lock(worker.ends->mutex);
    while (!worker.ends->changed.wait_for(lock, patience, [&] { return worker.ended; })) {
        lock.unlock();
        whileWaiting();
        lock.lock();
    }
}

void join(const Worker& worker, const std::function<void()>& whileWaiting)
{
    if (whileWaiting) {
        watchUntilEnded(worker, whileWaiting);
    }
    pthread_join(worker.thread, nullptr);
}

} // namespace

void runOnThreads(std::size_t count, const Work& work, const std::function<void()>& whileWaiting)
{
    Ends ends;
    std::vector<Worker> workers(count);
    pthread_attr_t joinable;
    pthread_attr_init(&joinable);
    pthread_attr_setdetachstate(&joinable, PTHREAD_CREATE_JOINABLE);
    for (std::size_t i = 0; i < count; ++i) {
        Worker& worker = workers[i];
        worker.work = &work;
        worker.number = i;
        worker.ends = &ends;
        worker.created = pthread_create(&worker.thread, &joinable, start, &worker) == 0;
    }
    for (Worker& worker : workers) {
        if (worker.created) {
            join(worker, whileWaiting);
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
