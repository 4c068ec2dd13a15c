#include "platform/openFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "platform/posix/checked.h"

namespace platform
{

namespace
{

/** Waits after a write that did not succeed. @throws std::system_error when waiting is no help */
void waitUntilWritable(int descriptor)
{
    if (errno == EAGAIN) { // whoever started the program may have asked for that
        pollfd target{descriptor, POLLOUT, 0};
        poll(&target, 1, -1);
    } else if (errno != EINTR) {
        checked(-1);
    }
}

/** While it lives, the signal of a broken pipe is ignored. */
class BrokenPipesIgnored
{
public:
    BrokenPipesIgnored()
    {
        struct sigaction ignored {
        };
        ignored.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &ignored, &previous_);
    }
    ~BrokenPipesIgnored() { sigaction(SIGPIPE, &previous_, nullptr); }
    BrokenPipesIgnored(const BrokenPipesIgnored&) = delete;
    BrokenPipesIgnored& operator=(const BrokenPipesIgnored&) = delete;

private:
    struct sigaction previous_ {
    };
};

} // namespace

OpenFile::OpenFile(int descriptor) : descriptor_(checked(descriptor))
{
}

OpenFile::OpenFile(OpenFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1))
{
}

OpenFile::~OpenFile()
{
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

void OpenFile::write(std::string_view contents) const
{
    while (!contents.empty()) {
        const ssize_t count = ::write(descriptor_, contents.data(), contents.size());
        if (count < 0) {
            waitUntilWritable(descriptor_);
        } else {
            contents.remove_prefix(static_cast<std::size_t>(count));
        }
    }
}

void OpenFile::finish()
{
    struct stat status {
    };
    if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
        // Some file systems tell only now that they are full.
        checked(fsync(descriptor_));
    }
    checked(close(std::exchange(descriptor_, -1)));
}

int createFile(const std::string& path)
{
    constexpr mode_t anyNewFile = 0666;
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, anyNewFile);
}

OpenFile openForWriting(const std::string& path)
{
    return OpenFile(open(path.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_CLOEXEC));
}

OpenFile duplicate(int descriptor)
{
    constexpr int aboveStandardStreams = 3;
    const int mode = checked(fcntl(descriptor, F_GETFL)) & O_ACCMODE;
    if (mode == O_RDONLY) {
        throw std::system_error(EBADF, std::generic_category());
    }
    return OpenFile(fcntl(descriptor, F_DUPFD_CLOEXEC, aboveStandardStreams));
}

void whereBrokenPipesFail(const std::function<void()>& action)
{
    const BrokenPipesIgnored whileItRuns;
    action();
}

} // namespace platform
