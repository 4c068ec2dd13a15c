// The large blocks of files/largeVector.h where memory, once grown, is never given back: a block
// that was given back serves the next one of about its size, lest what is small breaks it up.
#include <array>
#include <cstddef>
#include <new>
#include <utility>

#include "files/largeVector.h"

namespace files
{

namespace
{

constexpr std::size_t smallestKept = std::size_t{1} << 20;

/** In front of each block; keeps it aligned as any. */
struct alignas(16) Head {
    std::size_t bytes;
};

/** Blocks that nobody uses. */
class FreeBlocks
{
public:
    /** The smallest of at least so many bytes, unless it would waste a quarter; none: null. */
    Head* take(std::size_t bytes)
    {
        Head** best = nullptr;
        for (Head*& block : blocks_) {
            const bool fits =
                block != nullptr && block->bytes >= bytes && block->bytes - bytes <= bytes / 4;
            if (fits && (best == nullptr || block->bytes < (*best)->bytes)) {
                best = &block;
            }
        }
        return best == nullptr ? nullptr : std::exchange(*best, nullptr);
    }

    /** Keeps it; where all places are taken, the smallest one goes. */
    void give(Head* given)
    {
        for (Head*& block : blocks_) {
            if (block == nullptr || block->bytes < given->bytes) {
                std::swap(block, given);
            }
            if (given == nullptr) {
                return;
            }
        }
        ::operator delete(given);
    }

    /** Whether there was any. */
    bool releaseAll()
    {
        bool hasReleased = false;
        for (Head*& block : blocks_) {
            hasReleased = hasReleased || block != nullptr;
            ::operator delete(std::exchange(block, nullptr));
        }
        return hasReleased;
    }

private:
    std::array<Head*, 8> blocks_{};
};

FreeBlocks freeBlocks;

/** Before anything is told that there is no memory, what nobody uses goes. */
void releaseOrThrow()
{
    if (!freeBlocks.releaseAll()) {
        throw std::bad_alloc();
    }
}

Head* newBlock(std::size_t bytes)
{
    std::set_new_handler(releaseOrThrow);
    auto* const head = static_cast<Head*>(::operator new(sizeof(Head) + bytes));
    head->bytes = bytes;
    return head;
}

} // namespace

void* takeBlock(std::size_t bytes)
{
    const std::size_t all = bytes + blockMargin;
    Head* const kept = all < smallestKept ? nullptr : freeBlocks.take(all);
    return (kept != nullptr ? kept : newBlock(all)) + 1;
}

void giveBlock(void* block, std::size_t /*bytes*/) noexcept
{
    if (block == nullptr) {
        return;
    }
    Head* const head = static_cast<Head*>(block) - 1;
    if (head->bytes < smallestKept) {
        ::operator delete(head);
    } else {
        freeBlocks.give(head);
    }
}

bool givesMemoryBack()
{
    return false;
}

} // namespace files
