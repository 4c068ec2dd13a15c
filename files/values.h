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
    /** @throws std::bad_alloc */
    Values(LargeVector<float> own);

    /** @param values that stay as they are as long as anything looks at them */
    static Values lent(std::span<const float> values)
    {
        Values lent;
        lent.lent_ = values;
        return lent;
    }

    const float* data() const { return own_ ? own_->data() : lent_.data(); }
    std::size_t size() const { return own_ ? own_->size() : lent_.size(); }
    bool empty() const { return size() == 0; }
    const float* begin() const { return data(); }
    const float* end() const { return data() + size(); }
    const float& front() const { return *data(); }
    const float& operator[](std::size_t i) const { return data()[i]; }

    /** To be changed, by one thread; copies what is lent or shared. @throws std::bad_alloc */
    LargeVector<float>& own();

    /** What is behind the last value can be read as far as blockMargin: vectors may begin at it. */
    bool hasMargin() const { return own_ != nullptr; }

    operator LargeVector<float>() && { return std::move(own()); }

private:
    std::shared_ptr<LargeVector<float>> own_;
    std::span<const float> lent_;
};

} // namespace files

#endif
