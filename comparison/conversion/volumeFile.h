/**
 * @file volumeFile.h
 * Images as the bytes of files.
 */
#ifndef ZARNGI_COMPARISON_CONVERSION_VOLUMEFILE_H
#define ZARNGI_COMPARISON_CONVERSION_VOLUMEFILE_H

#include <string>
#include <string_view>

#include "comparison/doseImage.h"
#include "files/bytes.h"
#include "files/deflate.h"
#include "files/formats/dicom/encodeDose.h"

namespace zarngi
{

/** What the names of such files may end in. */
constexpr const char* writableEndings = ".dcm, .mha, .nrrd, .nii or .nii.gz";

bool isWritableVolumeName(const std::string& path);

/** Whether it names a DICOM RT Dose. */
bool isDicomName(const std::string& path);

/**
 * The file of an image, in the format that the name tells.
 * @param facts of an RT Dose; UIDs that they lack are made of the contents, so that equal doses
 *              have equal files.
 * @param unit as of files::encodeImage().
 * @throws InputError
 */
files::Bytes volumeFileOf(const std::string& name, const Image& image, files::RtDoseFacts facts,
                          const files::Deflate& deflate, std::string_view unit = {});

} // namespace zarngi

#endif
