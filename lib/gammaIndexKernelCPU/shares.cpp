#include "shares.h"

#include <pthread.h>

#include <algorithm>
#include <vector>

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

} // namespace

void runOnThreads(std::size_t count, const Work& work)
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
            pthread_join(worker.thread, nullptr);
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
