#include "platform/inputFile.h"

#include <fcntl.h>

#include <algorithm>

#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace platform
{

namespace
{

int opened(const std::string& path)
{
    // The flag lets folders be opened, to be told as such.
    const HANDLE file = CreateFileW(systemPath(path).c_str(), GENERIC_READ, sharedWithAll, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        throwLastError();
    }
    return _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_RDONLY | _O_BINARY);
}

InputFile::Kind kindOf(HANDLE file)
{
    const DWORD type = GetFileType(file);
    if (type != FILE_TYPE_DISK) {
        return type == FILE_TYPE_PIPE ? InputFile::Kind::pipe : InputFile::Kind::device;
    }
    BY_HANDLE_FILE_INFORMATION about{};
    GetFileInformationByHandle(file, &about);
    return (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? InputFile::Kind::folder
                                                                    : InputFile::Kind::file;
}

} // namespace

InputFile::InputFile(const std::string& path) : descriptor_(opened(path))
{
    kind_ = kindOf(handleOf(descriptor_));
    LARGE_INTEGER size{};
    if (kind_ == Kind::file && GetFileSizeEx(handleOf(descriptor_), &size) != 0) {
        size_ = static_cast<std::size_t>(size.QuadPart);
    }
}

InputFile::~InputFile()
{
    _close(descriptor_);
}

std::size_t InputFile::read(std::span<unsigned char> buffer) const
{
    constexpr std::size_t most = std::size_t{1} << 30U; // the system counts in 32 bits
    DWORD count = 0;
    if (ReadFile(handleOf(descriptor_), buffer.data(),
                 static_cast<DWORD>(std::min(buffer.size(), most)), &count, nullptr) == 0 &&
        GetLastError() != ERROR_BROKEN_PIPE) { // which is how pipes end
        throwLastError();
    }
    return count;
}

} // namespace platform
