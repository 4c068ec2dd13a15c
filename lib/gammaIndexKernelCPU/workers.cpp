#include "workers.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include "engineState.h"
#include "report.h"
#include "search.h"

namespace
{

/** Worker 0's progress through the list, one mark per 2.5 %. */
class ProgressBar
{
public:
    explicit ProgressBar(std::size_t length) : length_(static_cast<float>(length)) { findNext(); }

    void advanceTo(std::size_t i)
    {
        while (static_cast<float>(i) > next_) {
            report::progressMark();
            percent_ += 2.5F;
            if (percent_ == 100) {
                percent_ = 110; // no index gets there: the last dot is the end of the bar
            }
            findNext();
        }
    }

private:
    void findNext() { next_ = length_ * percent_ / 100; }

    float length_;
    float percent_ = 2.5F;
    float next_; ///< the mark is due beyond this index
};

/** What a worker does, given its number. */
using Work = std::function<void(std::size_t)>;

/** A joinable worker thread; its work is done on the calling thread when it cannot be created. */
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

/** Does the work of so many workers, and returns when all have ended. */
void runWorkers(std::size_t count, const Work& work)
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

/** The number of voxels in a worker's share. */
std::size_t shareLength(std::size_t tid, std::size_t nthreads)
{
    const std::size_t voxels = activeVoxels.size();
    return tid < voxels ? (voxels - tid + nthreads - 1) / nthreads : 0;
}

/**
 * Fetches the cache line of a record that will be written, so that no store has to wait for it
 * then: other workers have written their records in that line. (Every x86-64 CPU takes the
 * instruction; compilers make a read of their own prefetches unless they may count on more.)
 */
inline void prefetchForWriting(const ActiveVoxel* voxel)
{
    asm volatile("prefetchw %0" : : "m"(*voxel));
}

void searchShare(std::size_t tid, std::size_t nthreads)
{
    constexpr std::size_t prefetched = 4 * maxVoxels; // ahead of the voxel at hand
    ProgressBar bar(activeVoxels.size());
    VoxelGroup group;
    // Every worker begins at another place of the list: neighbouring records share cache lines,
    // which workers side by side would take from each other.
    const std::size_t length = shareLength(tid, nthreads);
    const std::size_t begin = length / nthreads * tid;
    const std::size_t last = tid + (length - 1) * nthreads;
    for (std::size_t n = 0; n < length; ++n) {
        const std::size_t place = n < length - begin ? begin + n : begin + n - length;
        const std::size_t i = tid + place * nthreads;
        if (tid == 0) {
            bar.advanceTo(i);
        }
        prefetchForWriting(&activeVoxels[std::min(i + prefetched * nthreads, last)]);
        ActiveVoxel& voxel = activeVoxels[i];
        const bool settled = Env->passRateMode ? voxel.passed : voxel.stopSearching;
        if (!settled) {
            group.voxels[group.count++] = &voxel;
        }
        if (group.count == maxVoxels) {
            searchVoxels(tid, group);
            group.count = 0;
            if (restIsLeft()) {
                if (tid == 0) {
                    bar.advanceTo(last);
                }
                return;
            }
        }
    }
    searchVoxels(tid, group);
}

} // namespace

std::size_t workerCount()
{
    const std::size_t useful = std::max<std::size_t>(activeVoxels.size(), 1);
    return std::min(static_cast<std::size_t>(pthreads_max_num), useful);
}

void evaluation()
{
    runWorkers(workerCount(), [](std::size_t number) {
        threadInfo info{static_cast<int>(number), pthreads_max_num};
        kernelOnCPU(&info);
    });
}

void forShares(std::size_t count, const std::function<void(std::size_t, std::size_t)>& work)
{
    constexpr std::size_t worthAThread = 1U << 18U;
    const auto threads = static_cast<std::size_t>(Env->num_threads);
    const std::size_t shares = std::min(threads, count / worthAThread);
    if (shares < 2) {
        work(0, count);
        return;
    }
    const std::size_t share = (count / shares / shareUnit + 1) * shareUnit;
    runWorkers(shares, [&](std::size_t number) {
        work(std::min(number * share, count), std::min((number + 1) * share, count));
    });
}

void reportIdlePass()
{
    if (!report::showsEverything()) {
        return;
    }
    const auto step = static_cast<std::size_t>(pthreads_max_num);
    report::progressHeader();
    ProgressBar(activeVoxels.size()).advanceTo((activeVoxels.size() - 1) / step * step);
    report::progressEnd();
}

void* kernelOnCPU(void* info)
{
    const threadInfo& worker = *static_cast<const threadInfo*>(info);
    if (worker.thread_num == 0) {
        report::progressHeader();
    }
    searchShare(static_cast<std::size_t>(worker.thread_num),
                static_cast<std::size_t>(worker.num_threads));
    if (worker.thread_num == 0) {
        report::progressEnd();
    }
    return nullptr;
}
