/**
 * @file paths.h
 * Names of files as texts and as paths. Texts are UTF-8, or any bytes where the system takes them.
 *
 * What the standard library makes of a narrow text depends on the system: on some it is converted
 * by the character set of the moment.
 */
#ifndef ZARNGI_PLATFORM_PATHS_H
#define ZARNGI_PLATFORM_PATHS_H

#include <filesystem>
#include <string>
#include <string_view>

namespace platform
{

inline std::filesystem::path pathOf(std::string_view text)
{
    return std::u8string(text.begin(), text.end());
}

inline std::string textOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/** With slashes, which every system reads. */
inline std::string portableTextOf(const std::filesystem::path& path)
{
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

/** The last part of a path. */
inline std::string nameOf(std::string_view path)
{
    return textOf(pathOf(path).filename());
}

} // namespace platform

#endif
