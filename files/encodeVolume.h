/**
 * @file encodeVolume.h
 * A grid of values in, the bytes of a volume's file out.
 */
#ifndef ZARNGI_FILES_ENCODEVOLUME_H
#define ZARNGI_FILES_ENCODEVOLUME_H

#include <optional>
#include <string_view>

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/doseImage.h"
#include "files/error.h"
#include "files/storedValues.h"

namespace files
{

enum class VolumeFormat {
    metaImage,  ///< .mha, values packed
    nrrd,       ///< .nrrd, values packed
    nifti,      ///< .nii
    packedNifti ///< .nii.gz
};

/** The format that the ending of a name asks for, in any case; nothing for other endings. */
std::optional<VolumeFormat> volumeFormatOf(std::string_view name);

/**
 * The file of a volume.
 * @param geometry the grid, at most 32767 voxels along an axis for NIfTI.
 * @param format of the values, little endian.
 * @param values as many as the grid has voxels, x fastest.
 */
Result<Bytes> encodeVolume(VolumeFormat volumeFormat, const Geometry& geometry,
                           const ValueFormat& format, ByteView values, const Deflate& deflate);

/**
 * The file of an image of floats.
 * @param unit of the values, which NRRD tells and no other of these formats; empty: they have none.
 */
Result<Bytes> encodeImage(VolumeFormat volumeFormat, const Image& image, const Deflate& deflate,
                          std::string_view unit = {});

} // namespace files

#endif
