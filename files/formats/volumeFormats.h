/**
 * @file volumeFormats.h
 * The image formats that doses come in, one function each.
 */
#ifndef ZARNGI_FILES_FORMATS_VOLUMEFORMATS_H
#define ZARNGI_FILES_FORMATS_VOLUMEFORMATS_H

#include "files/doseImage.h"
#include "files/fileFormat.h"
#include "files/host.h"

namespace files
{

/** NRRD 1 to 5, attached or with one data file. @throws Refusal */
DoseImage readNrrd(const Contents& file, const FindFile& find, const Host& host);

/** MetaImage, .mha or .mhd. @throws Refusal */
DoseImage readMetaImage(const Contents& file, const FindFile& find, const Host& host);

/**
 * NIfTI-1 and NIfTI-2: one file, packed by gzip or not, or the header of a pair, whose data file
 * `find` gets for the name "" (a pair is told by the names of its files). @throws Refusal
 */
DoseImage readNifti(const Contents& file, const FindFile& find, const Host& host);

/** Warns that axes are taken for those of the patient, where a file tells no orientation. */
void warnOfOrientation(DoseImage& dose);

/** Says that the values count as Gy because the file tells no unit. */
void assumeGray(DoseImage& dose);

/** Names the format of a volume, and warns of what its file does not tell. */
void completeVolume(FileFormat format, DoseImage& dose);

/** Reads any of them; what the file does not tell is told as a warning. @throws Refusal */
DoseImage readVolume(FileFormat format, const Contents& file, const FindFile& find,
                     const Host& host);

} // namespace files

#endif
