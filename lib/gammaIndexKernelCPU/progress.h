/**
 * @file progress.h
 * What a pass shows of its progress.
 */
#ifndef ZARNGI_PROGRESS_H
#define ZARNGI_PROGRESS_H

#include <cstddef>

namespace zarngi::engine
{

/** Worker 0's progress through the list, one mark per 2.5 %. */
class ProgressBar
{
public:
    /** The bar of a list of so many voxels. */
    explicit ProgressBar(std::size_t length) : length_(static_cast<float>(length)) { findNext(); }

    /** Shows the marks that are due before index i. */
    void advanceTo(std::size_t i)
    {
        while (static_cast<float>(i) > next_) {
            showMark();
        }
    }

private:
    void showMark();
    void findNext() { next_ = length_ * percent_ / 100; }

    float length_;
    float percent_ = 2.5F;
    float next_; ///< the mark is due beyond this index
};

/** Shows what a pass shows of its progress, for one in which no voxel has anything to search. */
void reportIdlePass();

} // namespace zarngi::engine

#endif
