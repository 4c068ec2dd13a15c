/**
 * @file places.h
 * What lies where a name points to, and whether two names are one file.
 */
#ifndef ZARNGI_PLATFORM_PLACES_H
#define ZARNGI_PLATFORM_PLACES_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace platform
{

enum class PlaceKind { nothing, file, folder, socket, device };

/** Links are followed. @throws std::system_error when the system does not say */
PlaceKind kindOfPlace(const std::string& path);

/** Whether a device or pipe is there, which no file can replace. */
bool isDeviceOrPipe(const std::string& path);

/** @throws std::system_error when this user may not write to what is there */
void checkWritable(const std::string& path);

/** The descriptor of this process that the path is another name of, as /dev/stdout is, or -1. */
int descriptorNamed(const std::filesystem::path& path);

/** What two names of one file have in common. */
struct FileIdentity {
    std::uint64_t device;
    std::array<std::uint64_t, 2> node;
    std::string newName{}; ///< of a file that is not there yet: the others are those of its folder
    bool isCharacterDevice = false;

    bool operator==(const FileIdentity&) const = default;
};

/** Nothing for what is not there. */
std::optional<FileIdentity> identityOf(const std::string& path);
std::optional<FileIdentity> identityOf(int descriptor);

/** Of a file that may not be there yet; nothing where none can be. */
std::optional<FileIdentity> identityOfOutput(const std::string& path);

/** Removes a file, where it is there; may be called before the program ends, by a signal too. */
void removeFile(const char* path) noexcept;

/** Gives a file another name, and takes the place of what has it. @throws std::system_error */
void replaceFile(const std::string& path, const std::string& newPath);

} // namespace platform

#endif
