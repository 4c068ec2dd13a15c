/**
 * @file values.h
 * The values of a grid: its own, or lent by whoever keeps them in memory.
 */
#ifndef ZARNGI_FILES_VALUES_H
#define ZARNGI_FILES_VALUES_H

#include <cstddef>
#include <span>
#include <utility>

#include "files/largeVector.h"

namespace files
{

/**
 * Grids are large, and a caller's array is not copied to be looked at. Copies of lent values look
 * at the same memory, until they are to be changed.
 */
class Values
{
public:
    Values() = default;
    Values(LargeVector<float> own) : own_(std::move(own)) {}

    /** @param values that stay as they are as long as anything looks at them */
    static Values lent(std::span<const float> values)
    {
        Values lent;
        lent.lent_ = values;
        return lent;
    }

    const float* data() const { return isLent() ? lent_.data() : own_.data(); }
    std::size_t size() const { return isLent() ? lent_.size() : own_.size(); }
    bool empty() const { return size() == 0; }
    const float* begin() const { return data(); }
    const float* end() const { return data() + size(); }
    const float& front() const { return *data(); }
    const float& operator[](std::size_t i) const { return data()[i]; }

    /** To be changed; copies what is lent. */
    LargeVector<float>& own()
    {
        if (isLent()) {
            own_.assign(lent_.begin(), lent_.end());
            lent_ = {};
        }
        return own_;
    }

    /** What is behind the last value can be read as far as blockMargin: vectors may begin at it. */
    bool hasMargin() const { return !isLent(); }

    operator LargeVector<float>() && { return std::move(own()); }

private:
    bool isLent() const { return lent_.data() != nullptr; }

    LargeVector<float> own_;
    std::span<const float> lent_;
};

} // namespace files

#endif
