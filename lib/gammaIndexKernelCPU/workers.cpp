#include "workers.h"

#include <algorithm>
#include <cstddef>

#include "engineState.h"
#include "lanes/prefetch.h"
#include "lattice/voxelGroup.h"
#include "progress.h"
#include "report.h"
#include "search.h"
#include "shares.h"
#include "watch.h"

using namespace zarngi::engine;

namespace
{

/** The number of voxels in a worker's share. */
std::size_t shareLength(std::size_t tid, std::size_t nthreads)
{
    const std::size_t voxels = activeVoxels.size();
    return tid < voxels ? (voxels - tid + nthreads - 1) / nthreads : 0;
}

/** Between two groups: shows the host how far worker 0 is. */
bool isStopped(std::size_t tid, std::size_t i)
{
    if (tid == 0) {
        watch::walked.store(i, std::memory_order_relaxed);
    }
    watch::tell(); // for shares that are searched on the host's own thread
    return watch::isStopped();
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
        // Other workers have written their records in that line.
        prefetchForWriting(&activeVoxels[std::min(i + prefetched * nthreads, last)]);
        ActiveVoxel& voxel = activeVoxels[i];
        const bool settled = Env->passRateMode ? voxel.passed : voxel.stopSearching;
        if (!settled) {
            group.voxels[group.count++] = &voxel;
        }
        if (group.count == maxVoxels) {
            searchVoxels(tid, group);
            group.count = 0;
            if (isStopped(tid, i)) {
                return;
            }
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

void evaluation()
{
    runOnThreads(
        workerCount(),
        [](std::size_t number) {
            threadInfo info{static_cast<int>(number), pthreads_max_num};
            kernelOnCPU(&info);
        },
        watch::isWanted() ? watch::tell : std::function<void()>());
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
