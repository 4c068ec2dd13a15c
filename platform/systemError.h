/**
 * @file systemError.h
 * What the system says of a failure. Its numbers are those of errno, on every system.
 */
#ifndef ZARNGI_PLATFORM_SYSTEMERROR_H
#define ZARNGI_PLATFORM_SYSTEMERROR_H

#include <string>
#include <system_error>

namespace platform
{

/** The reason of a failure, as the end of a sentence. */
std::string reasonOf(const std::error_code& error);

} // namespace platform

#endif
