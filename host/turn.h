/**
 * @file turn.h
 * Who may use the one environment of the library: one call after the other.
 */
#ifndef ZARNGI_HOST_TURN_H
#define ZARNGI_HOST_TURN_H

#include <mutex>

namespace host
{

/** The turn of one comparison, or of the acceptance test. */
class Turn
{
public:
    Turn() : lock_(mutex) { isTaken = true; }
    ~Turn() { isTaken = false; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /** Whether the calling thread has it, which a function of the watcher runs on. */
    static bool isMine() { return isTaken; }

private:
    inline static std::mutex mutex;
    inline static thread_local bool isTaken = false;
    std::unique_lock<std::mutex> lock_;
};

} // namespace host

#endif
