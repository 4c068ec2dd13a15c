/**
 * @file volumeHeader.h
 * What the header of a NRRD, MetaImage or NIfTI file claims, checked before a reader believes it.
 */
#ifndef ZARNGI_CLI_VOLUMEHEADER_H
#define ZARNGI_CLI_VOLUMEHEADER_H

#include <optional>
#include <string>

#include "fileFormat.h"
#include "storedValues.h"

namespace cli
{

/** What a header tells beyond what the image libraries tell. */
struct VolumeHeader {
    StoredData data;
    std::optional<ValueFormat> format; ///< none: as the image library tells
    bool tellsPosition = true;         ///< else the first voxel counts as lying at 0, 0, 0
};

/**
 * Checks the header of a file in the format. The readers replace some impossible entries by
 * defaults of theirs without a word (a voxel size of zero becomes 1 mm), which would compare two
 * doses on a wrong grid.
 * @throws InputError
 */
VolumeHeader checkVolumeHeader(const std::string& path, FileFormat format);

} // namespace cli

#endif
