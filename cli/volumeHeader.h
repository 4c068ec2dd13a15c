/**
 * @file volumeHeader.h
 * What the header of a NRRD, MetaImage or NIfTI file claims, checked before a reader believes it.
 */
#ifndef ZARNGI_CLI_VOLUMEHEADER_H
#define ZARNGI_CLI_VOLUMEHEADER_H

#include <cstdint>
#include <string>

#include "fileFormat.h"

namespace cli
{

/** Where a file keeps its values and how many bytes there are. */
struct StoredData {
    std::string path;              ///< of the file that holds them
    std::uintmax_t bytes = 0;      ///< as stored
    bool isCompressed = false;     ///< by gzip, else as they are
    bool isText = false;           ///< numbers in words
    std::uintmax_t valueBytes = 0; ///< of one stored value; 0: as many as the reader gives

    /** Whether the stored bytes can hold so many values, of which the reader gives so many bytes.
     */
    bool canHold(std::uintmax_t values, std::uintmax_t readerBytes) const;
};

/**
 * Checks the header of a file in the format. The readers replace some impossible entries by
 * defaults of theirs without a word (a voxel size of zero becomes 1 mm), which would compare two
 * doses on a wrong grid.
 * @throws InputError
 */
StoredData checkVolumeHeader(const std::string& path, FileFormat format);

} // namespace cli

#endif
