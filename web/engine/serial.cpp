// A page opened from disk has no threads: all is done on the one that computes.
#include "comparison/parallel.h"

namespace zarngi
{

void forEachIndex(std::size_t count, int /*threads*/, const std::function<void(std::size_t)>& task)
{
    for (std::size_t i = 0; i < count; ++i) {
        task(i);
    }
}

} // namespace zarngi
