/**
 * @file fileFormat.h
 * The image format of a file, told from its first bytes.
 */
#ifndef ZARNGI_CLI_FILEFORMAT_H
#define ZARNGI_CLI_FILEFORMAT_H

#include <string>

namespace cli
{

enum class FileFormat { nrrd, metaImage, nifti, dicom };

/** The name of the format for the user. */
std::string formatName(FileFormat format);

/**
 * Looks at the beginning of the file.
 * @throws InputError when it cannot be read, or is in none of the formats.
 */
FileFormat identifyFormat(const std::string& path);

/** The beginning of the file, unzipped where it is gzipped; shorter when the file is. */
std::string readBeginning(const std::string& path, unsigned length);

} // namespace cli

#endif
