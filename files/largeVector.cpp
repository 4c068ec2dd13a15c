#include "files/largeVector.h"

#include "lib/largePages.h"

namespace files
{

namespace
{

using zarngi::largePage;

/** Whole pages for what fills at least one: its last page is large as well. */
bool isLarge(std::size_t bytes)
{
    return zarngi::hasLargePages && bytes >= largePage;
}

std::size_t wholePages(std::size_t bytes)
{
    return (bytes + largePage - 1) / largePage * largePage;
}

} // namespace

void* takeBlock(std::size_t bytes)
{
    const std::size_t all = bytes + blockMargin;
    if (!isLarge(all)) {
        return ::operator new(all);
    }
    const std::size_t whole = wholePages(all);
    void* const block = ::operator new(whole, std::align_val_t(largePage));
    zarngi::adviseLargePages(block, whole);
    return block;
}

void giveBlock(void* block, std::size_t bytes) noexcept
{
    if (isLarge(bytes + blockMargin)) {
        ::operator delete(block, std::align_val_t(largePage));
    } else {
        ::operator delete(block);
    }
}

bool givesMemoryBack()
{
    return true;
}

} // namespace files
