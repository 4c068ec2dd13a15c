/**
 * @file sourceFile.h
 * Files and pipes that doses are read from.
 */
#ifndef ZARNGI_FILES_SOURCEFILE_H
#define ZARNGI_FILES_SOURCEFILE_H

#include <optional>
#include <string>

#include "files/bytes.h"
#include "platform/inputFile.h"

namespace files
{

/** An open file or pipe. Folders and devices are refused. */
class SourceFile
{
public:
    /**
     * @param what it should be, for the sentence about a folder or device.
     * @throws Refusal of the kind system when it cannot be opened.
     */
    explicit SourceFile(const std::string& path, const std::string& what = "dose file");

    /** Enough bytes to tell what the file is, or all where there are fewer. @throws Refusal */
    Bytes readBeginning();

    /** All bytes, of which the beginning has been read; of a pipe, until it ends. @throws Refusal
     */
    Bytes readRest(Bytes beginning);

private:
    /** Fills the buffer as far as the file goes; tells how much. */
    std::size_t fill(std::span<unsigned char> buffer) const;

    platform::InputFile file_;
};

/** The whole of a data file that a header names. @throws Refusal that names it */
Bytes readDataFile(const std::string& path);

/** The header beside a path that ends in .img, where there is one of a NIfTI pair. */
std::optional<std::string> headerOfPair(const std::string& path);

/** The data file that belongs to the header of a NIfTI pair. @throws Refusal */
std::string dataOfPair(const std::string& header);

} // namespace files

#endif
