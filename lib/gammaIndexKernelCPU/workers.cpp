#include "workers.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
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
    explicit ProgressBar(std::size_t length) : length_(static_cast<float>(length)) {}

    void advanceTo(std::size_t i)
    {
        while (static_cast<float>(i) > length_ * percent_ / 100) {
            report::progressMark();
            percent_ += 2.5F;
            if (percent_ == 100) {
                percent_ = 110; // no index gets there: the last dot is the end of the bar
            }
        }
    }

private:
    float length_;
    float percent_ = 2.5F;
};

/** A joinable worker thread; its share runs on the calling thread when it cannot be created. */
struct Worker {
    threadInfo info;
    pthread_t thread;
    bool created;
};

void searchShare(std::size_t tid, std::size_t nthreads)
{
    ProgressBar bar(activeVoxels.size());
    VoxelGroup group;
    for (std::size_t i = tid; i < activeVoxels.size(); i += nthreads) {
        if (tid == 0) {
            bar.advanceTo(i);
        }
        ActiveVoxel& voxel = activeVoxels[i];
        const bool settled = Env->passRateMode ? voxel.passed : voxel.stopSearching;
        if (!settled) {
            group.voxels[group.count++] = &voxel;
        }
        if (group.count == maxVoxels) {
            searchVoxels(tid, group);
            group.count = 0;
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
    const std::size_t count = workerCount();
    std::vector<Worker> workers(count);
    pthread_attr_t joinable;
    pthread_attr_init(&joinable);
    pthread_attr_setdetachstate(&joinable, PTHREAD_CREATE_JOINABLE);
    for (std::size_t i = 0; i < count; ++i) {
        Worker& worker = workers[i];
        worker.info = {static_cast<int>(i), pthreads_max_num};
        worker.created = pthread_create(&worker.thread, &joinable, kernelOnCPU, &worker.info) == 0;
    }
    for (Worker& worker : workers) {
        if (worker.created) {
            pthread_join(worker.thread, nullptr);
        } else {
            kernelOnCPU(&worker.info);
        }
    }
    pthread_attr_destroy(&joinable);
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
