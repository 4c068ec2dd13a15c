/**
 * @file readStructures.h
 * The one reader of structures: DICOM RT Structure Sets and Segmentations, and label masks.
 *
 * Safe to be called by several threads at once; starts no process and keeps no state.
 */
#ifndef ZARNGI_FILES_STRUCTURES_READSTRUCTURES_H
#define ZARNGI_FILES_STRUCTURES_READSTRUCTURES_H

#include <string>

#include "files/host.h"
#include "files/structures/structureSet.h"

namespace files
{

/**
 * Reads structures from the contents of a file; `find` fetches the files that it names.
 * @param name of the file: a mask with the one label 1 or 255 and no name for it is named after it.
 */
Result<StructureSet> readStructures(ByteView file, const std::string& name, const FindFile& find,
                                    const Host& host);

/** Reads a file of structures, and the file that it names beside it; a pipe is read to its end. */
Result<StructureSet> readStructuresFile(const std::string& path, const Host& host);

/** Whether a file begins like structures that are no label mask: those of DICOM. */
bool isStructureSet(ByteView file, const Deflate& deflate);

} // namespace files

#endif
