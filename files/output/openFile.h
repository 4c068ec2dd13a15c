/**
 * @file openFile.h
 * Writing to a file descriptor until everything is there.
 */
#ifndef ZARNGI_FILES_OUTPUT_OPENFILE_H
#define ZARNGI_FILES_OUTPUT_OPENFILE_H

#include <csignal>
#include <string_view>

namespace files
{

/** A file, device or pipe that is open for writing, and closed in the end. */
class OpenFile
{
public:
    /** Takes the descriptor over. @throws std::system_error when a failed call returned it */
    explicit OpenFile(int descriptor);
    ~OpenFile();
    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&&) = delete;

    /** @throws std::system_error when not everything could be written */
    void write(std::string_view contents) const;

    /** Waits until the disk has what was written, and closes the file. @throws std::system_error */
    void finish();

private:
    int descriptor_;
};

/** While it lives, writing to a pipe that nobody reads fails instead of ending the program. */
class BrokenPipesFail
{
public:
    BrokenPipesFail();
    ~BrokenPipesFail();
    BrokenPipesFail(const BrokenPipesFail&) = delete;
    BrokenPipesFail& operator=(const BrokenPipesFail&) = delete;

private:
    struct sigaction previous_ {
    };
};

} // namespace files

#endif
