#include "cli/output/outputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "comparison/failure.h"
#include "files/output/systemCall.h"

namespace zarngi
{

namespace
{

using files::checked;
using files::OpenFile;

/** A second descriptor: the first may be put to another use. */
OpenFile duplicate(int descriptor)
{
    constexpr int aboveStandardStreams = 3;
    const int mode = checked(fcntl(descriptor, F_GETFL)) & O_ACCMODE;
    if (mode == O_RDONLY) {
        throw std::system_error(EBADF, std::generic_category());
    }
    return OpenFile(fcntl(descriptor, F_DUPFD_CLOEXEC, aboveStandardStreams));
}

} // namespace

template <class Action> void OutputFile::attempt(Action action) const
{
    try {
        action();
    } catch (const std::system_error& error) {
        fail(error.code().message());
    }
}

void OutputFile::fail(const std::string& reason) const
{
    throw InputError(name() + ": cannot be written: " + reason);
}

OutputFile::OutputFile(const std::string& name) : place_(placeOf(name))
{
    attempt([&] { prepare(); });
}

void OutputFile::prepare()
{
    if (place_.descriptor >= 0) {
        open_.emplace(duplicate(place_.descriptor));
    } else {
        checkPlace();
    }
    if (place_.isFile) {
        pending_.emplace(std::filesystem::path(place_.path).parent_path());
    }
}

void OutputFile::checkPlace() const
{
    struct stat status {
    };
    if (stat(place_.path.c_str(), &status) != 0) {
        checked(errno == ENOENT ? 0 : -1);
    } else if (S_ISDIR(status.st_mode)) {
        fail("is a folder");
    } else if (S_ISSOCK(status.st_mode)) {
        fail("is a socket");
    } else if (!place_.isFile) {
        checked(euidaccess(place_.path.c_str(), W_OK));
    }
}

OpenFile OutputFile::openPlace()
{
    if (open_) {
        return std::move(*open_);
    }
    return OpenFile(open(place_.path.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_CLOEXEC));
}

std::string OutputFile::folder() const
{
    const std::filesystem::path here = std::filesystem::current_path();
    return (place_.isFile ? (here / place_.path).lexically_normal().parent_path() : here).string();
}

void OutputFile::write(std::string_view contents)
{
    attempt([&] {
        if (place_.isFile) {
            pending_->write(contents);
            pending_->renameTo(place_.path);
            return;
        }
        const files::BrokenPipesFail whileWriting;
        OpenFile target = openPlace();
        target.write(contents);
        target.finish();
    });
}

} // namespace zarngi
