/**
 * @file outputFile.h
 * Files that appear whole or not at all.
 */
#ifndef ZARNGI_CLI_OUTPUTFILE_H
#define ZARNGI_CLI_OUTPUTFILE_H

#include <string>
#include <string_view>

namespace cli
{

/**
 * A file being written under a temporary name beside its final one. It is created at once, so
 * that a place that cannot be written to is found before a long computation, and removed unless
 * commit() is reached, also when the program is interrupted by a signal.
 */
class OutputFile
{
public:
    /** @throws InputError when no file can be created there. */
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& path() const { return path_; }
    /** Ends like the final name, so that writers see the same extension. */
    const std::string& temporaryPath() const { return temporaryPath_; }

    /** Writes the contents and commits. */
    void write(std::string_view contents);

    /** Gives the file its final name, replacing an older one. @throws InputError */
    void commit();

private:
    std::string path_;
    std::string temporaryPath_;
    bool isCommitted_ = false;
};

/** Makes the signals that end a program (Ctrl-C, a closed pipe) remove unfinished files first. */
void removeTemporaryFilesOnSignals();

} // namespace cli

#endif
