/**
 * @file temporaryFile.h
 * Files that vanish unless they are kept, however the program ends.
 */
#ifndef ZARNGI_CLI_TEMPORARYFILE_H
#define ZARNGI_CLI_TEMPORARYFILE_H

#include <filesystem>
#include <string>

namespace cli
{

/** A file of this process alone; removed in the end, also when a signal ends the program. */
class TemporaryFile
{
public:
    /** @param extension what its name ends with. @throws std::system_error */
    TemporaryFile(const std::filesystem::path& folder, const std::string& extension);
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

} // namespace cli

#endif
