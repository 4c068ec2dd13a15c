#include "platform/temporaryFile.h"

#include <cerrno>
#include <random>

#include "platform/paths.h"
#include "platform/places.h"

namespace platform
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
        path = textOf(folder / (".zarngi-" + std::to_string(random())));
        const int file = createFile(path);
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
        removeFile(path_.c_str());
    }
}

void TemporaryFile::write(std::string_view contents)
{
    file_.write(contents);
    file_.finish();
}

void TemporaryFile::renameTo(const std::string& path)
{
    replaceFile(path_, path);
    isKept_ = true;
}

} // namespace platform
