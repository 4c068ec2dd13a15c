// A page opened from disk has no threads: all is done on the one that computes.
#include <pthread.h>

#include <ctime>

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

extern "C" {

/** Of the library's workers, none of which can be created here; the C library lacks it. */
int pthread_timedjoin_np(pthread_t thread, void** result, const timespec* /*until*/)
{
    return pthread_join(thread, result);
}
}
