#include "cli/output/outputPlace.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <filesystem>

namespace zarngi
{

namespace
{

namespace fs = std::filesystem;

fs::path folderOf(const fs::path& path)
{
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

/** The descriptor of this process that the path is another name of, as /dev/stdout is, or -1. */
int descriptorNamed(const fs::path& path)
{
    std::error_code error;
    const fs::path folder = fs::canonical(folderOf(path), error);
    if (error || folder != "/proc/" + std::to_string(getpid()) + "/fd") {
        return -1;
    }
    const std::string name = path.filename().string();
    const char* const end = name.data() + name.size();
    int descriptor = -1;
    return std::from_chars(name.data(), end, descriptor).ptr == end ? descriptor : -1;
}

/** Whether something is there that cannot be replaced by a file. */
bool isDeviceOrPipe(const std::string& path)
{
    struct stat status {
    };
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

FileIdentity identityOf(const struct stat& status)
{
    return {status.st_dev, status.st_ino, "", S_ISCHR(status.st_mode)};
}

std::optional<FileIdentity> identityOfNewFile(const fs::path& path)
{
    struct stat folder {
    };
    if (stat(folderOf(path).c_str(), &folder) != 0) {
        return std::nullopt;
    }
    return FileIdentity{folder.st_dev, folder.st_ino, path.filename().string()};
}

} // namespace

OutputPlace placeOf(const std::string& name)
{
    constexpr int mostLinks = 40; // as many as the system follows
    if (name == "-") {
        return {"standard output", "", STDOUT_FILENO, false};
    }
    fs::path path(name);
    for (int links = 0; links < mostLinks; ++links) {
        if (const int descriptor = descriptorNamed(path); descriptor >= 0) {
            return {name, "", descriptor, false};
        }
        std::error_code noLink;
        const fs::path target = fs::read_symlink(path, noLink);
        if (noLink) {
            break;
        }
        path = path.parent_path() / target;
    }
    if (isDeviceOrPipe(name)) {
        return {name, name, -1, false};
    }
    return {name, path.string(), -1, true};
}

std::optional<FileIdentity> identityOf(const OutputPlace& place)
{
    struct stat status {
    };
    const bool isOpen = place.descriptor >= 0;
    if ((isOpen ? fstat(place.descriptor, &status) : stat(place.path.c_str(), &status)) == 0) {
        return identityOf(status);
    }
    return isOpen || errno != ENOENT ? std::nullopt : identityOfNewFile(place.path);
}

std::optional<FileIdentity> identityOfInput(const std::string& path)
{
    struct stat status {
    };
    return stat(path.c_str(), &status) == 0 ? std::optional(identityOf(status)) : std::nullopt;
}

} // namespace zarngi
