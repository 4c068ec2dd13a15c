/**
 * @file watch.h
 * A search as its host watches it: how far it is, and the wish to end it.
 *
 * The callback of the host is called on the host's thread only, from between the passes and while
 * that thread waits for the workers.
 */
#ifndef ZARNGI_WATCH_H
#define ZARNGI_WATCH_H

#include <atomic>
#include <cstddef>
#include <exception>

#include "libZarnGI.h"

namespace zarngi::engine
{

namespace watch
{

/** Ends a search that the host does not want to go on. */
struct Stopped : std::exception {
};

extern std::atomic<bool> stopWanted;    ///< set on the host's thread, read by all workers
extern std::atomic<std::size_t> walked; ///< voxels of the list that worker 0 has gone past

/** Keeps the host's callback; null: nobody watches. */
void setCallback(zarnGI_progressCallback callback, void* context);

/** Whether there is a callback. */
bool isWanted();

/** Before a computation, on the host's thread: nothing is searched yet, nobody wants to stop. */
void begin();

/** Before a shell is searched, on the host's thread. @throws Stopped when the host wants it */
void enterShell(int shell, int shellLimit);

/**
 * Tells the host how far the search is, where some milliseconds have passed since it was told last.
 * Does nothing on other threads than the host's.
 */
void tell();

/** Whether the workers shall leave what they have not searched. */
inline bool isStopped()
{
    return stopWanted.load(std::memory_order_relaxed);
}

} // namespace watch

} // namespace zarngi::engine

#endif
