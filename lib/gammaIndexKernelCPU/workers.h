/**
 * @file workers.h
 * The worker threads of one search pass, and of passes over whole maps.
 */
#ifndef ZARNGI_WORKERS_H
#define ZARNGI_WORKERS_H

#include <cstddef>
#include <functional>

#include "libZarnGI.h"

/** The argument of one worker thread. */
struct threadInfo {
    int thread_num;  ///< number of this worker, 0 to num_threads - 1
    int num_threads; ///< number of workers in the pass
};

/**
 * The number of workers of a pass.
 * @return pthreads_max_num, but no more than there are voxels under test, and at least 1.
 */
std::size_t workerCount();

/**
 * Runs one search pass over activeVoxels on pthreads_max_num worker threads and returns when all
 * have ended. The share of a thread that cannot be created is searched on the calling thread.
 */
ZARNGI_API void evaluation();

constexpr std::size_t shareUnit = 4096; ///< shares of a map begin at multiples of it

/**
 * Calls work(first, last) for contiguous shares of the numbers from 0 to count, on up to
 * Env->num_threads threads where there are enough of them to be worth it: for passes over a map.
 * @param count how many numbers.
 * @param work must not throw.
 */
void forShares(std::size_t count, const std::function<void(std::size_t, std::size_t)>& work);

/** Shows what a pass shows of its progress, for one in which no voxel has anything to search. */
void reportIdlePass();

/**
 * Start routine of a worker: searches the active voxels i with i mod num_threads = thread_num, or
 * leaves them to the next pass where that finds the same.
 * Worker 0 also draws the progress bar.
 * @param info the worker's threadInfo.
 * @return null.
 */
ZARNGI_API void* kernelOnCPU(void* info);

#endif
