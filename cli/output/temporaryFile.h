/**
 * @file temporaryFile.h
 * Files that vanish unless they are kept, however the program ends.
 */
#ifndef ZARNGI_CLI_OUTPUT_TEMPORARYFILE_H
#define ZARNGI_CLI_OUTPUT_TEMPORARYFILE_H

#include <filesystem>
#include <string>

namespace zarngi
{

/** A new file of this process alone in a folder; removed in the end, also when a signal ends the
 * program. */
class TemporaryFile
{
public:
    /** @throws std::system_error */
    explicit TemporaryFile(const std::filesystem::path& folder);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }

    /** Keeps it under another name, replacing what is there. @throws std::system_error */
    void renameTo(const std::string& path);

private:
    std::string path_;
    bool isKept_ = false;
};

/** Makes the signals that end a program (Ctrl-C, a closed pipe) remove temporary files first. */
void removeTemporaryFilesOnSignals();

} // namespace zarngi

#endif
