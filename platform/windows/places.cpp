#include "platform/places.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "platform/paths.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace platform
{

namespace
{

namespace fs = std::filesystem;

HANDLE openedToAsk(const std::string& path, DWORD access, DWORD sharing)
{
    return CreateFileW(systemPath(path).c_str(), access, sharing, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

std::optional<FileIdentity> identityOf(HANDLE file)
{
    if (GetFileType(file) == FILE_TYPE_CHAR) {
        return FileIdentity{0, {}, "", true};
    }
    FILE_ID_INFO id{};
    if (GetFileInformationByHandleEx(file, FileIdInfo, &id, sizeof id) != 0) {
        FileIdentity identity{id.VolumeSerialNumber, {}};
        static_assert(sizeof identity.node == sizeof id.FileId);
        std::memcpy(identity.node.data(), &id.FileId, sizeof id.FileId);
        return identity;
    }
    BY_HANDLE_FILE_INFORMATION about{};
    if (GetFileInformationByHandle(file, &about) == 0) {
        return std::nullopt;
    }
    return FileIdentity{about.dwVolumeSerialNumber, {about.nFileIndexLow, about.nFileIndexHigh}};
}

/** Names that differ in capitals only are one. */
std::string foldedName(const fs::path& path)
{
    std::wstring name = path.filename().wstring();
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, name.data(),
                  static_cast<int>(name.size()), name.data(), static_cast<int>(name.size()),
                  nullptr, nullptr, 0);
    return narrowOf(name);
}

} // namespace

PlaceKind kindOfPlace(const std::string& path)
{
    if (isDeviceOrPipe(path)) {
        return PlaceKind::device;
    }
    const DWORD attributes = GetFileAttributesW(systemPath(path).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? PlaceKind::folder : PlaceKind::file;
    }
    if (errnoOf(GetLastError()) != ENOENT) {
        throwLastError();
    }
    return PlaceKind::nothing;
}

bool isDeviceOrPipe(const std::string& path)
{
    constexpr DWORD enough = 1024; // the names of devices are short
    wchar_t full[enough];
    const DWORD size = GetFullPathNameW(wideOf(path).c_str(), enough, full, nullptr);
    return size < enough && std::wstring_view(full, size).starts_with(L"\\\\.\\");
}

void checkWritable(const std::string& /*path*/)
{
    // To ask a pipe would take it from whom it is meant for: opening it tells.
}

int descriptorNamed(const fs::path& /*path*/)
{
    return -1;
}

std::optional<FileIdentity> identityOf(const std::string& path)
{
    const Handle file(openedToAsk(path, 0, sharedWithAll));
    return file.isThere() ? identityOf(file.get()) : std::nullopt;
}

std::optional<FileIdentity> identityOf(int descriptor)
{
    const HANDLE file = handleOf(descriptor);
    if (file == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    constexpr std::uint64_t noDevice = ~std::uint64_t{0};
    const auto identity = identityOf(file);
    return identity ? identity
                    : FileIdentity{noDevice, {static_cast<std::uint64_t>(descriptor), 0}};
}

std::optional<FileIdentity> identityOfOutput(const std::string& path)
{
    if (const auto identity = identityOf(path)) {
        return identity;
    }
    if (errnoOf(GetLastError()) != ENOENT) {
        return std::nullopt;
    }
    const fs::path folder = pathOf(path).parent_path();
    auto identity = identityOf(folder.empty() ? "." : textOf(folder));
    if (identity) {
        identity->newName = foldedName(pathOf(path));
    }
    return identity;
}

void removeFile(const char* path) noexcept
{
    DeleteFileW(systemPath(path).c_str());
}

void replaceFile(const std::string& path, const std::string& newPath)
{
    if (MoveFileExW(systemPath(path).c_str(), systemPath(newPath).c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) {
        return;
    }
    const int reason = errnoOf(GetLastError());
    // A file that another program has open is told as one that may not be replaced; who wants it
    // alone is told more.
    constexpr DWORD sharedWithNobody = 0;
    const Handle there(openedToAsk(newPath, DELETE, sharedWithNobody));
    const bool isInUse = !there.isThere() && errnoOf(GetLastError()) == EBUSY;
    throw std::system_error(isInUse ? EBUSY : reason, std::generic_category());
}

} // namespace platform
