/**
 * @file values.h
 * The values of a grid: its own, shared by copies, or lent by whoever keeps them in memory.
 */
#ifndef ZARNGI_FILES_VALUES_H
#define ZARNGI_FILES_VALUES_H

#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "files/bytes.h"
#include "files/largeVector.h"

namespace files
{

/**
 * Grids are large: a caller's array is not copied to be looked at, and copies of values share their
 * memory until one of them is to be changed.
 */
class Values
{
public:
    Values() = default;
    Values(const Values&) = default;
    Values& operator=(const Values&) = default;
    Values(Values&& other) noexcept { *this = std::move(other); }
    Values& operator=(Values&& other) noexcept
    {
        memory_ = std::move(other.memory_);
        values_ = std::exchange(other.values_, {});
        return *this;
    }
    ~Values() = default;
    /** @throws std::bad_alloc */
    Values(LargeVector<float> own);

    /**
     * Floats that stay where a block has them.
     * @param first its byte at which they begin, a multiple of the size of a float
     * @param count of them, none behind the block's end
     * @throws std::bad_alloc
     */
    static Values within(Bytes block, std::size_t first, std::size_t count);

    /** @param values that stay as they are as long as anything looks at them */
    static Values lent(std::span<const float> values)
    {
        Values lent;
        lent.values_ = values;
        return lent;
    }

    const float* data() const { return values_.data(); }
    std::size_t size() const { return values_.size(); }
    bool empty() const { return values_.empty(); }
    const float* begin() const { return data(); }
    const float* end() const { return data() + size(); }
    const float& front() const { return *data(); }
    const float& operator[](std::size_t i) const { return values_[i]; }

    /** To be changed, by one thread; copies what is lent or shared. @throws std::bad_alloc */
    std::span<float> own();

    /** What is behind the last value can be read as far as blockMargin: vectors may begin at it. */
    bool hasMargin() const { return memory_ != nullptr; }

private:
    std::shared_ptr<void> memory_; ///< of the values, unless they are lent or there are none
    std::span<const float> values_;
};

} // namespace files

#endif
