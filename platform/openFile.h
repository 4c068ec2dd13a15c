/**
 * @file openFile.h
 * Writing until everything is there.
 */
#ifndef ZARNGI_PLATFORM_OPENFILE_H
#define ZARNGI_PLATFORM_OPENFILE_H

#include <functional>
#include <string>
#include <string_view>

namespace platform
{

/** A file, device or pipe that is open for writing, and closed in the end. */
class OpenFile
{
public:
    /** Takes over a descriptor of the C library. @throws std::system_error when it is none */
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

/** A new file; its descriptor, or -1 and errno: EEXIST where the name is taken. */
int createFile(const std::string& path);

/** What is there already, as a device. @throws std::system_error */
OpenFile openForWriting(const std::string& path);

/** A second descriptor: the first may be put to another use. @throws std::system_error */
OpenFile duplicate(int descriptor);

/** While the action runs, writing to a pipe that nobody reads fails instead of ending the program.
 */
void whereBrokenPipesFail(const std::function<void()>& action);

} // namespace platform

#endif
