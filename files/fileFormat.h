/**
 * @file fileFormat.h
 * The formats of dose files, told by the contents of a file and not by its name.
 */
#ifndef ZARNGI_FILES_FILEFORMAT_H
#define ZARNGI_FILES_FILEFORMAT_H

#include <optional>
#include <string>

#include "files/bytes.h"
#include "files/deflate.h"

namespace files
{

enum class FileFormat {
    nrrd,
    metaImage,
    nifti,
    dicom,
    threeDdose,
    topas,
    detectorArray, ///< this and what follows are tables, see isTable()
    ptwArray,
    ibaPlane,
    qaPlane, ///< of the planning systems XiO and Monaco
    extractedPlane,
    table,
    tiff,
    iplanPlane,     ///< this and what follows is refused by name
    exchangedImage, ///< of the Generic Dosimetry Exchange Format
    binaryIbaPlane,
};

/** Whether it is of measured or planned doses in a plane or at points, mostly a text. */
bool isTable(FileFormat format);

/** Whether it is the output of a simulation. */
bool isSimulation(FileFormat format);

/** As it is named to users: "NRRD", "detector array" and so on. */
std::string formatName(FileFormat format);

/** So many bytes of a file are enough to tell its format; no head of a table is longer. */
constexpr std::size_t identifyingBytes = 1 << 16;

/**
 * What a file begins like, if like any of the formats; `beginning` is not packed. More than
 * `identifyingBytes` make no difference.
 */
std::optional<FileFormat> identifiedFormat(ByteView beginning);

/**
 * What a whole file begins like. It may be packed by gzip, where its format allows that.
 * @param what it should be, for the sentence of a refusal: "dose file".
 * @throws Refusal when it is packed and its format does not allow that, or cannot be told.
 */
std::optional<FileFormat> identifiedFormat(ByteView file, const Deflate& deflate,
                                           const std::string& what);

} // namespace files

#endif
