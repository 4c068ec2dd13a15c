#include "platform/inputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/checked.h"

namespace platform
{

namespace
{

InputFile::Kind kindOf(mode_t mode)
{
    return S_ISREG(mode)    ? InputFile::Kind::file
           : S_ISFIFO(mode) ? InputFile::Kind::pipe
           : S_ISDIR(mode)  ? InputFile::Kind::folder
                            : InputFile::Kind::device;
}

} // namespace

InputFile::InputFile(const std::string& path)
    : descriptor_(checked(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)))
{
    struct stat status {
    };
    fstat(descriptor_, &status);
    kind_ = kindOf(status.st_mode);
    size_ = kind_ == Kind::file ? static_cast<std::size_t>(status.st_size) : 0;
}

InputFile::~InputFile()
{
    close(descriptor_);
}

std::size_t InputFile::read(std::span<unsigned char> buffer) const
{
    for (;;) {
        const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        checked(errno == EINTR ? 0 : -1);
    }
}

} // namespace platform
