/**
 * @file pendingFile.h
 * Files that vanish unless they are kept, however the program ends.
 */
#ifndef ZARNGI_CLI_OUTPUT_PENDINGFILE_H
#define ZARNGI_CLI_OUTPUT_PENDINGFILE_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/temporaryFile.h"

namespace zarngi
{

/** A new file in a folder; removed in the end, also when a signal ends the program. */
class PendingFile
{
public:
    /** @throws std::system_error */
    explicit PendingFile(const std::filesystem::path& folder);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    /** Gives it its contents, and waits until the disk has them. @throws std::system_error */
    void write(std::string_view contents) { file_->write(contents); }

    /** Keeps it under another name, replacing what is there. @throws std::system_error */
    void renameTo(const std::string& path);

private:
    std::optional<platform::TemporaryFile> file_; ///< made while signals wait
};

/** Makes the signals that end a program (Ctrl-C, a closed pipe) remove temporary files first. */
void removeTemporaryFilesOnSignals();

} // namespace zarngi

#endif
