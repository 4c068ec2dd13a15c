/**
 * @file temporaryFile.h
 * Files that vanish unless they are kept.
 */
#ifndef ZARNGI_PLATFORM_TEMPORARYFILE_H
#define ZARNGI_PLATFORM_TEMPORARYFILE_H

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/openFile.h"

namespace platform
{

/** A new file in a folder, with the permissions of any new file; removed in the end. */
class TemporaryFile
{
public:
    /** @throws std::system_error */
    explicit TemporaryFile(const std::filesystem::path& folder);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }

    /** Gives it its contents, and waits until the disk has them. @throws std::system_error */
    void write(std::string_view contents);

    /** Keeps it under another name, replacing what is there. @throws std::system_error */
    void renameTo(const std::string& path);

private:
    std::string path_;
    OpenFile file_;
    bool isKept_ = false;
};

} // namespace platform

#endif
