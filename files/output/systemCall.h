/**
 * @file systemCall.h
 * Failures of the operating system as exceptions, which keep the reason that errno told.
 */
#ifndef ZARNGI_FILES_OUTPUT_SYSTEMCALL_H
#define ZARNGI_FILES_OUTPUT_SYSTEMCALL_H

#include <cerrno>
#include <system_error>

namespace files
{

/** The result of a system call. @throws std::system_error when it is negative */
inline int checked(int result)
{
    if (result < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return result;
}

} // namespace files

#endif
