/**
 * @file inputFile.h
 * What is open for reading.
 */
#ifndef ZARNGI_PLATFORM_INPUTFILE_H
#define ZARNGI_PLATFORM_INPUTFILE_H

#include <cstddef>
#include <span>
#include <string>

namespace platform
{

/** A file or pipe that is open for reading, and closed in the end. */
class InputFile
{
public:
    enum class Kind { file, pipe, folder, device };

    /** Folders and devices can be opened, to be told as such. @throws std::system_error */
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    Kind kind() const { return kind_; }
    /** Bytes, as the file system tells; of all but files 0. */
    std::size_t size() const { return size_; }

    /** Reads some bytes, none at the end; tells how many. @throws std::system_error */
    std::size_t read(std::span<unsigned char> buffer) const;

private:
    int descriptor_;
    Kind kind_ = Kind::device;
    std::size_t size_ = 0;
};

} // namespace platform

#endif
