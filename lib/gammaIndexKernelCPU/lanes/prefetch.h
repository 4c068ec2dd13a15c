/**
 * @file prefetch.h
 * Fetching of memory ahead of its use.
 */
#ifndef ZARNGI_LANES_PREFETCH_H
#define ZARNGI_LANES_PREFETCH_H

namespace zarngi::engine
{

namespace
{

/** Fetches the cache line at an address that will be written, so that no store has to wait for it.
 */
inline void prefetchForWriting(const void* address)
{
#if defined(__x86_64__)
    // Every x86-64 CPU takes the instruction; compilers make a read of their own prefetches unless
    // they may count on more.
    asm volatile("prefetchw %0" : : "m"(*static_cast<const char*>(address)));
#else
    __builtin_prefetch(address, 1);
#endif
}

} // namespace

} // namespace zarngi::engine

#endif
