/**
 * @file largeVector.h
 * Vectors of what there is one of for each voxel.
 */
#ifndef ZARNGI_FILES_LARGEVECTOR_H
#define ZARNGI_FILES_LARGEVECTOR_H

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace files
{

/**
 * Memory that is not set to anything, on large pages where the system grants them. Behind it
 * `blockMargin` more bytes can be read.
 * @throws std::bad_alloc
 */
void* takeBlock(std::size_t bytes);
/** @param bytes as they were taken */
void giveBlock(void* block, std::size_t bytes) noexcept;

constexpr std::size_t blockMargin = 64;

/** Whether the system gets back what is given back. */
bool givesMemoryBack();

/** Of such blocks; elements are set only to what they are told, a new one without a value to none.
 */
template <class T> class LargeAllocator
{
public:
    using value_type = T;

    LargeAllocator() = default;
    template <class U> LargeAllocator(const LargeAllocator<U>&) noexcept {}

    T* allocate(std::size_t count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(takeBlock(count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t count) noexcept { giveBlock(block, count * sizeof(T)); }

    template <class U> void construct(U* element) noexcept { ::new (element) U; }
    template <class U, class... Value> void construct(U* element, Value&&... value)
    {
        ::new (element) U(std::forward<Value>(value)...);
    }

    template <class U> bool operator==(const LargeAllocator<U>&) const noexcept { return true; }
};

/** One that grows, or is made, without a value for its new elements leaves them unset. */
template <class T> using LargeVector = std::vector<T, LargeAllocator<T>>;

} // namespace files

#endif
