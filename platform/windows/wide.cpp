#include "platform/windows/wide.h"

#include <windows.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace platform
{

std::wstring wideOf(std::string_view text)
{
    const int length = static_cast<int>(text.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)),
        L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(),
                        static_cast<int>(wide.size()));
    return wide;
}

std::string narrowOf(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    std::string narrow(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length,
                                                                    nullptr, 0, nullptr, nullptr)),
                       '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                        static_cast<int>(narrow.size()), nullptr, nullptr);
    return narrow;
}

std::wstring systemPath(std::string_view path)
{
    constexpr std::size_t longest = 240; // folders take fewer letters than files, 248
    const std::wstring given = wideOf(path);
    const DWORD size = GetFullPathNameW(given.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(given.c_str(), size, full.data(), nullptr));
    if (full.size() < longest || full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) {
        return given;
    }
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

int errnoOf(unsigned long systemError)
{
    static constexpr std::array<std::pair<unsigned long, int>, 24> known{
        {{ERROR_FILE_NOT_FOUND, ENOENT},    {ERROR_PATH_NOT_FOUND, ENOENT},
         {ERROR_INVALID_NAME, ENOENT},      {ERROR_BAD_NETPATH, ENOENT},
         {ERROR_BAD_NET_NAME, ENOENT},      {ERROR_INVALID_DRIVE, ENOENT},
         {ERROR_BAD_PATHNAME, ENOENT},      {ERROR_ACCESS_DENIED, EACCES},
         {ERROR_WRITE_PROTECT, EROFS},      {ERROR_SHARING_VIOLATION, EBUSY},
         {ERROR_LOCK_VIOLATION, EBUSY},     {ERROR_USER_MAPPED_FILE, EBUSY},
         {ERROR_FILE_EXISTS, EEXIST},       {ERROR_ALREADY_EXISTS, EEXIST},
         {ERROR_DISK_FULL, ENOSPC},         {ERROR_HANDLE_DISK_FULL, ENOSPC},
         {ERROR_NOT_ENOUGH_MEMORY, ENOMEM}, {ERROR_OUTOFMEMORY, ENOMEM},
         {ERROR_BROKEN_PIPE, EPIPE},        {ERROR_NO_DATA, EPIPE},
         {ERROR_PIPE_BUSY, EBUSY},          {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG},
         {ERROR_DIRECTORY, ENOTDIR},        {ERROR_INVALID_HANDLE, EBADF}}};
    for (const auto& [system, number] : known) {
        if (system == systemError) {
            return number;
        }
    }
    return EIO;
}

void throwLastError()
{
    throw std::system_error(errnoOf(GetLastError()), std::generic_category());
}

} // namespace platform
