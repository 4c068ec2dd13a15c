/**
 * @file parallel.h
 * Independent pieces of work on several threads.
 */
#ifndef ZARNGI_COMPARISON_PARALLEL_H
#define ZARNGI_COMPARISON_PARALLEL_H

#include <cstddef>
#include <functional>

namespace zarngi
{

/** How many threads work where nobody says so: one for each processor. */
int processorCount();

/**
 * Calls task(0) to task(count - 1), each once, on as many threads, at most `threads`, as can be
 * had; the calling one is among them. @throws what the first of the tasks threw, after all ended
 */
void forEachIndex(std::size_t count, int threads, const std::function<void(std::size_t)>& task);

} // namespace zarngi

#endif
