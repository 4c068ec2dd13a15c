#include "platform/places.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>

#include "platform/posix/checked.h"

namespace platform
{

namespace
{

namespace fs = std::filesystem;

fs::path folderOf(const fs::path& path)
{
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

PlaceKind kindOf(mode_t mode)
{
    return S_ISREG(mode)    ? PlaceKind::file
           : S_ISDIR(mode)  ? PlaceKind::folder
           : S_ISSOCK(mode) ? PlaceKind::socket
                            : PlaceKind::device;
}

FileIdentity identityOf(const struct stat& status)
{
    return {status.st_dev, {status.st_ino, 0}, "", S_ISCHR(status.st_mode)};
}

std::optional<FileIdentity> identityOfNewFile(const fs::path& path)
{
    struct stat folder {
    };
    if (stat(folderOf(path).c_str(), &folder) != 0) {
        return std::nullopt;
    }
    return FileIdentity{folder.st_dev, {folder.st_ino, 0}, path.filename().string()};
}

} // namespace

PlaceKind kindOfPlace(const std::string& path)
{
    struct stat status {
    };
    if (stat(path.c_str(), &status) == 0) {
        return kindOf(status.st_mode);
    }
    checked(errno == ENOENT ? 0 : -1);
    return PlaceKind::nothing;
}

bool isDeviceOrPipe(const std::string& path)
{
    struct stat status {
    };
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

void checkWritable(const std::string& path)
{
    checked(euidaccess(path.c_str(), W_OK));
}

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

std::optional<FileIdentity> identityOf(const std::string& path)
{
    struct stat status {
    };
    return stat(path.c_str(), &status) == 0 ? std::optional(identityOf(status)) : std::nullopt;
}

std::optional<FileIdentity> identityOf(int descriptor)
{
    struct stat status {
    };
    return fstat(descriptor, &status) == 0 ? std::optional(identityOf(status)) : std::nullopt;
}

std::optional<FileIdentity> identityOfOutput(const std::string& path)
{
    struct stat status {
    };
    if (stat(path.c_str(), &status) == 0) {
        return identityOf(status);
    }
    return errno == ENOENT ? identityOfNewFile(path) : std::nullopt;
}

void removeFile(const char* path) noexcept
{
    unlink(path);
}

void replaceFile(const std::string& path, const std::string& newPath)
{
    checked(std::rename(path.c_str(), newPath.c_str()));
}

} // namespace platform
