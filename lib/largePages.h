/**
 * @file largePages.h
 * What is written by the gigabyte lies on large pages where the system grants them: it then takes a
 * page fault for each 2 MiB, not for each 4 KiB. The one place that asks for more than the standard
 * library gives.
 */
#ifndef ZARNGI_LARGEPAGES_H
#define ZARNGI_LARGEPAGES_H

#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace zarngi
{

constexpr std::size_t largePage = std::size_t{1} << 21;

#if defined(MADV_HUGEPAGE)
constexpr bool hasLargePages = true;
#else
constexpr bool hasLargePages = false;
#endif

/** Asks for large pages inside a block that has not been written yet; refused, all is as before. */
inline void adviseLargePages(void* block, std::size_t bytes)
{
#if defined(MADV_HUGEPAGE)
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (address + largePage - 1) / largePage * largePage;
    const std::uintptr_t end = (address + bytes) / largePage * largePage;
    if (first < end) {
        // Its only way to fail is not to be heeded.
        void* const pages = static_cast<char*>(block) + (first - address);
        static_cast<void>(madvise(pages, end - first, MADV_HUGEPAGE));
    }
#else
    static_cast<void>(block);
    static_cast<void>(bytes);
#endif
}

} // namespace zarngi

#endif
