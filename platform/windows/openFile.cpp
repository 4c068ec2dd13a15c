#include "platform/openFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace platform
{

namespace
{

/** A descriptor for what was opened, or -1 and errno. */
int descriptorFor(HANDLE file)
{
    if (file == INVALID_HANDLE_VALUE) {
        errno = errnoOf(GetLastError());
        return -1;
    }
    return _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_WRONLY | _O_BINARY);
}

int checkedDescriptor(int descriptor)
{
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return descriptor;
}

} // namespace

OpenFile::OpenFile(int descriptor) : descriptor_(checkedDescriptor(descriptor))
{
}

OpenFile::OpenFile(OpenFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1))
{
}

OpenFile::~OpenFile()
{
    if (descriptor_ >= 0) {
        _close(descriptor_);
    }
}

void OpenFile::write(std::string_view contents) const
{
    constexpr std::size_t most = std::size_t{1} << 24U; // the system counts in 32 bits
    while (!contents.empty()) {
        DWORD count = 0;
        if (WriteFile(handleOf(descriptor_), contents.data(),
                      static_cast<DWORD>(std::min(contents.size(), most)), &count, nullptr) == 0) {
            throwLastError();
        }
        contents.remove_prefix(count);
    }
}

void OpenFile::finish()
{
    const HANDLE file = handleOf(descriptor_);
    if (GetFileType(file) == FILE_TYPE_DISK && FlushFileBuffers(file) == 0) {
        throwLastError();
    }
    checkedDescriptor(_close(std::exchange(descriptor_, -1)));
}

int createFile(const std::string& path)
{
    // Shared for deletion, so that it can be removed while it is open.
    return descriptorFor(CreateFileW(systemPath(path).c_str(), GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

OpenFile openForWriting(const std::string& path)
{
    return OpenFile(descriptorFor(CreateFileW(systemPath(path).c_str(), GENERIC_WRITE,
                                              sharedWithAll, nullptr, OPEN_EXISTING, 0, nullptr)));
}

OpenFile duplicate(int descriptor)
{
    return OpenFile(_dup(descriptor));
}

void whereBrokenPipesFail(const std::function<void()>& action)
{
    action(); // as they always do here
}

} // namespace platform
