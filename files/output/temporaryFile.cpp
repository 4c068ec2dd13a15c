#include "files/output/temporaryFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>

#include "files/output/systemCall.h"

namespace files
{

namespace
{

/**
 * Creates a file of a new name in a folder. Asking for the process's mask of permissions, as
 * mkstemp() makes necessary, would change it for a moment, and another thread may be creating a
 * file just then.
 */
int createIn(const std::filesystem::path& folder, std::string& path)
{
    std::random_device random;
    for (;;) {
        path = (folder / (".zarngi-" + std::to_string(random()))).string();
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file >= 0 || errno != EEXIST) {
            return file;
        }
    }
}

} // namespace

TemporaryFile::TemporaryFile(const std::filesystem::path& folder) : file_(createIn(folder, path_))
{
}

TemporaryFile::~TemporaryFile()
{
    if (!isKept_) {
        unlink(path_.c_str());
    }
}

void TemporaryFile::write(std::string_view contents)
{
    file_.write(contents);
    file_.finish();
}

void TemporaryFile::renameTo(const std::string& path)
{
    checked(std::rename(path_.c_str(), path.c_str()));
    isKept_ = true;
}

} // namespace files
