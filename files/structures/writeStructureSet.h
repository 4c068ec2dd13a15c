/**
 * @file writeStructureSet.h
 * The writer of DICOM RT Structure Sets: closed planar contours in, the bytes of a file out.
 */
#ifndef ZARNGI_FILES_STRUCTURES_WRITESTRUCTURESET_H
#define ZARNGI_FILES_STRUCTURES_WRITESTRUCTURESET_H

#include "files/bytes.h"
#include "files/error.h"
#include "files/structures/structureSet.h"

namespace files
{

/**
 * Explicit little endian; the same bytes for the same set, with vertices to a micrometre. Label,
 * UIDs, names, numbers, colours, types and contours are written, nothing about a patient.
 * @return or why not: a contour of more text than an element can hold, some 2500 vertices.
 */
Result<Bytes> encodeStructureSet(const StructureSet& set);

} // namespace files

#endif
