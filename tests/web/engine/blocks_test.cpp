// The large blocks of the page's engine, as WebAssembly.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "files/largeVector.h"

namespace
{

constexpr std::size_t mebibyte = std::size_t{1} << 20;

TEST(Blocks, ThatAreGivenBackServeWhatIsNearlyAsLarge)
{
    void* const first = files::takeBlock(8 * mebibyte);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % alignof(std::max_align_t), 0U);
    std::memset(first, 1, 8 * mebibyte + files::blockMargin);
    files::giveBlock(first, 8 * mebibyte);
    void* const larger = files::takeBlock(8 * mebibyte + 1);
    void* const smaller = files::takeBlock(4 * mebibyte);
    void* const alike = files::takeBlock(7 * mebibyte);
    EXPECT_NE(larger, first);
    EXPECT_NE(smaller, first);
    EXPECT_EQ(alike, first);
    // Given back with the size that was asked for last, it still holds what it held at first.
    files::giveBlock(alike, 7 * mebibyte);
    EXPECT_EQ(files::takeBlock(8 * mebibyte), first);
    files::giveBlock(first, 8 * mebibyte);
    files::giveBlock(larger, 8 * mebibyte + 1);
    files::giveBlock(smaller, 4 * mebibyte);
}

TEST(Blocks, ThatNobodyUsesGoBeforeMemoryIsTooSmall)
{
    // What can be addressed is 2 GiB.
    files::giveBlock(files::takeBlock(1000 * mebibyte), 1000 * mebibyte);
    void* const small = files::takeBlock(600 * mebibyte);
    void* const other = files::takeBlock(500 * mebibyte); // in place of the first
    EXPECT_THROW(files::takeBlock(1000 * mebibyte), std::bad_alloc);
    files::giveBlock(small, 600 * mebibyte);
    files::giveBlock(other, 500 * mebibyte);
    // What is allocated in other ways finds room, too.
    void* const raw = ::operator new(1000 * mebibyte);
    EXPECT_NE(raw, nullptr);
    ::operator delete(raw);
}

TEST(Blocks, MoreThanAreKeptAreGivenBack)
{
    void* blocks[12];
    for (std::size_t i = 0; i < 12; ++i) {
        blocks[i] = files::takeBlock((10 + 20 * i) * mebibyte);
    }
    for (std::size_t i = 0; i < 12; ++i) {
        files::giveBlock(blocks[i], (10 + 20 * i) * mebibyte);
    }
    // The largest ones are kept.
    EXPECT_EQ(files::takeBlock((10 + 20 * 11) * mebibyte), blocks[11]);
    files::giveBlock(blocks[11], (10 + 20 * 11) * mebibyte);
}

} // namespace
