/**
 * @file handle.h
 * What the system knows as a handle, behind a descriptor of the C library or alone.
 */
#ifndef ZARNGI_PLATFORM_WINDOWS_HANDLE_H
#define ZARNGI_PLATFORM_WINDOWS_HANDLE_H

#include <io.h>
#include <windows.h>

namespace platform
{

inline HANDLE handleOf(int descriptor)
{
    // A number that is kept as a pointer, as the C library gives it.
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)); // NOLINT
}

/** Closed in the end. */
class Handle
{
public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle()
    {
        if (isThere()) {
            CloseHandle(handle_);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    bool isThere() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

constexpr DWORD sharedWithAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace platform

#endif
