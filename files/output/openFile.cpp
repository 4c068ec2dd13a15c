#include "files/output/openFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "files/output/systemCall.h"

namespace files
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

BrokenPipesFail::BrokenPipesFail()
{
    struct sigaction ignored {
    };
    ignored.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignored, &previous_);
}

BrokenPipesFail::~BrokenPipesFail()
{
    sigaction(SIGPIPE, &previous_, nullptr);
}

} // namespace files
