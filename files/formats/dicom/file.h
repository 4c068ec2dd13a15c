/**
 * @file file.h
 * DICOM files as they come: plain, with a deflated data set, or packed by gzip as a whole.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_FILE_H
#define ZARNGI_FILES_FORMATS_DICOM_FILE_H

#include <cstdint>

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/formats/dicom/elements.h"
#include "files/formats/dicom/values.h"

namespace files
{

/** A file and its elements, which lie in the bytes that were read or in those here. */
struct DicomFile {
    Bytes unpacked; ///< the file, where it was packed by gzip
    Bytes inflated; ///< the data set, where it was deflated
    ByteView whole; ///< the file, not packed by gzip
    /** That holds the data set, where who asks for its pixels may keep them there: the elements
     * before the pixels are gone then. */
    Bytes* block;
    DicomStart start;
    DicomDataSet data;

    DicomValues values() const { return {data, start.syntax.isBigEndian}; }
    DicomValues metaValues() const { return {start.meta, false}; }
};

/**
 * Unpacks the file where needed, to no more than the grid that it tells and 64 MiB of other
 * elements, and reads its elements.
 * @throws Refusal when it is damaged, cut short, or unpacks to more.
 */
DicomFile openDicomFile(const Contents& file, const Deflate& deflate);

/** Opens a file without a grid, which unpacks to at most `most` bytes. @throws Refusal */
DicomFile openDicomFile(ByteView file, const Deflate& deflate, std::uint64_t most);

/**
 * The elements that are whole in the beginning of a file, of which `most` bytes are unpacked.
 * @throws Refusal when not even its meta information is whole.
 */
DicomFile openDicomBeginning(ByteView file, const Deflate& deflate, std::size_t most);

} // namespace files

#endif
