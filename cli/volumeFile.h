/**
 * @file volumeFile.h
 * NRRD, MetaImage and NIfTI files, read and written with ITK.
 */
#ifndef ZARNGI_CLI_VOLUMEFILE_H
#define ZARNGI_CLI_VOLUMEFILE_H

#include <string>

#include "doseImage.h"
#include "fileFormat.h"

namespace cli
{

/**
 * Reads the one volume of a file.
 * @throws InputError for everything that is not a whole three-dimensional image along the axes.
 */
DoseImage readVolume(const std::string& path, FileFormat format);

/** Whether the name's extension is one that writeVolume() knows: .mha, .nrrd, .nii or .nii.gz. */
bool isWritableVolumeName(const std::string& path);

/**
 * Writes the image, compressed (.nii excepted), and reads it back to see that it is there whole.
 * @param path a name that isWritableVolumeName() accepts.
 * @throws InputError
 */
void writeVolume(const std::string& path, const Image& image);

} // namespace cli

#endif
