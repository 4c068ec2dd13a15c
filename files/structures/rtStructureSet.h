/**
 * @file rtStructureSet.h
 * DICOM RT Structure Sets.
 */
#ifndef ZARNGI_FILES_STRUCTURES_RTSTRUCTURESET_H
#define ZARNGI_FILES_STRUCTURES_RTSTRUCTURESET_H

#include "files/formats/dicom/file.h"
#include "files/structures/structureSet.h"

namespace files
{

/**
 * Reads an RT Structure Set, packed by gzip or deflated or not; nothing of the patient is kept.
 *
 * Contours that cannot be understood refuse their structure, not the file: one with a coordinate
 * that is no number or beyond 1 km, with a number of points other than it tells, of an unknown
 * type, or not flat (z differ by more than 0.1 mm).
 * @throws Refusal for another object, and where elements are damaged or ambiguous.
 */
StructureSet readRtStructureSet(ByteView file, const Deflate& deflate);

/** Whether a DICOM file, or the beginning of one, is such a set. */
bool isRtStructureSet(const DicomFile& file);

} // namespace files

#endif
