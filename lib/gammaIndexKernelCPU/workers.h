/**
 * @file workers.h
 * The worker threads of one search pass.
 */
#ifndef ZARNGI_WORKERS_H
#define ZARNGI_WORKERS_H

#include "libZarnGI.h"

/** The argument of one worker thread. */
struct threadInfo {
    int thread_num;  ///< number of this worker, 0 to num_threads - 1
    int num_threads; ///< number of workers in the pass
};

/**
 * Runs one search pass over activeVoxels on pthreads_max_num worker threads and returns when all
 * have ended. The share of a thread that cannot be created is searched on the calling thread.
 */
ZARNGI_API void evaluation();

/**
 * Start routine of a worker: searches the active voxels i with i mod num_threads = thread_num, or
 * leaves them to the next pass where that finds the same.
 * Worker 0 also draws the progress bar.
 * @param info the worker's threadInfo.
 * @return null.
 */
ZARNGI_API void* kernelOnCPU(void* info);

#endif
