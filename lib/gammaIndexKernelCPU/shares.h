/**
 * @file shares.h
 * Work on several threads at once.
 */
#ifndef ZARNGI_SHARES_H
#define ZARNGI_SHARES_H

#include <cstddef>
#include <functional>

namespace zarngi::engine
{

/**
 * Calls work(n) for the numbers n from 0 to count - 1, each on a thread of its own, and returns
 * when all have ended. Where a thread cannot be created, the calling one does its work.
 * @param work must not throw.
 * @param whileWaiting called on the calling thread every 10 ms until all have ended; empty: it
 *        just waits. Must not throw.
 */
void runOnThreads(std::size_t count, const std::function<void(std::size_t)>& work,
                  const std::function<void()>& whileWaiting = {});

constexpr std::size_t shareUnit = 4096; ///< shares of a map begin at multiples of it

/**
 * Calls work(first, last) for contiguous shares of the numbers from 0 to count, on several threads
 * where there are enough of them to be worth it: for passes over a map.
 * @param threads at most so many.
 * @param count how many numbers.
 * @param work must not throw.
 */
void forShares(std::size_t threads, std::size_t count,
               const std::function<void(std::size_t, std::size_t)>& work);

} // namespace zarngi::engine

#endif
