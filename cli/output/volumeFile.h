/**
 * @file volumeFile.h
 * Images that the program writes.
 */
#ifndef ZARNGI_CLI_OUTPUT_VOLUMEFILE_H
#define ZARNGI_CLI_OUTPUT_VOLUMEFILE_H

#include <string>

#include "comparison/doseImage.h"
#include "files/bytes.h"

namespace zarngi
{

/** Whether the name ends like a format that can be written: .mha, .nrrd, .nii, .nii.gz. */
bool isWritableVolumeName(const std::string& path);

/** The file of an image, in the format that the name tells. @throws InputError */
files::Bytes volumeFileOf(const std::string& name, const Image& image);

} // namespace zarngi

#endif
