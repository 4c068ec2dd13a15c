/**
 * @file checked.h
 * Failures of system calls as exceptions, which keep the reason that errno told.
 */
#ifndef ZARNGI_PLATFORM_POSIX_CHECKED_H
#define ZARNGI_PLATFORM_POSIX_CHECKED_H

#include <cerrno>
#include <system_error>

namespace platform
{

/** The result of a system call. @throws std::system_error when it is negative */
inline int checked(int result)
{
    if (result < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return result;
}

} // namespace platform

#endif
