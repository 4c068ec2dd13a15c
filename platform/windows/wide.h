/**
 * @file wide.h
 * Names as the system takes them, and its errors as those of errno.
 */
#ifndef ZARNGI_PLATFORM_WINDOWS_WIDE_H
#define ZARNGI_PLATFORM_WINDOWS_WIDE_H

#include <string>
#include <string_view>

namespace platform
{

std::wstring wideOf(std::string_view text);
std::string narrowOf(std::wstring_view text);

/** The path in full; in the form that may be as long as paths can be, where it is long. */
std::wstring systemPath(std::string_view path);

/** The number of errno that tells most of an error of the system. */
int errnoOf(unsigned long systemError);

/** @throws std::system_error for what failed last */
[[noreturn]] void throwLastError();

} // namespace platform

#endif
